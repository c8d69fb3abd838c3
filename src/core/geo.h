// SPDX-License-Identifier: MIT
// Geometry on a sphere of 60 nautical miles to the degree. Pure functions, any thread.
// Positions in degrees, bearings in radians, distances in nautical miles unless a name says feet.
#pragma once

#include "core/units.h"

namespace kes {

inline constexpr double pi = 3.14159265358979323846;
inline constexpr double twoPi = 2.0 * pi;
inline constexpr double degToRad = pi / 180.0;
inline constexpr double radToDeg = 57.29577951308232;
inline constexpr double radiansPerFoot = 4.787404208238998e-8;
inline constexpr double diameterNm = 6875.493541569878;

struct LatLon {
    double lat = 0; ///< degrees
    double lon = 0; ///< degrees
};

/// Great-circle distance by the haversine formula, nautical miles.
double distanceNm(LatLon a, LatLon b);
/// Initial great-circle bearing from `a` to `b`, 0 (inclusive) to 2 pi (exclusive); 0 for equal positions.
double bearingRad(LatLon a, LatLon b);
/// The position reached from `from` on a bearing (radians) after a distance in feet; longitude within +-180.
LatLon destination(LatLon from, double bearing, double feet);
/// The turn that leads from `from` to `to`, the smaller way round, -pi to pi.
double angleDiff(double from, double to);
/// Degrees of longitude from one to the other, the shorter way round the date line.
constexpr double lonDifference(double from, double to) {
    const double d = to - from;
    return d > 180.0 ? d - 360.0 : d < -180.0 ? d + 360.0 : d;
}
/// Brings an angle into 0 (inclusive) to 2 pi (exclusive).
double normalizeAngle(double radians);
/// True inside the box near 0, 0 where a simulator puts an aircraft before a flight is loaded:
/// latitude 0 through 0.0009 and longitude 0 through 0.05 degrees.
constexpr bool inStartUpBox(double lat, double lon) {
    return lat >= 0.0 && lat <= 0.0009 && lon >= 0.0 && lon <= 0.05;
}

} // namespace kes
