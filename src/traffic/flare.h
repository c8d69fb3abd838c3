// SPDX-License-Identifier: MIT
// The last seconds of a landing: the flare in four stages by height, the touchdown when the simulator says that the
// object stands on the ground, and the nose coming down. Pure.
#pragma once

#include "core/geo.h"
#include "traffic/live_aircraft.h"
#include "traffic/motion.h"

namespace kes {

inline constexpr double flarePitch = -4.0 * degToRad; ///< radians, nose up is negative

/// One tick of an aircraft on final near the ground: begins the next stage when it is low enough.
void flare(LiveAircraft& aircraft, const Motion& m);
/// One tick of the nose coming down.
void derotate(LiveAircraft& aircraft);
/// The simulator says that the object stands on the ground.
void touchdown(LiveAircraft& aircraft, const Motion& m);

} // namespace kes
