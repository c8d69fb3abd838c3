// SPDX-License-Identifier: MIT
// A plausible week at an airport out of the bare list of who flies there: when which aircraft stands on the ground.
// Made up, but the same each time: chance comes from the names.
#pragma once

#include "tools/pack/routes.h"
#include "tools/pack/sources.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace kes::pack {

/// Half-hours of the days Monday to Sunday, UTC; bit 0 is 00:00 to 00:30.
using Week = std::array<std::uint64_t, 7>;

/// What a type needs and how it is flown.
struct TypeSize {
    AircraftCategory category = AircraftCategory::light;
    double span = 0; ///< full wingspan, metres
};
class TypeSizes {
public:
    explicit TypeSizes(const Sources& sources); ///< copies what it needs
    /// Of a type of the sources; one without a span has the mean of its category.
    TypeSize of(std::string_view type) const;

private:
    TextMap<TypeSize> sizes_;
};

/// Aircraft of one airline and type that stand at the same hours, on some days of the week.
struct Stay {
    std::string airline;
    FlownType type;
    Week week{};
    bool night = false;    ///< at home between the last flight of a day and the first of the next
    std::uint64_t key = 0; ///< by chance, but always the same
};

/// Minutes that an aircraft needs between arrival and departure: at home or away, by its category and span.
int turnMinutes(const TypeSize& size, bool atHome);

/// All stays of a week. `code` is the airport's in `list`; nothing for one without a service. Of an airport with many
/// stands for airliners (`gates`; 0 = not known) more is flown to than its services tell, and less of one with few.
std::vector<Stay> staysAt(std::string_view code, const RouteList& list, const TypeSizes& sizes, std::size_t gates);

/// The same text and number give the same value everywhere; values of close ones are not close.
std::uint64_t steadyHash(std::string_view text, std::uint64_t number = 0);

} // namespace kes::pack
