// SPDX-License-Identifier: MIT
#include "world/source/airfield.h"

#include <algorithm>
#include <cmath>
#include <fmt/format.h>

namespace kes::source {

namespace {

constexpr double nm = metresPerNm;
constexpr double kt = metresPerSecondPerKnot;
constexpr double airLateral = 4.0;    // m/s^2, a bank of 22 degrees
constexpr double groundLateral = 1.3; // m/s^2

constexpr double landThresholdA = -2726, landB = 1142.5;
constexpr double takeOffThresholdA = -1258, takeOffB = -1165;
constexpr double northTaxiB = 952, southTaxiB = -970;
constexpr double westCrossA = 960, eastCrossA = -960;
constexpr double taxiSpeed = 18 * kt, laneSpeed = 12 * kt, standSpeed = 4 * kt, pushSpeed = 3 * kt;

RoutePoint taxi(double a, double b, double radius, double speed) {
    return {.at = fieldPoint(a, b), .radius = radius, .speed = speed, .accel = 0.6, .decel = 0.7};
}

RoutePoint air(Vec at, double knots, double radius = 9000) {
    return {.at = at, .radius = radius, .speed = knots * kt, .accel = 0.55, .decel = 0.45};
}

Vec polar(double bearing, double distanceMiles) {
    return unit(bearing) * (distanceMiles * nm);
}

/// Curve radius in metres for a speed in knots with some reserve to the sideways limit.
double radiusFor(double knots) {
    return knots * kt * knots * kt / (0.9 * airLateral);
}

RoutePoint airTurn(Vec at, double knots) {
    return air(at, knots, radiusFor(knots));
}

} // namespace

Vec fieldPoint(double a, double b) {
    const double h = landingBearing * degToRad;
    return unit(h) * a + unit(h + pi / 2) * b;
}

std::vector<ScenarioStand> scenarioStands() {
    std::vector<ScenarioStand> all;
    for (int row = 0; row < 2; ++row) {
        for (int i = 0; i < 26; ++i) {
            ScenarioStand s;
            s.name = fmt::format("{}{}", row == 0 ? 201 + i : 101 + i, row == 0 ? "N" : "S");
            s.a = 750.0 - 60.0 * i;
            s.noseRight = row == 0;
            s.taxiLane = row == 0 ? 150.0 : -150.0;
            s.b = row == 0 ? 245.0 : -245.0;
            all.push_back(s);
        }
    }
    return all;
}

double standHeading(const ScenarioStand& stand) {
    return normalizeAngle(landingBearing * degToRad + (stand.noseRight ? pi / 2 : -pi / 2));
}

Track arrivalTrack(const ScenarioStand& stand, const Performance& p, double bearing, double elevation,
                   std::mt19937& random) {
    const double finalMiles = between(random, 9.0, 12.0);
    // Miles before the threshold along the extended centre line, and to the right of it as the pilot sees it.
    auto onApproach = [](double before, double right) {
        return fieldPoint(landThresholdA - before * nm, landB + right * nm);
    };
    const Vec entry = polar(bearing, horizonNm);
    const Vec axis = unit((landingBearing + 180.0) * degToRad), side = unit((landingBearing + 90.0) * degToRad);
    const double along = (entry.x * axis.x + entry.y * axis.y) / nm;
    const double right = (entry.x * side.x + entry.y * side.y) / nm >= 0 ? 1.0 : -1.0;
    const double descent = std::min(290.0, p.cruise);
    const double slow = std::min(210.0, p.cruise * 0.7);

    std::vector<RoutePoint> r{air(entry, descent)};
    if (along > 15.0) {
        r.push_back(airTurn(onApproach(finalMiles + 7.0, 3.0 * right), slow + 20));
    } else {
        if (along < -8.0) {
            r.push_back(airTurn(onApproach(-2.0, 6.5 * right), slow + 40));
        }
        r.push_back(airTurn(onApproach(finalMiles + 6.0, 6.5 * right), slow));
        r.push_back(airTurn(onApproach(finalMiles + 6.0, 2.5 * right), slow));
    }
    r.push_back(airTurn(onApproach(finalMiles, 0), std::min(slow, 185.0)));
    r.push_back(air(onApproach(6.5, 0), std::min(165.0, p.approach + 30)));
    r.push_back(air(onApproach(4.5, 0), p.approach));
    const double touchA = landThresholdA + between(random, 320.0, 480.0);
    const Vec touch = fieldPoint(touchA, landB);
    r.push_back({.at = touch, .speed = p.approach * kt, .accel = 0.5, .decel = 1.9});
    r.push_back({.at = fieldPoint(touchA + 1450, landB), .speed = 42 * kt, .accel = 0.5, .decel = 1.6});
    // Off by a fast exit, along the taxiway to the west, around to the lane of the stand and into it.
    r.push_back(taxi(-320, landB, 350, 28 * kt));
    r.push_back(taxi(-320 + (landB - northTaxiB) / std::tan(35 * degToRad), northTaxiB, 250, taxiSpeed));
    r.push_back(taxi(westCrossA, northTaxiB, 45, taxiSpeed));
    r.push_back(taxi(westCrossA, stand.taxiLane, 45, laneSpeed));
    r.push_back(taxi(stand.a, stand.taxiLane, 35, standSpeed));
    r.push_back(taxi(stand.a, stand.b, 0, standSpeed));

    Track t;
    appendRoute(t, r, airLateral);
    // On the ground the same curves are taken with less.
    const double touchAt = distanceAt(t, touch);
    for (PathElement& e : t.path) {
        if (e.from >= touchAt && e.curvature != 0.0) {
            e.speed = std::min(e.speed, std::sqrt(groundLateral / std::abs(e.curvature)));
        }
    }
    t.airFrom = -1e9;
    t.airTo = touchAt;
    const double glide = std::tan(3.0 * degToRad) * feetPerMetre; // feet per metre
    const double level = 3500.0 + 500.0 * pick(random, 3);        // above the field, flown until the glide path
    const double glideStart = touchAt - level / glide;
    const double levelStart = glideStart - 2.0 * nm;
    const double entryFeet = std::min(11000.0, elevation + level + levelStart * 300.0 / nm);
    const double gradient = 300.0 / nm;
    const double descentStart = std::max(0.0, levelStart - (entryFeet - elevation - level) / gradient);
    t.heights = {{descentStart, entryFeet},
                 {levelStart, elevation + level},
                 {glideStart, elevation + level},
                 {touchAt, elevation}};
    planSpeed(t, descent * kt, 0, {});
    return t;
}

Track departureTrack(const ScenarioStand& stand, const Performance& p, double bearing, double elevation,
                     std::mt19937& random) {
    Track t;
    const double pushEndA = stand.a + 75.0;
    appendRoute(t,
                {taxi(stand.a, stand.b, 0, pushSpeed), taxi(stand.a, stand.taxiLane, 40, pushSpeed),
                 taxi(pushEndA, stand.taxiLane, 0, pushSpeed)},
                groundLateral, true);
    const double pushEnd = pathLength(t);
    const Vec holdPoint = fieldPoint(takeOffThresholdA + 20, takeOffB + 95);
    const Vec lineUp = fieldPoint(takeOffThresholdA + 110, takeOffB);
    appendRoute(t,
                {taxi(pushEndA, stand.taxiLane, 0, laneSpeed),
                 taxi(eastCrossA, stand.taxiLane, 45, taxiSpeed),
                 taxi(eastCrossA, southTaxiB, 45, taxiSpeed),
                 taxi(takeOffThresholdA + 20, southTaxiB, 45, laneSpeed),
                 taxi(takeOffThresholdA + 20, takeOffB, 45, laneSpeed),
                 {.at = lineUp}},
                groundLateral);
    const double lineUpAt = pathLength(t);
    const double holdAt = distanceAt(t, holdPoint);

    // Along the runway and on, then around to the way out.
    const Vec endOfRunway = fieldPoint(takeOffThresholdA + 4000, takeOffB);
    const double out = landingBearing * degToRad;
    const Vec first = endOfRunway + unit(out) * (between(random, 2.5, 4.0) * nm);
    const double rotateSpeed = p.rotate * kt;
    const double roll = rotateSpeed * rotateSpeed / (2.0 * 1.9) + 60.0;
    const Vec liftOff = lineUp + unit(out) * roll;
    const double climbSpeed = std::min(p.cruise, 250.0), fast = std::min(p.cruise, 330.0);
    std::vector<RoutePoint> r{{.at = lineUp, .speed = rotateSpeed, .accel = 1.9, .decel = 1.0}};
    r.push_back(air(liftOff, p.rotate + 20));
    r.push_back(airTurn(first, std::min(climbSpeed, 220.0)));
    Vec from = first;
    const Vec exit = polar(bearing, horizonNm);
    const double turn = angleDiff(out, headingOf(exit - from));
    if (std::abs(turn) > 100.0 * degToRad) {
        from = from + unit(out + (turn > 0 ? pi / 2 : -pi / 2)) * (7.0 * nm);
        r.push_back(airTurn(from, climbSpeed));
    }
    const Vec half = from + (exit - from) * 0.5;
    r.push_back(air(half, fast));
    r.push_back(air(exit, fast));
    appendRoute(t, r, airLateral);

    const double liftAt = lineUpAt + roll;
    t.airFrom = liftAt;
    t.airTo = 1e9;
    const double k = p.climb;
    // Feet per metre of the way: steep at first, flatter as the speed rises.
    const double steep = 0.42 * k, middle = 0.26 * k, flat = 0.17 * k;
    const double d1 = liftAt + 2000.0 / steep, d2 = d1 + 5000.0 / middle;
    const double top = elevation + 7000.0 + 9000.0 * k;
    t.heights = {{liftAt, elevation}, {d1, elevation + 2000}, {d2, elevation + 7000}, {d2 + 9000.0 * k / flat, top}};
    planSpeed(
        t, 0, fast * kt,
        {{pushEnd, between(random, 60, 100)}, {holdAt, between(random, 12, 40)}, {lineUpAt, between(random, 4, 9)}});
    return t;
}

Track overflightTrack(const Performance& p, std::mt19937& random) {
    const double in = between(random, 0, twoPi);
    const double swing = pi + between(random, -0.9, 0.9);
    const Vec a = polar(in, 39.5), c = polar(in + swing, 39.5);
    const Vec middle = (a + c) * 0.5 + polar(between(random, 0, twoPi), between(random, 0, 4));
    const double knots = p.cruise + between(random, -15, 15);
    Track t;
    appendRoute(t, {air(a, knots), airTurn(middle, knots), air(c, knots)}, airLateral);
    const bool low = p.cruise < 380;
    const double level = 1000.0 * (low ? 16 + pick(random, 5) : 28 + pick(random, 13));
    t.airFrom = -1e9, t.airTo = 1e9;
    t.heights = {{0, level}};
    if (pick(random, 4) == 0) {
        const double begin = between(random, 0.2, 0.4) * pathLength(t);
        const double change = pick(random, 2) == 0 && level < 38000 ? 2000.0 : -2000.0;
        t.heights = {{begin, level}, {begin + 2000.0 * 11.0, level + change}};
    }
    planSpeed(t, knots * kt, knots * kt, {});
    return t;
}

Track lightTrack(const Performance& p, double elevation, std::mt19937& random) {
    double at = between(random, 0, twoPi);
    const double way = pick(random, 2) == 0 ? 1.0 : -1.0;
    std::vector<RoutePoint> r{air(polar(at, 30.0), p.cruise)};
    const int corners = 4 + static_cast<int>(pick(random, 3));
    for (int i = 0; i < corners; ++i) {
        at += way * between(random, 0.7, 1.0); // around the airport, never across it
        r.push_back(airTurn(polar(at, between(random, 14.0, 24.0)), p.cruise));
    }
    r.push_back(air(polar(at + way * 0.6, 32.0), p.cruise));
    Track t;
    appendRoute(t, r, airLateral);
    const double level = elevation + 1300.0 + 200.0 * pick(random, 9),
                 begin = pathLength(t) * between(random, 0.3, 0.6);
    t.airFrom = -1e9, t.airTo = 1e9;
    t.heights = {{begin, level}, {begin + 3000.0, level + 500.0}};
    planSpeed(t, p.cruise * kt, p.cruise * kt, {});
    return t;
}

Track helicopterTrack(const Performance& p, double elevation, std::mt19937& random) {
    const Vec pad = fieldPoint(1500, -2100);
    const double first = between(random, 150, 215) * degToRad; // away to the south, clear of both final approaches
    RoutePoint lift{.at = pad, .speed = p.cruise * kt, .accel = 1.0, .decel = 0.8};
    auto corner = [&](Vec at) {
        RoutePoint c = airTurn(at, p.cruise);
        c.accel = 1.0, c.decel = 0.8;
        return c;
    };
    std::vector<RoutePoint> r{lift, corner(pad + polar(first, between(random, 4, 6))),
                              corner(pad + polar(first + 0.5, between(random, 9, 13))),
                              corner(pad + polar(first - 0.3, between(random, 10, 13))),
                              corner(pad + polar(first - 0.25, between(random, 4, 6)))};
    RoutePoint down{.at = pad};
    r.push_back(down);
    Track t;
    appendRoute(t, r, airLateral);
    const double level = elevation + 700.0 + 100.0 * pick(random, 5), end = pathLength(t);
    t.airFrom = 120.0, t.airTo = end - 120.0;
    t.heights = {{120.0, elevation},
                 {120.0 + (level - elevation) / 0.22, level},
                 {end - 120.0 - (level - elevation) / 0.15, level},
                 {end - 120.0, elevation}};
    planSpeed(t, 0, 0, {});
    return t;
}

Track vehicleTrack(std::mt19937& random) {
    const double b = pick(random, 2) == 0 ? 20.0 : -20.0, speed = 22 * kt;
    std::vector<RoutePoint> r;
    for (int lap = 0; lap < 6; ++lap) {
        r.push_back(taxi(820, b, 15, speed));
        r.push_back(taxi(820, b > 0 ? 55 : -55, 15, speed));
        r.push_back(taxi(-820, b > 0 ? 55 : -55, 15, speed));
        r.push_back(taxi(-820, b, 15, speed));
    }
    r.push_back(taxi(820, b, 0, speed));
    Track t;
    appendRoute(t, r, groundLateral);
    planSpeed(t, 0, 0, {});
    return t;
}

Track standingTrack(Vec at, double heading) {
    Track t;
    t.path.push_back({.start = at, .heading = heading, .length = 1e-3});
    t.nodes = {{0, 0, 0}};
    return t;
}

} // namespace kes::source
