// SPDX-License-Identifier: MIT
#include "traffic/ground_motion.h"

#include "core/log.h"
#include "core/parameters.h"
#include "traffic/controls.h"
#include "traffic/departure.h"
#include "traffic/ground_curve.h"
#include "traffic/leg_timing.h"
#include "traffic/parking.h"
#include "traffic/push_back.h"

#include <algorithm>
#include <cmath>
#include <fmt/format.h>

namespace kes {

namespace {

constexpr double straight = 3.0; ///< degrees; up to this much is no turn
constexpr double uTurn = 160.0;  ///< degrees; a larger one has no curve
constexpr double longLeg = 50.0 / metresPerNm;
constexpr std::int32_t longLegTicks = 600;
constexpr double speedChange = 5.0; ///< knots
constexpr double speedChangeLeg = 100.0 / metresPerNm;
constexpr double crawling = 5.0; ///< knots
constexpr double stopNear = 35.0 / metresPerNm;
constexpr double runwayTurn = 15.0;   ///< degrees; who has turned this far has left the runway
constexpr double rollOutSpeed = 90.0; ///< knots
constexpr double levelOff = 256.0;    ///< feet per minute; up to this much is no climb
constexpr double leastRise = 0.1;     ///< feet

/// Knots; in the order of AircraftCategory.
constexpr std::array<double, 6> liftOffSpeed{90, 110, 140, 150, 220, 0};

/// A speed that changes much over a long leg changes in two steps.
void changeSpeedInSteps(LiveAircraft& a) {
    const PositionSample& s0 = a.stream[0];
    const PositionSample& s1 = a.stream[1];
    if ((s0.gs > 0.0 || s1.gs > 0.0) && std::fabs(s0.gs - s1.gs) > speedChange &&
        distanceNm(s0.position(), s1.position()) >= speedChangeLeg)
        insertMidpoint(a);
}

void planCorner(LiveAircraft& a) {
    const PositionSample& s0 = a.stream[0];
    const PositionSample& s1 = a.stream[1];
    const PositionSample& s2 = a.stream[2];
    const double turn = degreesBetween(a.heading, bearingRad(s1.position(), s2.position()));
    if (turn > sharpTurn && s0.gs <= takeOffSpeed && s1.tick - s0.tick >= longLegTicks &&
        distanceNm(s0.position(), s1.position()) > longLeg)
        insertMidpoint(a); // the curve begins nearer to the corner
    else if (turn > straight && turn <= uTurn && (s0.lat != s2.lat || s0.lon != s2.lon))
        setUpCurve(a, turn);
    else
        changeSpeedInSteps(a);
}

void planMovingLeg(LiveAircraft& a) {
    if (a.sz() > 2 && !a.stream[2].stopped)
        planCorner(a);
    else if (a.sz() > 2 || a.extrapCount < 1)
        changeSpeedInSteps(a);
    if (curveRuns(a)) {
        a.turning = false;
        return;
    }
    a.legTurn = degreesBetween(a.heading, a.targetHeading);
    a.turning = a.legTurn > straight;
}

/// The data end in a standstill: that may be at a stand.
void lookForStand(LiveAircraft& a) {
    const PositionSample& back = a.stream.back();
    if (!back.stopped || a.fs != FlightState::taxi || !airportDataReady())
        return;
    const bool cameFromStand = a.fsPrevious == FlightState::parked || a.fsPrevious < FlightState::taxi;
    if (!a.towed && cameFromStand)
        return;
    if (a.extrapCount > 0)
        try2Park(a, a.landedSearch);
    else if (a.stream[1].gs <= crawling && distanceNm(back.position(), a.position()) <= stopNear)
        try2Park(a, false);
}

void planDeparture(LiveAircraft& a, const Motion& m) {
    widenWindow(a);
    if (!a.pullOutDue)
        return;
    const double exit = bearingRad({a.standLat, a.standLon}, a.stream.back().position());
    if (std::round(degreesBetween(a.standHeading, exit)) < 90.0)
        pullOut(a, m);
    else
        pushBack(a, m);
}

void rollOut(LiveAircraft& a, const Motion& m) {
    if (degreesBetween(a.touchdownHeading, a.heading) < runwayTurn) {
        if (a.stream[0].gs <= rollOutSpeed) {
            setSpoilers(a, 0, m);
            setRollOutControls(a, 0.0, 0.0, m);
            setFlapsLevel(a, 1, m);
        }
        return;
    }
    setFlapsLevel(a, 0, m);
    a.landingRoll = false;
    a.touchdownHeading = 0.0;
    setEngineLevel(a, 0, m);
    setSpoilers(a, 0, m);
    setRollOutControls(a, 0.0, 0.0, m);
    sendLights(a.objectid, {.taxi = true, .logo = true, .cabin = true}, m);
}

void setGroundThrottle(LiveAircraft& a, const Motion& m) {
    if (a.landingRoll) {
        rollOut(a, m);
    } else if (!a.departing) {
        setEngineLevel(a, 0, m);
    } else if (a.category == AircraftCategory::rotorcraft) {
        setThrottleLevel(a, 4, m);
    } else {
        const double from = a.stream[0].gs, to = a.stream[1].gs;
        setThrottleLevel(a,
                         from >= 25.0 || to >= 30.0   ? 4
                         : from >= 20.0 || to >= 25.0 ? 2
                         : from >= 15.0 || to >= 20.0 ? 1
                                                      : 0,
                         m);
    }
}

/// The samples ahead tell whether the aircraft lifts off on this leg.
void lookForLiftOff(LiveAircraft& a, const Motion& m) {
    bool airborne = true, fast = true, level = false;
    for (std::size_t i = 1; i < a.sz(); ++i) {
        const PositionSample& s = a.stream[i];
        airborne = airborne && s.airborne;
        fast = fast && s.gs >= liftOffSpeed[static_cast<std::size_t>(a.category)];
        level = level || s.vs <= levelOff;
    }
    if (level && !(airborne && fast))
        return;
    const PositionSample& next = a.stream[1];
    a.altStep = !level && airborne ? std::max(next.alt - a.alt, leastRise) / ticksToGo(next, m) : a.climbStepMax;
    beginRotation(a, m);
}

} // namespace

void nextPosGround(LiveAircraft& aircraft, const Motion& m) {
    switch (aircraft.fs) {
    case FlightState::pushing_back:
        continuePushBack(aircraft, m);
        break;
    case FlightState::pushed_back:
        break;
    case FlightState::parked:
        planDeparture(aircraft, m);
        break;
    default:
        if (!aircraft.stream[1].stopped)
            planMovingLeg(aircraft);
        lookForStand(aircraft);
    }
    if (aircraft.sz() > 1)
        setLegTiming(aircraft, m);
}

void setupGroundLeg(LiveAircraft& aircraft, const Motion& m) {
    // An aircraft whose livery was to be chosen anew, but stayed, is still in birth.
    if (aircraft.fs == FlightState::parked || aircraft.fs == FlightState::flying || aircraft.fs == FlightState::birth)
        setFlightState(aircraft, FlightState::taxi);
    else
        setGroundThrottle(aircraft, m);
    if (!aircraft.landingRoll && !aircraft.departing)
        shrinkWindow(aircraft);
    if (aircraft.flareStage == 0 && aircraft.fs != FlightState::take_off) {
        aircraft.pitch = aircraft.staticPitch;
        aircraft.bank = aircraft.pitchStep = aircraft.bankStep = 0.0;
    }
    const PositionSample& next = aircraft.stream[1];
    if (curveRuns(aircraft))
        aircraft.curveStep = 1.0 / ticksToGo(next, m);
    aircraft.tasLeg = aircraft.fs == FlightState::pushing_back ? -next.gs : next.gs;
    if (aircraft.departing && aircraft.fs != FlightState::take_off && aircraft.stream[0].gs >= takeOffSpeed)
        lookForLiftOff(aircraft, m);
}

} // namespace kes
