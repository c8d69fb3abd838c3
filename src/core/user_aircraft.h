// SPDX-License-Identifier: MIT
// What is known of the user's aircraft: the block that the simulator's position reply delivers, and beside it what
// other replies tell. The worker has the block as its own copy, the rest are atomics that the SimClient thread writes.
#pragma once

#include "core/ai_aircraft.h"
#include "core/geo.h"

#include <atomic>
#include <cstdint>

namespace kes {

/// 96 bytes in the order of data definition 403, so that a reply is copied in one piece.
struct UserAircraft {
    double lat = 0, lon = 0;                 ///< degrees
    double pitch = 0, bank = 0, heading = 0; ///< radians; nose up and bank to the right are negative; heading true
    double alt = 0, agl = 0;                 ///< feet; above sea level, never negative, and above ground
    double groundSpeed = 0;                  ///< knots
    std::int64_t zuluTime = 0;               ///< seconds of the day
    std::int64_t zuluDay = 0, zuluYear = 0;  ///< day of the year from 1; year
    std::int64_t lightStates = 0;            ///< mask
    LatLon position() const { return {lat, lon}; }
    /// False while no flight is loaded: the simulator then reports a point near 0, 0.
    bool known() const { return !inStartUpBox(lat, lon); }
};
static_assert(sizeof(UserAircraft) == 96);

/// The worker's copy, refreshed once per second by the main tick. Worker only; other threads have copies of their own.
extern UserAircraft userAircraft;
/// The user's aircraft stands on the ground; written by the SimClient thread.
extern std::atomic<bool> userOnGround;
/// The first on-ground reply of this run has come.
extern std::atomic<bool> firstReplySeen;
/// The simulator's UTC time, seconds since 1970; 0 = not known. Written while `rtProfEdition` is set.
extern std::atomic<std::int64_t> simEpoch;
/// Half span of the user's aircraft in nautical miles, readable once `userSpanKnown` is set.
extern std::atomic<double> userSpan;
extern std::atomic<bool> userSpanKnown;
/// Category of the user's aircraft, readable once `userSpanKnown` is set; light for a type that is not known.
extern std::atomic<AircraftCategory> userCategory;

/// Start values for a new run.
void resetUserAircraft();

} // namespace kes
