// SPDX-License-Identifier: MIT
#include "tools/replay/way.h"

#include "tools/replay/pose.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace kes::replay {

namespace {

constexpr double back = 60.0, ahead = 30.0; ///< seconds in which the place on the way is looked for
constexpr double stillMetres = 0.02;        ///< a line as short as that is standing
constexpr double slack = 12.0;              ///< metres along the way that a place may leap for nothing
constexpr double forwardCost = 0.2, backwardCost = 1.0;
constexpr double startCost = 1.0;   ///< metres per second of time, while nothing is known
constexpr double atItsPlace = 25.0; ///< metres from where it stands count as there
constexpr double nearby = 30.0;     ///< metres along the way to a place of standing
constexpr double infinite = std::numeric_limits<double>::infinity();

double outside(double value, double low, double high) {
    return value < low ? low - value : std::max(value - high, 0.0);
}

} // namespace

void Way::add(double seconds, LatLon at, bool still) {
    if (points_.empty()) {
        points_.push_back({seconds, at.lat, at.lon, 0.0, false});
        return;
    }
    const Point& last = points_.back();
    if (seconds <= last.seconds)
        return;
    const double north = (at.lat - last.lat) * metresPerDegree;
    const double east = lonDifference(last.lon, at.lon) * metresPerDegree * std::cos(at.lat * degToRad);
    const double metres = std::hypot(north, east);
    still = still || metres < stillMetres;
    points_.push_back({seconds, at.lat, at.lon, last.metres + (still ? 0.0 : metres), still});
}

void Way::forgetBefore(double seconds) {
    constexpr std::size_t worthIt = 64;
    std::size_t count = 0;
    while (count + 2 < points_.size() && points_[count + 1].seconds < seconds)
        ++count;
    if (count >= worthIt)
        points_.erase(points_.begin(), points_.begin() + static_cast<std::ptrdiff_t>(count));
}

bool WayFollower::inReach(const Way& way, std::size_t segment) const {
    const bool last = segment + 2 == way.points_.size();
    return way.points_[segment].seconds <= now_ + ahead && (last || way.points_[segment + 1].seconds >= now_ - back);
}

WayFollower::Found WayFollower::nearestIn(const Way& way, std::size_t segment) const {
    const Way::Point &a = way.points_[segment], &b = way.points_[segment + 1];
    const double length = b.seconds - a.seconds;
    const bool last = segment + 2 == way.points_.size();
    const double north = (b.lat - a.lat) * metresPerDegree, east = lonDifference(a.lon, b.lon) * metresPerLon_;
    const double toNorth = (at_.lat - a.lat) * metresPerDegree, toEast = lonDifference(a.lon, at_.lon) * metresPerLon_;
    const double square = north * north + east * east;
    double part = square > 0.0 ? (toNorth * north + toEast * east) / square : 0.0;
    const double end = last && !b.still ? 1.0 + ahead / length : 1.0;
    const double high = std::clamp((now_ + ahead - a.seconds) / length, 0.0, end);
    part = std::clamp(part, std::clamp((now_ - back - a.seconds) / length, 0.0, high), high);
    Found f;
    const double offNorth = toNorth - part * north, offEast = toEast - part * east;
    f.metres = std::sqrt(offNorth * offNorth + offEast * offEast);
    f.seconds = a.seconds + part * length;
    f.along = a.metres + part * (b.metres - a.metres);
    f.segment = segment;
    f.cost = f.metres + costOf(f);
    return f;
}

double WayFollower::costOf(const Found& f) const {
    if (!begun_)
        return startCost * std::fabs(now_ - f.seconds);
    const double leap = f.along - along_;
    return leap >= 0.0 ? forwardCost * std::max(leap - moved_ - slack, 0.0)
                       : backwardCost * std::max(-leap - slack, 0.0);
}

/// The leap's cost may have kept it short of the nearest place thereabouts.
void WayFollower::descend(const Way& way, Found& found) const {
    const auto closer = [&](std::size_t segment) {
        if (segment + 1 >= way.points_.size() || !inReach(way, segment))
            return false;
        const Found there = nearestIn(way, segment);
        const bool is = there.metres < found.metres;
        if (is)
            found = there;
        return is;
    };
    while (closer(found.segment + 1)) {
    }
    while (found.segment > 0 && closer(found.segment - 1)) {
    }
}

/// Who is where the aircraft stands at this time is on time, though he may not have come or gone to the last metre.
void WayFollower::preferStanding(const Way& way, Found& found) const {
    const auto near = [&](std::size_t segment) {
        return outside(found.along, way.points_[segment].metres, way.points_[segment + 1].metres) <= nearby &&
               inReach(way, segment);
    };
    std::size_t first = found.segment, end = found.segment + 1;
    while (first > 0 && near(first - 1))
        --first;
    while (end + 1 < way.points_.size() && near(end))
        ++end;
    Found best = found;
    for (std::size_t i = first; i < end;) {
        if (!way.points_[i + 1].still) {
            ++i;
            continue;
        }
        const double from = way.points_[i].seconds, along = way.points_[i].metres;
        double metres = infinite;
        for (; i < end && way.points_[i + 1].still; ++i)
            metres = std::min(metres, nearestIn(way, i).metres);
        const double at = std::clamp(now_, from, way.points_[i].seconds);
        if (metres > found.metres + atItsPlace)
            continue;
        best.metres = std::min(best.metres, metres);
        if (std::fabs(now_ - at) < std::fabs(now_ - best.seconds)) {
            best.seconds = at;
            best.along = along;
        }
    }
    found = best;
}

std::optional<OnWay> WayFollower::follow(const Way& way, LatLon at, double seconds) {
    if (way.points_.size() < 2)
        return std::nullopt;
    if (std::fabs(at.lat - lonFor_) > 0.01) {
        lonFor_ = at.lat;
        metresPerLon_ = metresPerDegree * std::cos(at.lat * degToRad);
    }
    moved_ =
        begun_ ? std::hypot((at.lat - at_.lat) * metresPerDegree, lonDifference(at_.lon, at.lon) * metresPerLon_) : 0.0;
    at_ = at;
    now_ = seconds;
    const auto& points = way.points_;
    // From where it was last, outwards; what is too far along the way cannot win, however near it lies.
    const double from = std::clamp(begun_ ? then_ : seconds, seconds - back, seconds + ahead);
    const auto after = std::ranges::upper_bound(points, from, {}, &Way::Point::seconds);
    const std::size_t last = points.size() - 2;
    const auto index = static_cast<std::size_t>(after - points.begin());
    const std::size_t start = std::min(index > 0 ? index - 1 : 0, last);
    Found best = nearestIn(way, start);
    for (std::size_t i = start + 1; i <= last && inReach(way, i); ++i) {
        if (begun_ && forwardCost * (points[i].metres - along_ - moved_ - slack) > best.cost)
            break;
        if (const Found there = nearestIn(way, i); there.cost < best.cost)
            best = there;
    }
    for (std::size_t i = start; i-- > 0 && inReach(way, i);) {
        if (begun_ && backwardCost * (along_ - points[i + 1].metres - slack) > best.cost)
            break;
        if (const Found there = nearestIn(way, i); there.cost < best.cost)
            best = there;
    }
    descend(way, best);
    preferStanding(way, best);
    begun_ = true;
    along_ = best.along;
    then_ = best.seconds;
    return OnWay{best.metres, seconds - best.seconds};
}

} // namespace kes::replay
