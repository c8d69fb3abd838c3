// SPDX-License-Identifier: MIT
// From the take-off run to the climb: the configuration, the rotation over some seconds, and the climb that grows after
// lift-off. Worker only.
#pragma once

#include "traffic/live_aircraft.h"
#include "traffic/motion.h"

namespace kes {

/// Take-off configuration; the aircraft is `departing` from now on.
void startTakeOffRun(LiveAircraft& aircraft, const Motion& m);
/// Puts the aircraft into take_off.
void beginRotation(LiveAircraft& aircraft, const Motion& m);
/// One tick of take_off: the nose comes up, then the aircraft climbs away.
void advanceRotation(LiveAircraft& aircraft, const Motion& m);

} // namespace kes
