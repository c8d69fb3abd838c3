// SPDX-License-Identifier: MIT
// Where a scenario aircraft is at any time, in closed form: lines and arcs on a plane around the airport, a speed that
// is piecewise uniformly accelerated along them, and a height profile over the distance flown. Pure functions.
#pragma once

#include "core/geo.h"

#include <vector>

namespace kes::source {

/// Metres east and north of the airport on the plane that keeps distance and bearing from it.
struct Vec {
    double x = 0, y = 0;
};
Vec operator+(Vec a, Vec b);
Vec operator-(Vec a, Vec b);
Vec operator*(Vec a, double k);
double length(Vec v); ///< metres
/// Unit vector of a grid heading (radians, clockwise from north), and the heading of a vector.
Vec unit(double heading);
double headingOf(Vec v);

/// A corner of a route. Speed and accelerations hold on the leg that begins here.
struct RoutePoint {
    Vec at;
    double radius = 0;  ///< metres of the curve flown at this corner; made smaller where the legs are too short
    double speed = 0;   ///< m/s, highest speed
    double accel = 0.5; ///< m/s^2
    double decel = 0.5; ///< m/s^2
    double hold = 0;    ///< seconds of standing at this point; such a corner has no curve
};

/// One line (curvature 0) or arc.
struct PathElement {
    Vec start;
    double heading = 0;   ///< of the motion at the start, radians
    double curvature = 0; ///< radians per metre, to the right positive
    double length = 0;    ///< metres
    double from = 0;      ///< distance along the path at the start, metres
    bool tailFirst = false;
    double speed = 0, accel = 0.5, decel = 0.5;
};

struct HeightPoint {
    double distance = 0; ///< metres along the path
    double feet = 0;     ///< above sea level
};

/// Speed at a distance and the time it is reached; between two nodes the acceleration is constant.
struct SpeedNode {
    double distance = 0, speed = 0, time = 0;
};

struct Track {
    std::vector<PathElement> path;
    std::vector<SpeedNode> nodes;
    std::vector<HeightPoint> heights; ///< empty for a track that stays on the ground
    double airFrom = 0, airTo = -1;   ///< distances between which the aircraft is off the ground
    double duration = 0;              ///< seconds
};

struct TrackState {
    Vec at;
    double heading = 0; ///< of the motion, grid, radians
    double roll = 0;    ///< degrees, to the right positive
    double speed = 0;   ///< m/s
    double feet = 0;    ///< above sea level; 0 on the ground
    double feetPerMinute = 0;
    bool airborne = false;
    bool tailFirst = false;
};

/// Appends the route's legs and curves. The first point must be where the path so far ends. `lateral` is the sideways
/// acceleration allowed in curves, m/s^2; it bounds the speed there.
void appendRoute(Track& track, const std::vector<RoutePoint>& route, double lateral, bool tailFirst = false);
double pathLength(const Track& track); ///< metres
/// Distance along the path of the point nearest to `at`, looking at elements from index `first` on.
double distanceAt(const Track& track, Vec at, std::size_t first = 0);
/// A stop at a distance along the path, metres.
struct Hold {
    double distance = 0, seconds = 0;
};
/// Plans speed and time over the whole path, from one speed to the other, m/s.
void planSpeed(Track& track, double startSpeed, double endSpeed, const std::vector<Hold>& holds);
/// `t` in seconds from the start of the track, clamped to it.
TrackState stateAt(const Track& track, double t);
/// Time at which a distance is reached first.
double timeAt(const Track& track, double distance);

/// Place of a point on the plane around `centre`, and the angle by which true north differs from the grid there:
/// true heading = grid heading + this, radians.
LatLon placeOf(LatLon centre, Vec at);
double gridToTrue(LatLon centre, Vec at);

} // namespace kes::source
