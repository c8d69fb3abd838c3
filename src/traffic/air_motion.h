// Legs in the air. This first form flies straight legs with the heading towards the next sample.
#pragma once

#include "traffic/live_aircraft.h"

#include <cstdint>

namespace kes {

void nextPosAir(LiveAircraft& aircraft); ///< re-plans the arrival tick of the next sample
void setupAirLeg(LiveAircraft& aircraft, PositionSample& next);
void advancePosition(LiveAircraft& aircraft); ///< one tick, air and ground
/// The simulator says that the object stands on the ground.
void touchdown(LiveAircraft& aircraft);
double initialPitch(const PositionSample& sample); ///< radians, for an aircraft born in the air
/// No leg is shorter: a late sample must not make a jump.
inline constexpr std::int32_t shortestLegTicks = 25;
/// Ticks from now to a sample's arrival, at least `shortestLegTicks`.
std::int32_t ticksToGo(const PositionSample& to);
/// Takes a widened arrival window back by 100 ticks on each side, not below 1000.
void shrinkWindow(LiveAircraft& aircraft);
/// Ticks that the leg from `from` to `to` takes at the mean of both speeds, at least 25.
std::int32_t travelTicks(const PositionSample& from, const PositionSample& to);
/// Sets the arrival of `to`: `ticks` from now, held within the aircraft's window unless samples are invented.
void planArrival(const LiveAircraft& aircraft, PositionSample& to, std::int32_t ticks);

} // namespace kes
