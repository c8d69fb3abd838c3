// SPDX-License-Identifier: MIT
// Every airport of the simulator by ICAO code. Worker; the UI thread while no worker runs, for what the user types is
// looked up; during a scan its threads read the names, which nobody changes then.
#pragma once

#include "core/geo.h"
#include "reference/text_map.h"

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kes {

struct AirportEntry {
    std::string code;        ///< ICAO code, the search key
    std::string iata;        ///< may be empty
    double lat = 0, lon = 0; ///< degrees
    double alt = 0;          ///< elevation, feet
};
extern std::vector<AirportEntry> airportTable; ///< sorted by code

/// Reads "input/airports_msfs.xml" once per process; true when the table has rows. Problems are logged.
bool readAirportTable();
/// Empties the table, so that the next call reads the file again. For tests.
void resetAirportTable();
/// The row with this code, written as in the table; nothing when there is none. A linear walk.
std::optional<AirportEntry> findAirport(std::string_view code);
/// The row nearest to a position within `limitNm` nautical miles; nothing when there is none. A linear walk.
std::optional<AirportEntry> nearestAirport(LatLon position, double limitNm);

/// Tells how far a position is from the closest stand of an airport in nautical miles, and that stand's id; 100.0 when
/// it cannot be told.
using StandLookup = std::function<double(std::string_view code, LatLon position, std::string& standId)>;
/// The airport at which a position lies, at most `atAirportNm` away. Where two airports lie side by side, their
/// stands decide.
std::optional<AirportEntry> closestAirport(LatLon position, const StandLookup& closestStand);
/// The same with the stands of the airport files.
std::optional<AirportEntry> closestAirport(LatLon position);

extern TextMap<std::string> airportNames; ///< code to name; empty but during a scan, in which nobody changes it
/// Fills the names from "input/airports_msfs_names.xml"; without a usable file there are none.
void readAirportNames();
void dropAirportNames(); ///< gives their memory back, after a scan

} // namespace kes
