// SPDX-License-Identifier: MIT
#include "tools/replay/scenario_flights.h"

#include <algorithm>
#include <cmath>

namespace kes::replay {

namespace {

using source::appendRoute;
using source::RoutePoint;
using source::Track;
using source::Vec;

constexpr double kt = metresPerSecondPerKnot;
constexpr double anyLateral = 1e3;         ///< the radius alone makes the curve
constexpr double taxiLateral = 0.7;        ///< m/s^2
constexpr double glide = 0.0524;           ///< tan of 3 degrees
constexpr double rounding = 150.0;         ///< metres by which a height profile is rounded near the ground
constexpr double rateOne = 3.0 * degToRad; ///< radians per second
constexpr double always = 1e9;

RoutePoint point(double x, double y, double knots, double radius = 0) {
    return {.at = {x, y}, .radius = radius, .speed = knots * kt};
}

/// Goes on from the last point of a route: so many metres on a heading.
RoutePoint onwards(const std::vector<RoutePoint>& route, double degrees, double metres, double knots, double radius) {
    const Vec at = route.back().at + source::unit(degrees * degToRad) * metres;
    return point(at.x, at.y, knots, radius);
}

double turnRadius(double knots) {
    return knots * kt / rateOne;
}

FlownTrack levelFlight(const std::vector<RoutePoint>& route, double feet, double knots) {
    FlownTrack f;
    appendRoute(f.track, route, anyLateral);
    f.track.airFrom = -always;
    f.track.airTo = always;
    f.track.heights = {{0, feet}};
    planSpeed(f.track, knots * kt, knots * kt, {});
    return f;
}

/// The way down runway 09 from far out, to `past` metres behind its begin. Height follows the glide path.
std::vector<RoutePoint> finalApproach(double milesOut, double knots) {
    const double x = runwayBegin.x - milesOut * metresPerNm;
    return {point(x, 0, knots)};
}

/// The height profile down to a touchdown, on the ground from there on. `from` = path distance of the touchdown.
void glideTo(Track& track, double touchdown, double elevation) {
    const double corner = touchdown - rounding;
    track.heights = {{0, elevation + corner * glide * feetPerMetre}, {corner, elevation}};
}

constexpr double hoverSeconds = 20, riseSeconds = 6;

/// Straight up before the way begins, straight down behind its end.
void addHover(const FlownTrack& flown, double since, source::TrackState& s) {
    const double risen = since < 0.0 ? since + hoverSeconds : hoverSeconds + flown.track.duration - since;
    if (since >= 0.0 && since <= flown.track.duration)
        return;
    const double part = std::clamp(risen / riseSeconds, 0.0, 1.0);
    s.feet = flown.elevation + flown.hoverFeet * part * part * (3.0 - 2.0 * part);
    const double rate = flown.hoverFeet * 6.0 * part * (1.0 - part) / riseSeconds * 60.0;
    s.feetPerMinute = since < 0.0 ? rate : -rate;
    s.airborne = part > 0.0;
    s.roll = 0.0;
}

} // namespace

FlownTrack levelTurns() {
    constexpr double knots = 250;
    const double r = turnRadius(knots), straight = 4500;
    std::vector<RoutePoint> route{point(-20000, -14000, knots)};
    double heading = 0;
    for (const double turn : {30.0, -30.0, 90.0, -90.0, 90.0, 90.0, -90.0, -90.0}) {
        route.push_back(onwards(route, heading, straight + 2.0 * r, knots, r));
        heading += turn;
    }
    route.push_back(onwards(route, heading, 12000, knots, 0));
    return levelFlight(route, 6000, knots);
}

FlownTrack holdingPattern() {
    constexpr double knots = 210;
    const double r = turnRadius(knots), leg = 60.0 * knots * kt;
    std::vector<RoutePoint> route{point(-12000, 6000, knots)};
    route.push_back(onwards(route, 90, 12000 + leg, knots, r));
    for (int round = 0; round < 3; ++round) {
        route.push_back(onwards(route, 180, 2.0 * r, knots, r));
        route.push_back(onwards(route, 270, leg + 2.0 * r, knots, r));
        route.push_back(onwards(route, 0, 2.0 * r, knots, r));
        route.push_back(onwards(route, 90, leg + 2.0 * r, knots, r));
    }
    route.push_back(onwards(route, 180, 8000, knots, 0));
    return levelFlight(route, 8000, knots);
}

FlownTrack climbAndDescent() {
    constexpr double knots = 280, metresPerMinute = knots * kt * 60;
    FlownTrack f = levelFlight({point(-60000, 9000, knots), point(60000, 9000, knots)}, 2000, knots);
    const double begin = 1.5 * metresPerMinute, top = begin + 5.0 * metresPerMinute, down = top + metresPerMinute;
    f.track.heights = {{begin, 2000}, {top, 12000}, {down, 12000}, {down + 6.0 * metresPerMinute, 3000}};
    return f;
}

FlownTrack instrumentLanding(double elevation, double knots, double rollOut) {
    FlownTrack f;
    f.elevation = elevation;
    f.tail = 60;
    std::vector<RoutePoint> route = finalApproach(10, knots);
    const double touchdown = runwayBegin.x + 350, exit = touchdown + rollOut;
    route.push_back({.at = {touchdown, 0}, .speed = knots * kt, .accel = 0.5, .decel = 1.7});
    route.push_back({.at = {exit, 0}, .radius = 60, .speed = 15 * kt, .decel = 0.8});
    route.push_back(point(exit, -120, 15, 45));
    route.push_back(point(exit + 300, -120, 15));
    appendRoute(f.track, route, taxiLateral);
    const double at = touchdown - route.front().at.x;
    f.track.airFrom = -always;
    f.track.airTo = at;
    glideTo(f.track, at, elevation);
    planSpeed(f.track, knots * kt, 0, {});
    return f;
}

FlownTrack goAround(double elevation) {
    constexpr double knots = 145;
    FlownTrack f = levelFlight({finalApproach(9, knots).front(), point(28000, 0, 170)}, 0, knots);
    f.elevation = elevation;
    const double threshold = runwayBegin.x - finalApproach(9, knots).front().at.x;
    const double climb = 2000.0 / 60.0 / (knots * kt); // feet per metre
    // The profile is rounded over 1500 m on each side, which lifts its lowest point by a quarter of the bend.
    const double lowest = 200.0 - 1500.0 / 4.0 * (glide * feetPerMetre + climb);
    const double corner = threshold - 200.0 / feetPerMetre / glide;
    f.track.heights = {{0, elevation + lowest + corner * glide * feetPerMetre},
                       {corner, elevation + lowest},
                       {corner + 3800.0 / climb, elevation + lowest + 3800}};
    return f;
}

FlownTrack touchAndGo(double elevation) {
    constexpr double knots = 65;
    FlownTrack f;
    f.elevation = elevation;
    const double touchdown = runwayBegin.x + 250, off = touchdown + 400;
    appendRoute(f.track,
                {point(runwayBegin.x - 3.0 * metresPerNm, 0, knots), point(touchdown, 0, 60), point(off, 0, 75),
                 point(off + 9000, 0, 75)},
                anyLateral);
    const double down = 3.0 * metresPerNm + 250, up = down + 400;
    f.track.airFrom = -always;
    f.track.airTo = down;
    glideTo(f.track, down, elevation);
    planSpeed(f.track, knots * kt, 75 * kt, {});
    f.after = f.track;
    f.after->airFrom = up;
    f.after->airTo = always;
    const double climb = 700.0 / 60.0 / (75 * kt); // feet per metre
    f.after->heights = {{up + rounding, elevation}, {up + rounding + 1500.0 / climb, elevation + 1500}};
    return f;
}

FlownTrack taxiCorners(double degrees) {
    constexpr double knots = 15;
    const double radius = degrees > 120 ? 25 : 30;
    FlownTrack f;
    f.lead = 60;
    f.tail = 60;
    std::vector<RoutePoint> route{point(-600, -400, knots)};
    double heading = 90;
    int turnsRight = 1;
    for (int i = 0; i < 6; ++i) {
        // A sharp corner eats much of the leg on both of its sides.
        const double leg = degrees > 120 ? 700 : 200;
        route.push_back(onwards(route, heading, leg, knots, radius));
        heading += turnsRight * degrees;
        turnsRight = -turnsRight;
    }
    route.push_back(onwards(route, heading, degrees > 120 ? 700 : 250, knots, 0));
    appendRoute(f.track, route, taxiLateral);
    planSpeed(f.track, 0, 0, {});
    return f;
}

FlownTrack holdShort(double seconds) {
    FlownTrack f;
    f.lead = 60;
    f.tail = 60;
    appendRoute(f.track, {point(-600, -400, 12), point(600, -400, 12)}, taxiLateral);
    planSpeed(f.track, 0, 0, {{400, seconds}, {800, seconds}});
    return f;
}

FlownTrack pushBack(int side) {
    constexpr double slow = 3, metresBack = 50;
    FlownTrack f;
    f.lead = 120;
    f.tail = 60;
    const double x = 0, y = -500;
    std::vector<RoutePoint> back{{.at = {x, y}, .speed = slow * kt, .accel = 0.2, .decel = 0.2}};
    std::vector<RoutePoint> off;
    if (side == 0) {
        back.push_back(point(x, y - metresBack - 30, slow));
        off = {point(x, y - metresBack - 30, 8, 0), point(x, y - metresBack, 8, 18), point(x - 420, y - metresBack, 8)};
    } else {
        // The tail goes to the other side than the nose.
        RoutePoint corner = point(x, y - metresBack, slow, 18);
        corner.accel = corner.decel = 0.2;
        back.push_back(corner);
        back.push_back(point(x - side * 30, y - metresBack, slow));
        off = {point(x - side * 30, y - metresBack, 12), point(x + side * 370, y - metresBack, 12)};
    }
    appendRoute(f.track, back, anyLateral, true);
    const double pushed = pathLength(f.track);
    appendRoute(f.track, off, taxiLateral);
    planSpeed(f.track, 0, 0, {{pushed, 60}});
    return f;
}

FlownTrack takeOff(double elevation, const TakeOff& how) {
    FlownTrack f;
    f.elevation = elevation;
    f.lead = 60;
    const double rotate = how.rotate * kt, roll = rotate * rotate / (2.0 * how.accel) + 40.0;
    const double x = runwayBegin.x + 60;
    std::vector<RoutePoint> in{point(x, -300, 12), point(x, 0, 12, 35), {.at = {x + 80, 0}}};
    appendRoute(f.track, in, taxiLateral);
    const double lineUp = pathLength(f.track);
    RoutePoint run{.at = {x + 80, 0}, .speed = how.fast * kt, .accel = how.accel, .decel = 1.0};
    RoutePoint climbing = point(x + 80 + roll, 0, how.fast);
    climbing.accel = 0.6;
    const double climbMetres = 5000.0 / how.climb * 60.0 * how.fast * kt;
    appendRoute(f.track, {run, climbing, point(x + 80 + roll + climbMetres + 4000, 0, how.fast)}, anyLateral);
    f.track.airFrom = lineUp + roll;
    f.track.airTo = always;
    f.track.heights = {{lineUp + roll + rounding, elevation},
                       {lineUp + roll + rounding + climbMetres, elevation + 5000}};
    planSpeed(f.track, 0, how.fast * kt, {{lineUp, 10}});
    return f;
}

FlownTrack helicopterRound(double elevation) {
    constexpr double knots = 90;
    FlownTrack f;
    f.elevation = elevation;
    f.lead = 90;
    f.tail = 90;
    const double r = turnRadius(knots);
    RoutePoint lift = point(0, -800, knots);
    lift.accel = lift.decel = 1.0;
    std::vector<RoutePoint> route{lift};
    for (const double heading : {90.0, 180.0, 270.0, 0.0}) {
        RoutePoint p = onwards(route, heading, heading == 90.0 ? 3000 : heading == 270.0 ? 5000 : 3000, knots, r);
        p.accel = p.decel = 1.0;
        route.push_back(p);
    }
    RoutePoint last = point(0, -800, 0);
    route.push_back(last);
    appendRoute(f.track, route, anyLateral);
    const double end = pathLength(f.track);
    f.hoverFeet = 15;
    f.track.airFrom = -always;
    f.track.airTo = always;
    const double low = elevation + f.hoverFeet;
    f.track.heights = {{1600, low}, {4600, low + 800}, {end - 5600, low + 800}, {end - 1600, low}};
    planSpeed(f.track, 0, 0, {});
    return f;
}

FlownTrack standing(double north) {
    FlownTrack f;
    f.tail = 900;
    f.track.path.push_back({.start = {200, north}, .heading = 1.0, .length = 1e-3});
    f.track.nodes = {{0, 0, 0}};
    return f;
}

Truth truthOf(const FlownTrack& flown, LatLon airport, double seconds) {
    const double since = seconds - flown.lead;
    source::TrackState s = source::stateAt(flown.track, since);
    if (flown.after && !s.airborne)
        s = source::stateAt(*flown.after, since);
    if (flown.hoverFeet > 0.0)
        addHover(flown, since, s);
    Truth t;
    t.at = source::placeOf(airport, s.at);
    const double motion = normalizeAngle(s.heading + source::gridToTrue(airport, s.at));
    t.heading = s.tailFirst ? normalizeAngle(motion + pi) : motion;
    t.gs = s.speed / kt;
    t.track = t.gs > 0.0 ? motion : t.heading;
    t.airborne = s.airborne && s.feet > flown.elevation + 0.01;
    t.alt = t.airborne ? s.feet : flown.elevation;
    t.vs = t.airborne ? s.feetPerMinute : 0.0;
    t.bank = t.airborne ? -s.roll * degToRad : 0.0;
    return t;
}

} // namespace kes::replay
