// The list of park airports and the user's stand. Worker only.
#pragma once

#include "core/geo.h"
#include "core/user_aircraft.h"

#include <string>

namespace kes {

bool readMyParkAirports();
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
void scanAddonAirports();

} // namespace kes
