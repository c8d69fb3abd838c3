// Throttle, flaps, gear, spoilers and lights of one live aircraft, as events in the outbox. What a helicopter has not
// got is left out here, so that no phase of a flight has to think of it. An aircraft without an object gets nothing.
// Pure.
#pragma once

#include "traffic/live_aircraft.h"
#include "traffic/motion.h"

#include <cstdint>

namespace kes {

/// What burns; sent in the order of the fields.
struct Lights {
    bool nav = true, beacon = true, landing = false, taxi = false, strobes = false, logo = false, cabin = false;
};
void sendLights(std::uint32_t objectid, const Lights& lights, const Motion& m);
void setCabin(const LiveAircraft& aircraft, bool lit, const Motion& m);

/// A level is sent only when it differs from the last one sent; 0 to 4 and 0 to 3. A Rotorcraft gets no flaps, gear or
/// spoilers, and throttle 4 for 0.
void setThrottleLevel(LiveAircraft& aircraft, std::int32_t level, const Motion& m);
void setFlapsLevel(LiveAircraft& aircraft, std::int32_t level, const Motion& m);
void setGear(LiveAircraft& aircraft, bool down, const Motion& m);
void setSpoilers(LiveAircraft& aircraft, std::uint32_t value, const Motion& m);
inline constexpr std::uint32_t spoilersOut = 16383;
/// `level`, or 4 for a Rotorcraft.
void setEngineLevel(LiveAircraft& aircraft, std::int32_t level, const Motion& m);
/// Spoilers and throttles of the object itself, in percent; nothing for Light and Rotorcraft.
void setRollOutControls(const LiveAircraft& aircraft, double spoilers, double throttle, const Motion& m);

} // namespace kes
