// Flight plan files of live aircraft: with one the simulator's own displays tell where an aircraft flies from and to.
#pragma once

#include "traffic/live_aircraft.h"

#include <cstdint>

namespace kes {

void prepareFlightPlanFolders(); ///< throws filesystem_error
/// For an aircraft with both ends of its route known: writes the file and hands it to the simulator. A failure is
/// logged; the aircraft flies on without a plan. Worker.
void writeFlightPlan(LiveAircraft& aircraft);
/// Removes an object's file, if there is one.
void deleteFlightPlan(std::uint32_t objectid);
void gf_removeFlightPlanFolder(); ///< a failure is logged and shown, nothing is thrown

} // namespace kes
