// SPDX-License-Identifier: MIT
#include "traffic/stream.h"

#include "core/run_state.h"
#include "feed/report_queue.h"
#include "reference/identity.h"
#include "reference/reference.h"
#include "traffic/absence.h"
#include "traffic/filters.h"
#include "traffic/flight_phases.h"
#include "traffic/identity.h"
#include "traffic/live_table.h"
#include "traffic/motion.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

namespace kes {

namespace {

constexpr std::size_t reportsPerTick = 2;
constexpr std::size_t liveReserve = 512;
constexpr std::int32_t knownPeriodTicks = 100;

/// Two readings of which one is wrong: a speed does not grow or shrink tenfold between reports.
bool speedsContradict(double last, double next) {
    if ((last > 5.0 && next >= 10.0 * last) || (next > 5.0 && last >= 10.0 * next))
        return true;
    return (last <= 5.0 && next >= 80.0) || (next <= 5.0 && last >= 80.0);
}

double trackDifference(double a, double b) {
    const double d = std::fabs(std::fmod(a - b, 360.0));
    return d > 180.0 ? 360.0 - d : d;
}

double secondsFor(double metres, double knots) {
    return metres / metresPerNm / knots * 3600.0;
}

/// A straight run needs no more samples than the eye can tell apart.
bool tooDense(const PositionSample& last, const PositionSample& next, double seconds) {
    const double turn = trackDifference(next.track, last.track);
    if (next.airborne)
        return next.gs > 120.0 && turn <= 1.0 && seconds <= secondsFor(450.0, next.gs);
    if (next.gs > 30.0 || turn > 2.0)
        return false;
    const double limit = next.gs > 0.0 ? std::min(secondsFor(20.0, next.gs), 15.0) : 15.0;
    return seconds <= limit;
}

bool thinnedOut(const LiveAircraft& aircraft, const AircraftReport& report) {
    const PositionSample& last = aircraft.stream.back();
    const double seconds = report.timestamp - aircraft.lastReportTime;
    if (!(seconds > 1.0))
        return true;
    if (speedsContradict(last.gs, report.sample.gs))
        return true;
    return aircraft.extrapCount < 1 && tooDense(last, report.sample, seconds);
}

void takeOwnReport(LiveAircraft& aircraft, const AircraftReport& report, const Motion& m) {
    if (aircraft.st == AircraftStatus::liveryrespawn || aircraft.st == AircraftStatus::removingfromsim)
        return;
    if (!aircraft.stream.empty() && thinnedOut(aircraft, report))
        return;
    if (aircraft.st == AircraftStatus::buffer && nearReferenceElevation(report.sample.alt))
        return;
    if (!checkIdentity(aircraft, report))
        return;
    aircraft.lastReportTime = report.timestamp;
    aircraft.reportedCallsign = report.callsign;
    decodeExisting(aircraft, report.sample, m);
}

/// An aircraft that is known under another address already: some carry two transponders.
bool isDuplicateAddress(const AircraftReport& report) {
    return !report.callsign.empty() && std::ranges::any_of(liveAircraft, [&](const LiveAircraft& a) {
        return a.callsign == report.callsign && a.model == report.model;
    });
}

void create(const AircraftReport& report) {
    if (liveAircraft.capacity() < liveReserve)
        liveAircraft.reserve(liveReserve);
    LiveAircraft& a = liveAircraft.emplace_back();
    static_cast<AircraftIdentity&>(a) = report;
    a.coupledCs1 = a.callsign;
    a.coupledCs2.clear();
    a.coupledSearched = false;
    a.hexid = report.hexid;
    applyModel(a);
    a.curve.fill(std::numeric_limits<double>::quiet_NaN());
    a.lastReportTime = report.timestamp;
    a.stream.push_back(report.sample);
}

/// Tells the queue once a second whose reports go first.
void tellWhoIsKnown() {
    // Between the beats of the tick's other jobs.
    if (tickCount.load(std::memory_order_relaxed) % knownPeriodTicks != knownPeriodTicks / 2)
        return;
    static KnownAircraft known;
    known.shown.clear();
    known.expected.clear();
    for (const LiveAircraft& a : liveAircraft)
        (a.st == AircraftStatus::buffer ? known.expected : known.shown).add(a.hexid);
    known.shown.sort();
    known.expected.sort();
    reportQueue.setKnown(known);
}

} // namespace

void takeReports() {
    tellWhoIsKnown();
    static std::array<AircraftReport, reportsPerTick> taken;
    const std::size_t count = reportQueue.take(taken);
    for (std::size_t i = 0; i < count; ++i)
        findOrCreate(taken[i]);
}

void findOrCreate(AircraftReport& report) {
    if (LiveAircraft* known = findLive(report.hexid)) {
        takeOwnReport(*known, report, motionNow());
        return;
    }
    if (isDuplicateAddress(report))
        return;
    const std::string reported = report.model;
    if (!takeKnownModel(report)) {
        report.model = reported;
        tellNotShown(report.hexid, report, NotShown::unknownType);
        return;
    }
    if (!passesCategorySwitch(report.model, report.sample.alt)) {
        const bool off = !categorySwitchedOn(categoryOf(report.model));
        tellNotShown(report.hexid, report, off ? NotShown::switchedOff : NotShown::doubtfulHeight);
        return;
    }
    create(report);
}

} // namespace kes
