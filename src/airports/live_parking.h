// SPDX-License-Identifier: MIT
// What static parking has to know of live aircraft, and asks of them. Live traffic is built on the airports, so it
// fills the hooks; without them (tests of airports alone) there are no live aircraft. Worker only.
#pragma once

#include "core/ai_aircraft.h"

#include <cstdint>
#include <string>
#include <vector>

namespace kes {

/// A live aircraft that is parked on a stand or on its last metres to it.
struct LiveAtStand {
    std::uint32_t hexid = 0;
    std::uint32_t sid = 0; ///< 0 = it is parked without a stand
    std::string callsign{};
    std::string label{}; ///< for messages
    AircraftCategory category = AircraftCategory::light;
    double wingspan = 0;         ///< half span, nautical miles
    std::int64_t parkedTime = 0; ///< monotonic ms when it took or last proved its stand
    bool active = true;          ///< in the simulator; else on its way into it or out of it
    bool parked = false;         ///< else it is still parking
    bool feedAtStand = false;    ///< the feed still reports it there
};

struct LiveParkingHooks {
    /// Those in parking or parked that are more than a record, in the order of their table.
    std::vector<LiveAtStand> (*atStands)() = nullptr;
    void (*remove)(std::uint32_t hexid) = nullptr;
    /// The park airport goes: live aircraft between push-back and take-off and parked ones forget their stands, the
    /// active ones leave, those being created are withdrawn. Also for the limit MAX_LIVE, which is another one now.
    void (*leaveAirport)() = nullptr;
};
extern LiveParkingHooks liveParkingHooks;

} // namespace kes
