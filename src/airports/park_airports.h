// SPDX-License-Identifier: MIT
// The airports at which the user wants static aircraft, with the stand that is kept for him at each, and those that the
// scan has found. Worker only.
#pragma once

#include "airports/reserved_stand.h"
#include "core/geo.h"

#include <list>
#include <string>
#include <string_view>

namespace kes {

struct ParkAirportEntry {
    std::string code{};      ///< ICAO code
    std::string stand{};     ///< id of the stand kept for the user, may be empty
    double lat = 0, lon = 0; ///< degrees, of the airport
    double distance = 0;     ///< nautical miles to the user, as `refreshDistances` saw it
    LatLon position() const { return {lat, lon}; }
};

/// The next airport to fill stands first: the nearest one, or DESTINATION, while that holds a code.
extern std::list<ParkAirportEntry> parkAirportList;

/// Reads "my_park_airports.txt" and the names of the scan's files anew. False when a line named an unknown airport,
/// which is then left out. What cannot be used is logged with its line.
bool lf_readMyParkAirports();
/// The same during a flight; with `showChange` another stand is reserved when the file tells one. False when the
/// reading was; `message` is what the user is to be told then or otherwise, empty when he has been told already.
bool reReadParkAirports(bool showChange, std::string& message);
/// Writes the first entry's stand to the file, in one step: on a failure, which the user is told, the old file is
/// whole.
void storeUserStand();
/// The airport becomes the first entry; one that is not in the list comes into it, and into the file.
void setDestinationEntry(std::string_view code, LatLon position);
/// Puts an airport in front. Of one that is in the list the entry moves, and keeps its stand when `entry` has none.
void putFirst(ParkAirportEntry entry);

/// Distances from the user, and the list's order by them; for an unchanged position the first entry's only.
void refreshDistances(LatLon user);
/// The order of the list is to be made anew at the next refresh, although the user has not moved.
void forgetOrder();
/// With DESTINATION its airport stands first again, after the one that was filled.
void destinationFirst();
/// Distance from the user to the first entry, nautical miles; 10000 without one.
double nearestCandidateNm(LatLon user);

/// Name of the stand or airport at a position, degrees; empty when none.
std::string standNameAt(double lat, double lon);
/// An empty list, whose order is made anew.
void resetParkAirports();

} // namespace kes
