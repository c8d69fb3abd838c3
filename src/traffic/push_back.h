// SPDX-License-Identifier: MIT
// Out of a stand: ahead under own power, or pushed back in a straight line and then, when the feed tells a side, round
// a quarter turn. Worker only.
#pragma once

#include "traffic/live_aircraft.h"
#include "traffic/motion.h"

namespace kes {

/// A parked aircraft begins to move, forwards or tail first; its stream is replaced. Nobody is pushed back from a stand
/// that is not in the list.
void pullOut(LiveAircraft& aircraft, const Motion& m);
void pushBack(LiveAircraft& aircraft, const Motion& m);
/// A push-back reaches the next of its samples, and with the last one its end.
void continuePushBack(LiveAircraft& aircraft, const Motion& m);

} // namespace kes
