// Motion in the air. A leg is planned once per sample: the arrival tick anew from distance and speed, then the steps by
// which a tick moves position, heading, attitude and height. Also the step of a tick for all states. Worker only.
#pragma once

#include "traffic/live_aircraft.h"
#include "traffic/motion.h"

#include <cstdint>

namespace kes {

/// Re-plans the arrival tick of the next sample.
void nextPosAir(LiveAircraft& aircraft, const Motion& m);
/// Computes all steps of the leg to the next sample, `stream[1]`, which may be replaced by a later one.
void setupAirLeg(LiveAircraft& aircraft, const Motion& m);
/// One tick, in the air and on the ground.
void advancePosition(LiveAircraft& aircraft, const Motion& m);
/// The simulator says that the object stands on the ground.
void touchdown(LiveAircraft& aircraft, const Motion& m);
/// Radians, nose up negative; for an aircraft born in the air.
double initialPitch(const PositionSample& sample);

/// A travel time in ticks is distance (nautical miles) * ticksPerHour / speed (knots).
inline constexpr double ticksPerHour = 360000.0;
/// No leg is shorter: a late sample must not make a jump.
inline constexpr std::int32_t shortestLegTicks = 25;
/// Ticks from now to a sample's arrival, at least `shortestLegTicks`.
std::int32_t ticksToGo(const PositionSample& to, const Motion& m);
/// Position steps of the leg to `to`, over `ticks`.
void aimAt(LiveAircraft& aircraft, const PositionSample& to, std::int32_t ticks);
/// Takes a widened arrival window back by 100 ticks on each side, not below 1000.
void shrinkWindow(LiveAircraft& aircraft);
/// Ticks that the leg from `from` to `to` takes at the mean of both speeds, at least 25.
std::int32_t travelTicks(const PositionSample& from, const PositionSample& to);
/// Sets the arrival of `to`: `ticks` from now, held within the aircraft's window unless samples are invented.
void planArrival(const LiveAircraft& aircraft, PositionSample& to, std::int32_t ticks, const Motion& m);

} // namespace kes
