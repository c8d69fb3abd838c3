// SPDX-License-Identifier: MIT
// The traffic line as the source writes it: 44 comma-separated fields, one datagram.
#pragma once

#include "core/geo.h"

#include <cstdint>
#include <string>

namespace kes::source {

/// What one line tells. Empty texts stay empty; -1 is the feed's "unknown" in numbers.
struct SourceReport {
    std::uint32_t hexid = 0;
    LatLon place;
    double altitude = 0;      ///< feet above sea level, 0 on the ground
    double verticalSpeed = 0; ///< feet per minute
    bool airborne = false;
    double track = 0;       ///< degrees, of the motion
    double groundSpeed = 0; ///< knots
    std::string callsign, model, regcode, origin, destination, flightNumber, airline;
    std::string dataSource = "adsb_icao";
    double trueAirspeed = -1; ///< knots
    double roll = 0;          ///< degrees, to the right positive
    double turnRate = 0;      ///< degrees per second
    double trueHeading = -1;  ///< degrees
    std::string category;
    double qnh = standardQnh;             ///< hectopascal
    double selectedAltitude = -1;         ///< feet
    double windFrom = -1, windSpeed = -1; ///< degrees, knots
};

/// `epoch` in seconds since 1970, written with one decimal. `magneticVariation` in degrees, east positive.
std::string trafficLine(const SourceReport& report, double epoch, double magneticVariation);
/// The nine fields of an aircraft that stands with its transponder off.
std::string parkedLine(const SourceReport& report, const std::string& stand, double epoch);

} // namespace kes::source
