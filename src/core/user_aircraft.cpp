// SPDX-License-Identifier: MIT
#include "core/user_aircraft.h"

namespace kes {

UserAircraft userAircraft;
std::atomic<bool> userOnGround{false};
std::atomic<bool> firstReplySeen{false};
std::atomic<std::int64_t> simEpoch{0};
std::atomic<double> userSpan{0.0};
std::atomic<bool> userSpanKnown{false};
std::atomic<AircraftCategory> userCategory{AircraftCategory::light};

void resetUserAircraft() {
    userAircraft = {};
    userOnGround = false;
    firstReplySeen = false;
    simEpoch = 0;
    userSpan = 0.0;
    userSpanKnown = false;
    userCategory = AircraftCategory::light;
}

} // namespace kes
