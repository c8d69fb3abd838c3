// SPDX-License-Identifier: MIT
#include "traffic/ground_curve.h"

#include "core/log.h"

#include <algorithm>
#include <cmath>
#include <fmt/format.h>
#include <limits>
#include <stdexcept>

namespace kes {

namespace {

constexpr double metresPerDegree = 111132.95;
constexpr double curveEnd = 0.999999;
constexpr double headingTolerance = 0.5 * degToRad;

/// Places in LiveAircraft::curve.
enum CurveField : std::size_t { lat0, lon0, t0, endNorth, endEast, t1, controlEast, controlNorth };

double metresPerDegreeEast(double lat) {
    return metresPerDegree * std::cos((lat > 180.0 ? lat - 360.0 : lat) * degToRad);
}

void stepOnCurve(LiveAircraft& a) {
    const std::array<double, 8>& c = a.curve;
    const double u = (a.curveT - c[t0]) / (c[t1] - c[t0]);
    const double w = 1.0 - u;
    const double north = 2.0 * w * u * c[controlNorth] + u * u * c[endNorth];
    const double east = 2.0 * w * u * c[controlEast] + u * u * c[endEast];
    const double lat = c[lat0] + north / metresPerDegree;
    const double lon = c[lon0] + east / metresPerDegreeEast(c[lat0]);
    if (!std::isfinite(lat) || !std::isfinite(lon))
        throw std::domain_error("no place");
    a.lat = lat;
    a.lon = lon;
    const double tangentEast = 2.0 * u * (c[endEast] - c[controlEast]) + 2.0 * w * c[controlEast];
    const double tangentNorth = 2.0 * u * (c[endNorth] - c[controlNorth]) + 2.0 * w * c[controlNorth];
    const double tangent = std::atan2(tangentEast, tangentNorth);
    turnTowards(a, a.fs == FlightState::pushing_back ? tangent + pi : tangent);
}

} // namespace

bool curveRuns(const LiveAircraft& a) {
    return !std::isnan(a.curve[controlEast]) && !std::isnan(a.curve[controlNorth]);
}

void clearCurve(LiveAircraft& aircraft) {
    aircraft.curve.fill(std::numeric_limits<double>::quiet_NaN());
    aircraft.curveT = 0.0;
}

bool setUpCurve(LiveAircraft& a, double angle) {
    if (a.sz() < 3)
        return false;
    const PositionSample& s1 = a.stream[1];
    PositionSample& s2 = a.stream[2];
    if (s2.gs == 0.0)
        s2.gs = (a.stream[0].gs + s1.gs) / 2.0;
    const double perDegreeEast = metresPerDegreeEast(a.lat);
    a.curve[lat0] = a.lat;
    a.curve[lon0] = a.lon;
    a.curve[t0] = 0.0;
    a.curve[t1] = 1.0;
    a.curve[endNorth] = (s2.lat - a.lat) * metresPerDegree;
    a.curve[endEast] = lonDifference(a.lon, s2.lon) * perDegreeEast;
    a.curve[controlNorth] = (s1.lat - a.lat) * metresPerDegree;
    a.curve[controlEast] = lonDifference(a.lon, s1.lon) * perDegreeEast;
    a.curveAngle = angle;
    a.stream.erase(a.stream.begin() + 1);
    return true;
}

void advanceOnCurve(LiveAircraft& a) {
    a.curveT = std::min(a.curveT + a.curveStep, curveEnd);
    try {
        stepOnCurve(a);
    } catch (const std::exception&) {
        log(fmt::format("{} error in curve at index: {:.2F}", a.callsign, a.curveT));
    }
}

void turnTowards(LiveAircraft& a, double direction) {
    const double turn = angleDiff(a.heading, direction);
    if (std::fabs(turn) > headingTolerance)
        a.heading += std::clamp(turn, -a.turnRate, a.turnRate);
}

} // namespace kes
