// SPDX-License-Identifier: MIT
// The options that fit the stands at one half-hour, one aircraft to a stand. Worker only.
// An airport of 600 stands with 30 options each is searched up to 96 times in one tick, so what the rules ask for is
// indexed once: the hours of each stand's options, who is parked where, and which callsigns and registrations are
// taken.
#pragma once

#include "airports/stands.h"
#include "airports/static_plan.h"
#include "core/ai_aircraft.h"
#include "core/hh_now.h"

#include <array>
#include <cstdint>
#include <string_view>
#include <unordered_set>
#include <vector>

namespace kes {

/// The half-hour after now is still one of the option's, or of one of the next day for the same aircraft: who stands
/// there has not left yet.
bool standsOneMore(const Stand& stand, const ParkPosOption& option, HhNow now);

/// The search of one calculation, over `stands`, `toPark` and `liveStayers`. Looks into all of them until its end, so
/// nothing but the search itself changes them, or `parked`, meanwhile; more in `toPark` is what it has found itself.
class OptionSearch {
public:
    explicit OptionSearch(const std::vector<AiAircraft>& parked);

    /// Adds the placements for the time `fit` half-hours before `now`, marks their stands as occupied, and takes out of
    /// use (`optIndex` 0) what stands elsewhere.
    void bestOption(HhNow now, bool real, std::int32_t fit, std::vector<StaticPlacement>& out);
    std::int32_t occupied() const { return occupied_; } ///< stands

private:
    struct Option {
        ParkPosOption* option = nullptr;
        std::uint64_t hours = 0;
        double span = -1; ///< half span of the model, nautical miles; negative = not looked up yet
        std::uint8_t day = 0;
        bool real = false, usable = false;
    };
    struct StandOptions {
        std::uint32_t first = 0, count = 0;
        bool roomKnown = false;
        double room = 0; ///< greatest half span that the aircraft next door leave room for, nautical miles
        /// All hours of its usable options, soft and real, by day; 0 = of all days.
        std::array<std::array<std::uint64_t, 8>, 2> hours{};
        std::int32_t firstParked = -1; ///< index of an aircraft on it; -1 = none
    };
    using Texts = std::unordered_set<std::string_view>;

    void addHours(StandOptions& of, const Option& option);
    void outOfUse(StandOptions& of, Option& option);
    double roomOf(const Stand& stand, StandOptions& of);
    void collectCandidates(const Stand& stand, StandOptions& of, HhNow time, bool real);
    void putParkedFirst(const StandOptions& of);
    /// Whether the stand is taken.
    bool take(Stand& stand, StandOptions& of, Option& chosen, HhNow now, std::int32_t fit,
              std::vector<StaticPlacement>& out);
    void note(const ParkPosOption& option);

    const std::vector<AiAircraft>& parked_;
    std::vector<Option> options_;
    std::vector<StandOptions> stands_;
    std::vector<std::int32_t> nextParked_; ///< of the same stand; -1 = the last
    std::vector<Option*> candidates_;
    Texts plannedRegcodes_, parkedRegcodes_, takenCs1_, stayerCallsigns_;
    std::int32_t occupied_ = 0;
};

} // namespace kes
