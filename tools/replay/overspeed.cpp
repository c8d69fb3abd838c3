// SPDX-License-Identifier: MIT
#include "tools/replay/overspeed.h"

#include "feed/report_queue.h"
#include "traffic/live_table.h"

#include <algorithm>
#include <fmt/format.h>

namespace kes::replay {

namespace {

constexpr std::int32_t span = 100; ///< ticks over which a speed is taken
/// An arrival may be 10 s early or late, and longer where it was widened; the speed of a leg is that of its ends.
constexpr std::int32_t around = 2000;
constexpr double slowest = 20.0; ///< knots; below, a speed reported is mostly noise

} // namespace

void Overspeed::report(std::uint32_t hexid, std::int32_t tick, double knots) {
    flights_[hexid].reports.push_back({tick, knots});
}

double Overspeed::reportedAround(Flight& flight, std::int32_t tick) {
    // One report before the time looked at stays, so that a gap in the feed has two ends.
    while (flight.reports.size() > 1 && flight.reports[1].tick < tick - around)
        flight.reports.pop_front();
    double highest = slowest;
    for (const Reported& r : flight.reports) {
        highest = std::max(highest, r.knots);
        if (r.tick > tick + around)
            break;
    }
    return highest;
}

void Overspeed::look(std::uint32_t hexid, std::int32_t tick, LatLon at) {
    Flight& flight = flights_[hexid];
    const bool goesOn = flight.lastTick == tick - 1;
    flight.lastTick = tick;
    if (goesOn && tick - flight.atTick < span)
        return;
    if (goesOn) {
        const double knots = distanceNm(flight.at, at) * ticksPerHour / (tick - flight.atTick);
        const double ratio = knots / reportedAround(flight, tick);
        if (ratio > worst_.ratio)
            worst_ = {ratio, knots, hexid, tick};
        if (ratio > overspeedLimit && !flight.dashed) {
            flight.dashed = true;
            ++dashing_;
        }
    }
    flight.at = at;
    flight.atTick = tick;
}

void Overspeed::takeNewestReport(std::int32_t base) {
    AircraftReport newest;
    if (reportQueue.copyNewest(newest))
        report(newest.hexid, newest.sample.tick - base, newest.sample.gs);
}

void Overspeed::lookAtAll(std::int32_t tick) {
    for (const LiveAircraft& a : liveAircraft) {
        if (a.st == AircraftStatus::active && a.objectid != 0)
            look(a.hexid, tick, a.position());
    }
}

std::string overspeedText(const Overspeed& overspeed) {
    const Overspeed::Worst& w = overspeed.worst();
    return fmt::format("speed above the reported one: at most {:.2f} times ({:06X} with {:.0f} kn at {:.0f} s), {} "
                       "objects above {} times\n",
                       w.ratio, w.hexid, w.knots, secondsOf(w.tick), overspeed.dashing(), overspeedLimit);
}

} // namespace kes::replay
