// SPDX-License-Identifier: MIT
// The tables behind the look-ups. Only for the files of this folder.
#pragma once

#include "reference/publishers.h"
#include "reference/reference.h"
#include "reference/regcode_table.h"

#include <bitset>
#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

namespace kes::reference {

struct Tables {
    ReferenceData data;
    RegcodeTable dbaseRecords;
    ShortRegcodes shortRegcodes;
    PublisherIndex publishers;
    double maxWingspan = 0;
    std::vector<std::uint64_t>
        typeSlots; ///< `aircraftTypes` as a hash table of their bytes, 0 = free: the scan asks for each file
    std::bitset<46 * 46 * 46>
        airlineBits; ///< `icaoAirlines` of three characters from '-' to 'Z': the scan asks for each section
};
extern Tables tables;

/// A code's place in `airlineBits`; nothing for a code that has none.
inline std::optional<std::size_t> airlineBit(std::string_view code) {
    if (code.size() != 3)
        return {};
    std::size_t place = 0;
    for (const char c : code) {
        if (c < '-' || c > 'Z')
            return {};
        place = place * 46 + static_cast<std::size_t>(c - '-');
    }
    return place;
}
/// Whether `typeSlots` hold a type; nothing for a code that has no place there, or before they are filled.
std::optional<bool> typeIsKnown(std::string_view code);
/// `categoryOf` for tables that need not be in use.
AircraftCategory categoryIn(const ReferenceData& data, std::string_view code);
/// Fills what follows from the data and the registrations.
void derive(Tables& tables);

} // namespace kes::reference
