// SPDX-License-Identifier: MIT
#include "world/source/track.h"

#include <algorithm>
#include <cmath>

namespace kes::source {

namespace {

constexpr double gravity = 9.80665;

Vec pointOn(const PathElement& e, double d) {
    if (e.curvature == 0.0) {
        return e.start + unit(e.heading) * d;
    }
    const double h = e.heading + e.curvature * d;
    return {e.start.x + (std::cos(e.heading) - std::cos(h)) / e.curvature,
            e.start.y + (std::sin(h) - std::sin(e.heading)) / e.curvature};
}

const PathElement& elementAt(const Track& track, double distance) {
    auto it = std::upper_bound(track.path.begin(), track.path.end(), distance,
                               [](double d, const PathElement& e) { return d < e.from; });
    return it == track.path.begin() ? track.path.front() : *(it - 1);
}

/// Heading of the motion at a distance, not brought into a range, so that differences across an arc are its turn.
double turnBetween(const Track& track, double from, double to) {
    double sum = 0;
    for (const PathElement& e : track.path) {
        if (e.curvature != 0.0) {
            const double overlap = std::min(to, e.from + e.length) - std::max(from, e.from);
            sum += overlap > 0 ? overlap * e.curvature : 0.0;
        }
    }
    return sum;
}

/// Integral of the height profile from 0 to a distance; the profile is level before its first and behind its last
/// point.
double heightIntegral(const std::vector<HeightPoint>& p, double distance) {
    if (distance <= p.front().distance) {
        return (distance - p.front().distance) * p.front().feet;
    }
    double sum = 0;
    for (std::size_t i = 0; i + 1 < p.size(); ++i) {
        const double span = p[i + 1].distance - p[i].distance;
        const double part = std::min(distance - p[i].distance, span);
        const double slope = span > 0 ? (p[i + 1].feet - p[i].feet) / span : 0.0;
        sum += part * (p[i].feet + 0.5 * slope * part);
        if (distance <= p[i + 1].distance) {
            return sum;
        }
    }
    return sum + (distance - p.back().distance) * p.back().feet;
}

/// The profile with its corners rounded: its mean over a window that is short near the runway, like a flare, and long
/// high up.
double heightAt(const Track& track, double distance) {
    const double toGround = std::min(track.airFrom > 0 ? distance - track.airFrom : 1e9,
                                     track.airTo < pathLength(track) ? track.airTo - distance : 1e9);
    const double half = std::clamp(150.0 + 0.12 * toGround, 150.0, 1500.0);
    return (heightIntegral(track.heights, distance + half) - heightIntegral(track.heights, distance - half)) /
           (2.0 * half);
}

} // namespace

Vec operator+(Vec a, Vec b) {
    return {a.x + b.x, a.y + b.y};
}
Vec operator-(Vec a, Vec b) {
    return {a.x - b.x, a.y - b.y};
}
Vec operator*(Vec a, double k) {
    return {a.x * k, a.y * k};
}
double length(Vec v) {
    return std::hypot(v.x, v.y);
}
Vec unit(double heading) {
    return {std::sin(heading), std::cos(heading)};
}
double headingOf(Vec v) {
    return normalizeAngle(std::atan2(v.x, v.y));
}

double pathLength(const Track& track) {
    return track.path.empty() ? 0.0 : track.path.back().from + track.path.back().length;
}

void appendRoute(Track& track, const std::vector<RoutePoint>& route, double lateral, bool tailFirst) {
    auto push = [&](PathElement e) {
        if (e.length > 1e-6) {
            e.from = pathLength(track);
            e.tailFirst = tailFirst;
            track.path.push_back(e);
        }
    };
    double cutBefore = 0; // what the curve at the start of the leg took of it
    for (std::size_t i = 0; i + 1 < route.size(); ++i) {
        const RoutePoint& from = route[i];
        const RoutePoint& to = route[i + 1];
        const Vec leg = to.at - from.at;
        const double h = headingOf(leg), len = length(leg);
        double cutAfter = 0, turn = 0, radius = 0;
        if (i + 2 < route.size() && to.radius > 0 && to.hold == 0) {
            const Vec next = route[i + 2].at - to.at;
            turn = angleDiff(h, headingOf(next));
            if (std::abs(turn) > 1e-4) {
                const double tangent = std::tan(std::abs(turn) / 2.0);
                // Half a leg at most, so that the next corner finds the other half; the last leg has no next corner.
                const double room =
                    std::min(0.98 * (len - cutBefore), (i + 3 < route.size() ? 0.49 : 0.98) * length(next));
                radius = std::min(to.radius, room / tangent);
                cutAfter = radius * tangent;
            }
        }
        PathElement line{.start = from.at + unit(h) * cutBefore, .heading = h};
        line.length = len - cutBefore - cutAfter;
        line.speed = from.speed, line.accel = from.accel, line.decel = from.decel;
        push(line);
        if (radius > 0) {
            PathElement arc{.start = to.at - unit(h) * cutAfter, .heading = h};
            arc.curvature = (turn > 0 ? 1.0 : -1.0) / radius;
            arc.length = std::abs(turn) * radius;
            arc.speed = std::min({std::max(from.speed, to.speed), std::sqrt(lateral * radius)});
            arc.accel = std::min(from.accel, to.accel), arc.decel = std::max(from.decel, to.decel);
            push(arc);
        }
        cutBefore = cutAfter;
    }
}

double distanceAt(const Track& track, Vec at, std::size_t first) {
    double best = 1e18, found = 0;
    for (std::size_t i = first; i < track.path.size(); ++i) {
        const PathElement& e = track.path[i];
        const int steps = 1 + static_cast<int>(e.length / 10.0);
        for (int k = 0; k <= steps; ++k) {
            const double d = e.length * k / steps;
            const double gap = length(pointOn(e, d) - at);
            if (gap < best) {
                best = gap, found = e.from + d;
            }
        }
    }
    return found;
}

void planSpeed(Track& track, double startSpeed, double endSpeed, const std::vector<Hold>& holds) {
    struct Cell {
        double distance, limit, accel, decel; // of the piece that begins here
        double hold = 0;
    };
    std::vector<Cell> cells;
    for (const PathElement& e : track.path) {
        const double step = e.speed > 60.0 ? 150.0 : 10.0;
        std::vector<double> cuts;
        const int n = std::max(1, static_cast<int>(e.length / step));
        for (int k = 0; k < n; ++k) {
            cuts.push_back(e.from + e.length * k / n);
        }
        for (const Hold& h : holds) {
            if (h.distance > e.from && h.distance < e.from + e.length) {
                cuts.push_back(h.distance);
            }
        }
        std::sort(cuts.begin(), cuts.end());
        for (double c : cuts) {
            if (cells.empty() || c > cells.back().distance + 1e-9) {
                cells.push_back({c, e.speed, e.accel, e.decel});
            }
        }
    }
    const double total = pathLength(track);
    cells.push_back({total, cells.back().limit, cells.back().accel, cells.back().decel});
    std::vector<double> v(cells.size());
    for (std::size_t i = 0; i < cells.size(); ++i) {
        v[i] = i > 0 ? std::min(cells[i - 1].limit, cells[i].limit) : std::min(startSpeed, cells[i].limit);
    }
    v.back() = std::min(v.back(), endSpeed);
    for (const Hold& h : holds) {
        auto it = std::min_element(cells.begin(), cells.end(), [&](const Cell& a, const Cell& b) {
            return std::abs(a.distance - h.distance) < std::abs(b.distance - h.distance);
        });
        v[static_cast<std::size_t>(it - cells.begin())] = 0;
        it->hold = h.seconds;
    }
    for (std::size_t i = cells.size() - 1; i-- > 0;) {
        const double gap = cells[i + 1].distance - cells[i].distance;
        v[i] = std::min(v[i], std::sqrt(v[i + 1] * v[i + 1] + 2.0 * cells[i].decel * gap));
    }
    for (std::size_t i = 0; i + 1 < cells.size(); ++i) {
        const double gap = cells[i + 1].distance - cells[i].distance;
        v[i + 1] = std::min(v[i + 1], std::sqrt(v[i] * v[i] + 2.0 * cells[i].accel * gap));
    }
    double t = 0;
    track.nodes.clear();
    for (std::size_t i = 0; i < cells.size(); ++i) {
        if (i > 0) {
            t += 2.0 * (cells[i].distance - cells[i - 1].distance) / (v[i] + v[i - 1]);
        }
        track.nodes.push_back({cells[i].distance, v[i], t});
        if (cells[i].hold > 0) {
            t += cells[i].hold;
            track.nodes.push_back({cells[i].distance, 0.0, t});
        }
    }
    track.duration = t;
}

TrackState stateAt(const Track& track, double t) {
    t = std::clamp(t, 0.0, track.duration);
    auto it = std::upper_bound(track.nodes.begin(), track.nodes.end(), t,
                               [](double time, const SpeedNode& n) { return time < n.time; });
    const SpeedNode& a = it == track.nodes.begin() ? *it : *(it - 1);
    const SpeedNode& b = it == track.nodes.end() ? track.nodes.back() : *it;
    TrackState s;
    const double span = b.time - a.time, into = t - a.time;
    const double accel = span > 0 ? (b.speed - a.speed) / span : 0.0;
    s.speed = a.speed + accel * into;
    const double distance = std::min(a.distance + a.speed * into + 0.5 * accel * into * into, b.distance);
    const PathElement& e = elementAt(track, distance);
    s.at = pointOn(e, distance - e.from);
    s.heading = normalizeAngle(e.heading + e.curvature * (distance - e.from));
    s.tailFirst = e.tailFirst;
    s.airborne = !track.heights.empty() && distance >= track.airFrom && distance < track.airTo;
    if (s.airborne) {
        s.feet = heightAt(track, distance);
        const double slope = (heightAt(track, distance + 5.0) - heightAt(track, distance - 5.0)) / 10.0;
        s.feetPerMinute = slope * s.speed * 60.0;
        // An aircraft takes seconds to roll into a turn.
        const double half = 2.5 * s.speed;
        const double rate = turnBetween(track, distance - half, distance + half) / 5.0;
        s.roll = std::atan(s.speed * rate / gravity) * radToDeg;
    }
    return s;
}

double timeAt(const Track& track, double distance) {
    auto it = std::lower_bound(track.nodes.begin(), track.nodes.end(), distance,
                               [](const SpeedNode& n, double d) { return n.distance < d; });
    if (it == track.nodes.begin() || it == track.nodes.end()) {
        return it == track.nodes.begin() ? 0.0 : track.duration;
    }
    const SpeedNode &a = *(it - 1), &b = *it;
    const double gap = distance - a.distance, span = b.distance - a.distance;
    const double v = std::sqrt(a.speed * a.speed + (b.speed * b.speed - a.speed * a.speed) * gap / span);
    return a.speed + v > 0 ? a.time + 2.0 * gap / (a.speed + v) : a.time;
}

LatLon placeOf(LatLon centre, Vec at) {
    return destination(centre, headingOf(at), length(at) * feetPerMetre);
}

double gridToTrue(LatLon centre, Vec at) {
    if (length(at) < 1.0) {
        return 0.0;
    }
    return angleDiff(headingOf(at), bearingRad(placeOf(centre, at), centre) + pi);
}

} // namespace kes::source
