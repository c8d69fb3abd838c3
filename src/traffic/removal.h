// SPDX-License-Identifier: MIT
// How a live aircraft leaves the simulator for another livery, and how all leave it. Worker only.
#pragma once

#include "airports/object_removal.h"
#include "traffic/live_aircraft.h"

#include <cstdint>

namespace kes {

/// Leaves and comes back where it is, with a livery that is searched anew. Its stream must not be empty; a failure is
/// logged.
void liveryRespawn(LiveAircraft& aircraft);
/// The traffic source has gone: live aircraft leave the simulator, and so do those on their way into it; those in
/// buffer stay. Does nothing once the user has closed.
void removeAllLiveForLostSource();

} // namespace kes
