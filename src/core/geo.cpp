// SPDX-License-Identifier: MIT
#include "core/geo.h"

#include <cmath>

namespace kes {

double distanceNm(LatLon a, LatLon b) {
    const double sinLat = std::sin((b.lat - a.lat) * degToRad / 2.0);
    const double sinLon = std::sin((b.lon - a.lon) * degToRad / 2.0);
    const double h = sinLat * sinLat + std::cos(a.lat * degToRad) * std::cos(b.lat * degToRad) * sinLon * sinLon;
    // Rounding can lift h a hair above 1 for antipodes; the root of a negative number would spread as NaN.
    return std::atan2(std::sqrt(h), std::sqrt(h < 1.0 ? 1.0 - h : 0.0)) * diameterNm;
}

double bearingRad(LatLon a, LatLon b) {
    const double lat1 = a.lat * degToRad;
    const double lat2 = b.lat * degToRad;
    const double dLon = (b.lon - a.lon) * degToRad;
    const double y = std::sin(dLon) * std::cos(lat2);
    const double x = std::cos(lat1) * std::sin(lat2) - std::sin(lat1) * std::cos(lat2) * std::cos(dLon);
    return normalizeAngle(std::atan2(y, x));
}

LatLon destination(LatLon from, double bearing, double feet) {
    const double arc = feet * radiansPerFoot;
    const double lat1 = from.lat * degToRad;
    const double sinLat2 = std::sin(lat1) * std::cos(arc) + std::cos(lat1) * std::sin(arc) * std::cos(bearing);
    const double lat2 = std::asin(sinLat2 > 1.0 ? 1.0 : sinLat2 < -1.0 ? -1.0 : sinLat2);
    const double dLon =
        std::atan2(std::sin(bearing) * std::sin(arc) * std::cos(lat1), std::cos(arc) - std::sin(lat1) * std::sin(lat2));
    double lon = from.lon + dLon * radToDeg;
    if (lon > 180.0)
        lon -= 360.0;
    else if (lon < -180.0)
        lon += 360.0;
    return {lat2 * radToDeg, lon};
}

double angleDiff(double from, double to) {
    double d = std::fmod(to - from, twoPi);
    if (d > pi)
        d -= twoPi;
    else if (d < -pi)
        d += twoPi;
    return d;
}

double normalizeAngle(double radians) {
    double a = std::fmod(radians, twoPi);
    if (a < 0.0)
        a += twoPi;
    return a >= twoPi ? 0.0 : a;
}

} // namespace kes
