// SPDX-License-Identifier: MIT
// A leg on the ground: its corner becomes a curve, a large change of speed is made in two steps, a stop may lead to a
// stand, a parked aircraft moves off, and in the roll-out and the take-off run the controls follow the speed. Worker
// only.
#pragma once

#include "traffic/live_aircraft.h"
#include "traffic/motion.h"

namespace kes {

/// Knots; nobody taxies this fast for two reports in a row.
inline constexpr double takeOffSpeed = 43.0;

/// Decisions at the start of a leg on the ground; may cut, insert or append samples.
void nextPosGround(LiveAircraft& aircraft, const Motion& m);
/// Speed, throttle and the lift-off decision of the leg to the next sample.
void setupGroundLeg(LiveAircraft& aircraft, const Motion& m);

} // namespace kes
