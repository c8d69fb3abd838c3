// How an aircraft leaves the simulator, for good or for another livery: one that is not there yet is taken back or
// marked, one that is there is ordered to leave, once. Worker only.
#pragma once

#include "traffic/live_aircraft.h"

#include <cstdint>

namespace kes {

void removeAircraftFromSim(LiveAircraft& aircraft);
void removeAircraftFromSim(AiAircraft& parked); ///< a static one
/// Leaves and comes back where it is, with a livery that is searched anew.
void liveryRespawn(LiveAircraft& aircraft);
/// The traffic source has gone: live aircraft leave the simulator, waiting ones are dropped.
void removeAllLiveForLostSource();
/// Clears the "object shown beside the callsign look-up" when it is this one.
void clearSelection(std::uint32_t objectid);

} // namespace kes
