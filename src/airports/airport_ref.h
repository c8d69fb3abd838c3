// SPDX-License-Identifier: MIT
// The reference airport of all ground logic: the park airport in sight, or none.
#pragma once

#include "core/geo.h"

#include <optional>
#include <string>

namespace kes {

struct AirportRef {
    std::string code, iata;
    double lat = 0, lon = 0; ///< degrees
    double elevation = 0;    ///< feet
    LatLon position() const { return {lat, lon}; }
};

/// Worker only. Changed through `setAirportRef`, which also tells the traffic reader.
extern std::optional<AirportRef> airportRef;
/// Nothing = no park airport is in sight.
void setAirportRef(const std::optional<AirportRef>& reference);
/// Elevation of the reference airport, -1000 without one; feet.
double referenceElevation();

} // namespace kes
