// SPDX-License-Identifier: MIT
// Throttle, flaps, gear, spoilers, reversers and lights of one live aircraft, as events in the outbox. What a
// helicopter has not got is left out here, so that no phase of a flight has to think of it. An aircraft without an
// object gets nothing. Pure.
#pragma once

#include "traffic/live_aircraft.h"
#include "traffic/motion.h"

#include <cstdint>

namespace kes {

/// Which lights are on; sent in the order of the fields.
struct Lights {
    bool nav = true, beacon = true, landing = false, taxi = false, strobes = false, logo = false, cabin = false;
};
/// All seven, on or off.
void sendLights(std::uint32_t objectid, const Lights& lights, const Motion& m);
void setCabin(const LiveAircraft& aircraft, bool on, const Motion& m); ///< the cabin lights alone

/// A level is sent only when it differs from the last one sent; throttle 0 to 4, flaps 0 to 3, all else throws
/// std::out_of_range. A Rotorcraft gets no flaps, gear or spoilers, and throttle 4 for 0.
void setThrottleLevel(LiveAircraft& aircraft, std::int32_t level, const Motion& m);
void setFlapsLevel(LiveAircraft& aircraft, std::int32_t level, const Motion& m);
void setGear(LiveAircraft& aircraft, bool down, const Motion& m);
void setSpoilers(LiveAircraft& aircraft, std::uint32_t value, const Motion& m); ///< 0 = in, `spoilersOut` = all out
inline constexpr std::uint32_t spoilersOut = 16383;
/// `level`, or 4 for a Rotorcraft.
void setEngineLevel(LiveAircraft& aircraft, std::int32_t level, const Motion& m);
/// Spoilers, and throttles or, below 0, reversers, of the object itself, in percent; nothing for Light and Rotorcraft.
void setRollOutControls(const LiveAircraft& aircraft, double spoilers, double throttle, const Motion& m);

} // namespace kes
