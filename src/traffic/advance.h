// SPDX-License-Identifier: MIT
// The step of one tick, in the air and on the ground: position, heading, attitude and height move by the steps that
// were planned for the leg, along the curve of a corner, or as the rotation and the flare say. Pure.
#pragma once

#include "traffic/live_aircraft.h"
#include "traffic/motion.h"

namespace kes {

/// Of an aircraft that does not stand and whose stream has a front sample.
void advancePosition(LiveAircraft& aircraft, const Motion& m);

} // namespace kes
