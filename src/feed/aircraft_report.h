// SPDX-License-Identifier: MIT
// One report of one real aircraft, as the traffic reader hands it to the main tick: who it is, and one sample of where
// it was. Samples one behind the other make the stream that a live aircraft flies along. Plain data.
#pragma once

#include "core/ai_aircraft.h"
#include "core/geo.h"
#include "core/units.h"

#include <cstdint>

namespace kes {

/// One element of a position stream.
struct PositionSample {
    double lat = 0, lon = 0; ///< degrees
    double bank = 0;         ///< radians; to the right is negative
    bool bankValid = false;  ///< `bank` came from the feed
    double trueHeading = 0;  ///< radians, 0 to 2 pi; a feed value of exactly 0 is stored as 2 pi
    bool trueHeadingValid = false;
    double alt = 0;           ///< feet; 0 = judged to be on the ground
    double gs = 0;            ///< knots; motion rewrites it as the speed of the leg that ends here
    double track = 0;         ///< degrees
    double vs = 0;            ///< feet per minute
    double tas = 0;           ///< knots
    std::int32_t tick = 0;    ///< the tick at which the aircraft is to be here
    bool airborne = false;    ///< `alt` is above 0
    bool stopped = false;     ///< the aircraft does not move on the leg into this sample
    bool adsbHeading = false; ///< the heading's source is trusted in the air
    LatLon position() const { return {lat, lon}; }
};

struct AircraftReport : AircraftIdentity {
    PositionSample sample;
    double timestamp = 0;    ///< the feed's time, seconds since 1970
    std::uint32_t hexid = 0; ///< ICAO address, above 10000
};

} // namespace kes
