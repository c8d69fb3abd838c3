// The stands of the park airport in sight. Worker only.
#pragma once

#include "core/geo.h"

#include <cstdint>
#include <string>
#include <vector>

namespace kes {

struct Stand {
    std::string id;
    double lat = 0, lon = 0; ///< degrees
    double heading = 0;      ///< radians, of the nose
    double radius = 0;       ///< nautical miles
    std::uint32_t sid = 0;   ///< 1 to n in the order of the list
    bool liveOnIt = false;   ///< a live aircraft has taken it
    bool cargo = false, heli = false;
    LatLon position() const { return {lat, lon}; }
};

extern std::vector<Stand> stands;
/// Null when there is none.
Stand* findStand(std::uint32_t sid);

} // namespace kes
