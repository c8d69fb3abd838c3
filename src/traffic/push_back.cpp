// SPDX-License-Identifier: MIT
#include "traffic/push_back.h"

#include "airports/stands.h"
#include "core/log.h"
#include "core/parameters.h"
#include "traffic/controls.h"
#include "traffic/ground_curve.h"
#include "traffic/leg_timing.h"
#include "traffic/parking.h"

#include <cmath>
#include <fmt/format.h>

namespace kes {

namespace {

constexpr double pullOutSpans = 2.0; ///< of the half span
constexpr double pushBackRadii = 2.5;
constexpr double quarterTurn = 90.0; ///< degrees
constexpr double farAway = 900.0;    ///< nautical miles

std::int32_t ticksFor(const LiveAircraft& a, double distance) {
    return static_cast<std::int32_t>(std::lround(distance / a.taxiSpeed * ticksPerHour));
}

/// A sample `distance` nautical miles from `from`, `ticks` from now.
PositionSample sampleAt(const LiveAircraft& a, LatLon from, double direction, double distance, std::int32_t ticks,
                        const Motion& m) {
    PositionSample s = a.stream.front();
    const LatLon at = destination(from, direction, distance * feetPerNm);
    s.lat = at.lat;
    s.lon = at.lon;
    s.gs = a.taxiSpeed;
    s.tick = m.in.tick + ticks;
    s.stopped = false;
    return s;
}

void startEngines(LiveAircraft& a, const Motion& m) {
    if (a.objectid != 0) // which is the user's own aircraft
        m.out.event(a.objectid, event::engineStart, 0);
    setThrottleLevel(a, 0, m);
    setFlapsLevel(a, 1, m);
}

void leaveStandLights(LiveAircraft& a, const Motion& m) {
    sendLights(a.objectid, {.taxi = true, .logo = true}, m);
}

} // namespace

void pullOut(LiveAircraft& a, const Motion& m) {
    a.pullOutDue = false;
    a.extrapCount = 0;
    const double distance = a.wingspan * pullOutSpans;
    const PositionSample ahead =
        sampleAt(a, {a.standLat, a.standLon}, a.standHeading, distance, ticksFor(a, distance), m);
    a.stream.resize(1);
    a.stream.front().gs = a.taxiSpeed;
    a.stream.push_back(ahead);
    setFlightState(a, FlightState::taxi);
    a.targetHeading = a.heading;
    leaveStandLights(a, m);
    startEngines(a, m);
    if (par::LOG)
        log(fmt::format("{:8}: {:8} pulling out", standName(a.sid), a.callsign));
}

void pushBack(LiveAircraft& a, const Motion& m) {
    a.extrapCount = 0;
    const double back = a.standHeading + pi;
    const Stand* stand = findStand(a.sid);
    if (stand == nullptr)
        return;
    const double distance = stand->radius * pushBackRadii;
    const std::int32_t ticks = ticksFor(a, distance);
    const PositionSample behind = sampleAt(a, a.position(), back, distance, ticks, m);
    a.targetHeading = a.heading;
    a.turning = false; // a turn of the way in
    a.stream.resize(1);
    a.stream.front().gs = a.taxiSpeed;
    a.stream.push_back(behind);
    insertMidpoint(a);
    const LatLon middle = a.stream[1].position();
    const auto aside = [&](double direction) {
        PositionSample s = sampleAt(a, behind.position(), direction, a.wingspan, 0, m);
        s.tick += ticks / 2 + ticksFor(a, distanceNm(middle, s.position()));
        return s;
    };
    a.pushbackTail = aside(back + pi / 2.0);
    a.stream.push_back(aside(back - pi / 2.0));
    leaveStandLights(a, m);
    setFlightState(a, FlightState::pushing_back);
    a.pushbackStep = 2;
}

void continuePushBack(LiveAircraft& a, const Motion& m) {
    --a.pushbackStep;
    if (a.pushbackStep == 1) {
        if (!a.pushbackTurnRight) {
            if (a.sz() > 2)
                a.stream.pop_back(); // the push ends straight
        } else {
            if (*a.pushbackTurnRight)
                a.stream.back() = a.pushbackTail;
            a.curveStep = 1.0 / std::max(std::round(quarterTurn / a.turnRate / 100.0), 1.0);
            setUpCurve(a, quarterTurn);
        }
    } else if (a.pushbackStep < 1) {
        a.targetHeading = a.heading;
        startEngines(a, m);
        setFlightState(a, FlightState::pushed_back);
        a.pushbackStep = 1;
        a.lastAwayDist = farAway;
        a.extrapCount = 0;
        a.pullOutDue = false;
    }
}

} // namespace kes
