// SPDX-License-Identifier: MIT
// The ground of the stand-in simulator: a few smooth hills and flat airfields. Pure functions, any thread.
#pragma once

#include <string_view>
#include <vector>

namespace kes::world {

struct Airfield {
    double lat = 0, lon = 0;  ///< degrees
    double elevationFeet = 0; ///< above sea level, may be negative
    double radiusNm = 3;      ///< flat inside, slopes into the hills up to twice this distance
};

struct Terrain {
    double hillFeet = 600; ///< height of the highest hill; 0 = sea level everywhere but at airfields
    std::vector<Airfield> airfields;
};

/// Ground elevation in feet above sea level; positions in degrees. Continuous, also across the date line.
double terrainFeet(const Terrain& terrain, double lat, double lon);

/// Reads "LAT,LON,ELEV_FT[,RADIUS_NM]". False when a part is no number or out of range.
bool parseAirfield(std::string_view text, Airfield& airfield);

/// Reads `least` to `most` comma-separated finite numbers; false on anything else.
bool parseNumbers(std::string_view text, std::size_t least, std::size_t most, std::vector<double>& numbers);

} // namespace kes::world
