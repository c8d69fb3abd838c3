#include "tools/replay/true_path.h"

#include <algorithm>
#include <cmath>

namespace kes::replay {

namespace {
constexpr double metresPerDegree = 60.0 * metresPerNm;
constexpr double pointsPerSecond = 4.0;
constexpr double reach = 30.0; ///< seconds; no aircraft may be earlier or later
} // namespace

TruePath::TruePath(const ScenarioFlight& flight)
    : begin_(flight.begin), origin_(flight.truth(flight.begin).at),
      metresPerLon_(metresPerDegree * std::cos(origin_.lat * degToRad)) {
    const Truth last = flight.truth(flight.end);
    for (double t = flight.begin; t <= flight.end + reach; t += 1.0 / pointsPerSecond) {
        LatLon at = flight.truth(t).at;
        if (t > flight.end) // it would have flown on
            at = destination(last.at, last.track, last.gs / 3600.0 * (t - flight.end) * feetPerNm);
        points_.push_back(
            {(at.lat - origin_.lat) * metresPerDegree, lonDifference(origin_.lon, at.lon) * metresPerLon_});
    }
}

double TruePath::metresOff(LatLon at, double seconds) const {
    const double north = (at.lat - origin_.lat) * metresPerDegree;
    const double east = lonDifference(origin_.lon, at.lon) * metresPerLon_;
    const auto place = [&](double t) {
        const double i = std::clamp((t - begin_) * pointsPerSecond, 0.0, static_cast<double>(points_.size() - 1));
        return static_cast<std::size_t>(i);
    };
    const std::size_t first = place(seconds - reach), last = place(seconds + reach);
    double best = std::hypot(north - points_[first].north, east - points_[first].east);
    for (std::size_t i = first; i < last; ++i) {
        const Point &a = points_[i], &b = points_[i + 1];
        const double n = b.north - a.north, e = b.east - a.east, square = n * n + e * e;
        if (square == 0.0)
            continue;
        const double part = std::clamp(((north - a.north) * n + (east - a.east) * e) / square, 0.0, 1.0);
        best = std::min(best, std::hypot(north - a.north - part * n, east - a.east - part * e));
    }
    return best;
}

} // namespace kes::replay
