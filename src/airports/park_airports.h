// The list of park airports and the user's stand. Worker only.
#pragma once

#include "core/geo.h"
#include "core/user_aircraft.h"

#include <string>

namespace kes {

/// Reads the list at the start of a run. This form knows no list; always true.
bool readMyParkAirports();
/// Reads the list and the stands anew; `message` is for the status line, empty = nothing to tell. Always true.
bool reReadParkAirports(bool showChange, std::string& message);
/// Distance from the user to the nearest candidate park airport, nautical miles; 10000 without one.
double nearestCandidateNm(LatLon user);
extern std::string reservedStand; ///< id of the stand kept for the user at the park airport, empty = none
/// The stand within 55 metres of the user's aircraft on the ground, the nearest one; empty = none.
std::string standOfUser();
bool userStandReserved(); ///< `reservedStand` holds text
/// Learns the stand at which the user's aircraft stood.
void learnUserStand(const UserAircraft& user);
/// Name of the stand or airport at a position, degrees; empty when none.
std::string standNameAt(double lat, double lon);
/// Scans the installed add-on airports for stands; this form only logs that it does not.
void scanAddonAirports();

} // namespace kes
