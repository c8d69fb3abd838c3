// SPDX-License-Identifier: MIT
// What the simulator knows better than the feed: the ground below an object, and how the standing aircraft sits on it.
// Worker only.
#pragma once

#include "traffic/live_aircraft.h"
#include "traffic/motion.h"

namespace kes {

/// A reply about the ground below an object: touchdown when due, height above ground, and on the ground the altitude;
/// all feet. Numbers are finite.
void applyGroundData(LiveAircraft& aircraft, bool simOnGround, double groundAltitude, double agl, const Motion& m);
/// Height of the reference point (feet) and pitch (radians) of the standing aircraft; odd ones are replaced.
void applyStaticData(LiveAircraft& aircraft, double staticCg, double staticPitch);

} // namespace kes
