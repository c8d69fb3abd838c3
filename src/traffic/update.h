// SPDX-License-Identifier: MIT
// One tick of the live aircraft: those in the simulator move on, those in buffer may enter it, and a creation that
// nobody answers is given up. Worker only.
#pragma once

#include "traffic/live_aircraft.h"
#include "traffic/motion.h"

namespace kes {

/// `updateLiveAc` for each record front to back; drops the marked ones. An exception costs one aircraft its tick.
void updateLiveAircraft();
/// True = the record is marked and has to be dropped.
bool updateLiveAc(LiveAircraft& aircraft, const Motion& m);

} // namespace kes
