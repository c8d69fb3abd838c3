// SPDX-License-Identifier: MIT
// How long a leg takes: from distance and speed, held within a window around the time that the feed tells, which is
// wide for a while after the stream was changed. On the ground the turn rate follows from it. Pure.
#pragma once

#include "traffic/live_aircraft.h"
#include "traffic/motion.h"

#include <cstdint>

namespace kes {

/// No leg is shorter: a late sample must not make a jump.
inline constexpr std::int32_t shortestLegTicks = 25;
/// Degrees; a turn above it is a corner.
inline constexpr double sharpTurn = 45.0;

/// Ticks for a distance in nautical miles, at least `shortestLegTicks`.
std::int32_t ticksAt(double distance, double knots);
/// Ticks from now to a sample's arrival, at least `shortestLegTicks`.
std::int32_t ticksToGo(const PositionSample& to, const Motion& m);
/// Position steps of the leg to `to`, over `ticks`, at least 1; the shorter way over the date line.
void aimAt(LiveAircraft& aircraft, const PositionSample& to, std::int32_t ticks);
/// Ticks that the leg from `from` to `to` takes at the mean of both speeds, at least 25.
std::int32_t travelTicks(const PositionSample& from, const PositionSample& to);
/// Sets the arrival of `to`: `ticks` from now, held within the aircraft's window unless samples are extrapolated.
void planArrival(const LiveAircraft& aircraft, PositionSample& to, std::int32_t ticks, const Motion& m);
/// Arrival tick and turn rate of the leg on the ground to the next sample.
void setLegTiming(LiveAircraft& aircraft, const Motion& m);

/// The window of an aircraft whose stream has just been changed: 3000 ticks, 5000 behind while departing.
void widenWindow(LiveAircraft& aircraft);
/// Takes a widened arrival window back by 100 ticks on each side, not below 1000.
void shrinkWindow(LiveAircraft& aircraft);
/// A report for an aircraft that lived on extrapolated samples: they end, and the arrival window is wide for a while.
void endExtrapolation(LiveAircraft& aircraft);

} // namespace kes
