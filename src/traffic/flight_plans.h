// Flight plan files of live aircraft. This first form prepares and removes their folder and writes no file.
#pragma once

#include "traffic/live_aircraft.h"

#include <cstdint>

namespace kes {

void prepareFlightPlanFolders(); ///< throws filesystem_error
void writeFlightPlan(LiveAircraft& aircraft);
void deleteFlightPlan(std::uint32_t objectid);
void gf_removeFlightPlanFolder(); ///< a failure is logged and shown, nothing is thrown

} // namespace kes
