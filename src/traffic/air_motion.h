// SPDX-License-Identifier: MIT
// A leg in the air, planned once per sample: the arrival tick anew from distance and speed, then the steps by which a
// tick moves position, heading, attitude and height. Pure.
#pragma once

#include "traffic/live_aircraft.h"
#include "traffic/motion.h"

namespace kes {

/// Re-plans the arrival tick of the next sample.
void nextPosAir(LiveAircraft& aircraft, const Motion& m);
/// Computes all steps of the leg to the next sample, `stream[1]`, which may be replaced by a later one.
void setupAirLeg(LiveAircraft& aircraft, const Motion& m);
/// Radians, nose up negative; for an aircraft born in the air.
double initialPitch(const PositionSample& sample);

} // namespace kes
