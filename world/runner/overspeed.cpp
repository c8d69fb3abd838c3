// SPDX-License-Identifier: MIT
#include "world/runner/overspeed.h"

#include "world/speed_slices.h"

#include <algorithm>
#include <charconv>
#include <map>
#include <nlohmann/json.hpp>

namespace kes::runner {

namespace {

constexpr double slowest = 20; // knots; below, a speed reported is mostly noise
constexpr double dash = 1.5;
// What is shown now was reported 30 s ago, and up to a minute and a half when the flight is late or reports seldom.
constexpr std::int64_t reportedFrom = -9, reportedTo = -1; // slices

using Slices = std::map<std::int64_t, double>;

Slices slicesOf(const nlohmann::json& flight) {
    Slices slices;
    if (!flight.is_object())
        return slices;
    for (const auto& [key, knots] : flight.items()) {
        std::int64_t slice = 0;
        const auto [end, error] = std::from_chars(key.data(), key.data() + key.size(), slice);
        if (error == std::errc{} && end == key.data() + key.size() && knots.is_number())
            slices[slice] = knots.get<double>();
    }
    return slices;
}

/// The highest speed reported in the time that a slice shows, or the last before that; 0 = none.
double reportedFor(const Slices& reported, std::int64_t slice) {
    double highest = 0;
    auto at = reported.upper_bound(slice + reportedTo);
    while (at != reported.begin()) {
        --at;
        if (at->first < slice + reportedFrom && highest > 0)
            break;
        highest = std::max(highest, at->second);
    }
    return highest;
}

} // namespace

nlohmann::json overspeed(const nlohmann::json& reported, const nlohmann::json& shown) {
    double largest = 0;
    std::string worst;
    std::size_t dashing = 0, compared = 0;
    for (const auto& [callsign, flight] : shown.items()) {
        if (!reported.is_object() || !reported.contains(callsign))
            continue;
        const Slices known = slicesOf(reported[callsign]);
        double own = 0;
        for (const auto& [slice, knots] : slicesOf(flight)) {
            own = std::max(own, knots / std::max(reportedFor(known, slice), slowest));
        }
        ++compared;
        dashing += own > dash ? 1 : 0;
        if (own > largest) {
            largest = own;
            worst = callsign;
        }
    }
    return {{"largest", largest}, {"callsign", worst}, {"objectsAbove1.5", dashing}, {"objectsCompared", compared}};
}

} // namespace kes::runner
