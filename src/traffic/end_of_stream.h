// SPDX-License-Identifier: MIT
// What an aircraft does when its reports end: it holds, runs on for a while on extrapolated samples, or goes. Worker
// only.
#pragma once

#include "traffic/live_aircraft.h"
#include "traffic/motion.h"

namespace kes {

/// The stream has run out. True = a sample was added, the leg can begin.
bool endOfStream(LiveAircraft& aircraft, const Motion& m);
/// Nearer to the user than half a mile inside the range, so that its reports should go on.
bool inSightOfUser(const LiveAircraft& aircraft);

} // namespace kes
