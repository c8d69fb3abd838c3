// SPDX-License-Identifier: MIT
// Flight plan files of live aircraft: with one the simulator's own displays tell where an aircraft flies from and to.
#pragma once

#include "traffic/live_aircraft.h"

#include <cstdint>

namespace kes {

/// Creates the folder of the user's data and the one of the plans in it. Throws filesystem_error ("exists",
/// "create_directory"). Worker.
void prepareFlightPlanFolders();
/// For an aircraft with both ends of its route known: writes the file and hands it to the simulator. A failure is
/// logged; the aircraft flies on without a plan. Worker.
void writeFlightPlan(LiveAircraft& aircraft);
/// Removes an object's file, if there is one.
void deleteFlightPlan(std::uint32_t objectid);
void gf_removeFlightPlanFolder(); ///< a failure is logged and shown, nothing is thrown

} // namespace kes
