// SPDX-License-Identifier: MIT
#include "traffic/tick_check.h"

#include "core/log.h"
#include "traffic/live_table.h"

#include <algorithm>
#include <cmath>
#include <fmt/format.h>
#include <vector>

namespace kes {

namespace {

std::vector<std::string> reportedKinds;
std::vector<std::uint32_t> scratch; ///< keeps its capacity: the check runs a hundred times a second

/// The first number that stands twice in `scratch`, or 0.
std::uint32_t firstTwice() {
    std::ranges::sort(scratch);
    const auto it = std::ranges::adjacent_find(scratch);
    return it == scratch.end() ? 0 : *it;
}

bool poseIsNumber(const LiveAircraft& a) {
    const double sum = a.lat + a.lon + a.pitch + a.bank + a.heading + a.alt + a.vsOut + a.tasOut;
    return std::isfinite(sum);
}

/// The front sample's tick is the planned arrival of the leg being flown, which may be late.
bool ticksRise(const LiveAircraft& a) {
    for (std::size_t i = 2; i < a.sz(); ++i) {
        if (a.stream[i].tick <= a.stream[i - 1].tick)
            return false;
    }
    return true;
}

std::string told(std::string_view kind, const LiveAircraft& a) {
    return fmt::format("{}: {}", kind, longLabel(a));
}

} // namespace

std::string checkLiveTables() {
    scratch.clear();
    for (const LiveAircraft& a : liveAircraft)
        scratch.push_back(a.hexid);
    if (const std::uint32_t hexid = firstTwice(); hexid != 0)
        return fmt::format("hexid twice: {}", hexid);
    scratch.clear();
    for (const LiveAircraft& a : liveAircraft) {
        if (a.st == AircraftStatus::active && a.objectid != 0)
            scratch.push_back(a.objectid);
    }
    if (const std::uint32_t objectid = firstTwice(); objectid != 0)
        return fmt::format("objectid twice: {}", objectid);
    for (const LiveAircraft& a : liveAircraft) {
        if (!poseIsNumber(a))
            return told("not a number", a);
        if (a.heading < 0.0 || a.heading > twoPi)
            return told("heading out of range", a);
        if (std::fabs(a.lon) > 180.0)
            return told("longitude out of range", a);
        if (!ticksRise(a))
            return told("ticks of a stream do not rise", a);
    }
    return {};
}

void reportTickCheck() {
    const std::string violation = checkLiveTables();
    if (violation.empty())
        return;
    std::string kind = violation.substr(0, violation.find(':'));
    if (std::ranges::find(reportedKinds, kind) != reportedKinds.end())
        return;
    reportedKinds.push_back(std::move(kind));
    log(fmt::format("! tick check: {}", violation));
}

void resetTickCheck() {
    reportedKinds.clear();
}

} // namespace kes
