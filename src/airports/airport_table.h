// Every airport of the simulator by ICAO code. Worker only.
#pragma once

#include "core/geo.h"

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
std::optional<AirportEntry> findAirport(std::string_view code);
/// The row nearest to a position within `limitNm`; a linear walk.
std::optional<AirportEntry> nearestAirport(LatLon position, double limitNm);

} // namespace kes
