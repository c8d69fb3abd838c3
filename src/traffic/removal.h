// How a live aircraft leaves the simulator for another livery, and how all leave it. Worker only.
#pragma once

#include "airports/object_removal.h"
#include "traffic/live_aircraft.h"

#include <cstdint>

namespace kes {

/// Leaves and comes back where it is, with a livery that is searched anew.
void liveryRespawn(LiveAircraft& aircraft);
/// The traffic source has gone: live aircraft leave the simulator, waiting ones are dropped.
void removeAllLiveForLostSource();

} // namespace kes
