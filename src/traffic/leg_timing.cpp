// SPDX-License-Identifier: MIT
#include "traffic/leg_timing.h"

#include "traffic/ground_curve.h"

#include <algorithm>
#include <cmath>

namespace kes {

namespace {

constexpr std::int32_t normalWindow = 1000;        ///< ticks
constexpr std::int32_t wideWindow = 3000;          ///< ticks
constexpr std::int32_t wideWindowDeparting = 5000; ///< ticks
constexpr double fullCorner = 90.0;                ///< degrees
constexpr std::int32_t cornerWindow = 2000;        ///< ticks

double legSpeed(const PositionSample& from, const PositionSample& to, double distance) {
    if (from.gs == 0.0 && to.gs == 0.0)
        return std::max(distance * ticksPerHour / std::max(to.tick - from.tick, shortestLegTicks), 1.0);
    return (from.gs + to.gs) / 2.0;
}

void timeStop(LiveAircraft& a, const Motion& m) {
    const PositionSample& from = a.stream[0];
    const std::int32_t now = m.in.tick;
    const std::int32_t length = std::max(a.stream[1].tick - from.tick, shortestLegTicks);
    planArrival(a, a.stream[1], std::max(shortestLegTicks, from.tick - now + length), m);
}

/// The turn rate from the leg's ticks in proportion to those counted for the turn, 57 % of what the base rate takes. A
/// bend turns the slower the longer its leg, and so runs on into the next one; the more it exceeds 10 degrees or 30
/// metres, the sooner it is round. A sharp turn goes the other way about: faster on a long leg, up to three times the
/// base rate, and slower still on one that is too short for it.
void fitTurnRate(LiveAircraft& a, std::int32_t travel, double distance) {
    const double turn = a.turning ? a.legTurn : a.curveAngle;
    if (turn == 0.0 || distance <= 0.0)
        return;
    const double turnTicks = std::max(std::round(turn / a.turnRate / 100.0), 1.0);
    const double ratio = travel / turnTicks;
    if (turn > sharpTurn) {
        a.turnRate *= std::min(ratio, std::min(turn, fullCorner) / 30.0);
        if (turn >= fullCorner) {
            a.earlyTicks = std::max(a.earlyTicks, cornerWindow);
            a.lateTicks = std::max(a.lateTicks, cornerWindow);
        }
        return;
    }
    double divisor = ratio;
    if (ratio >= 1.2)
        divisor = std::min({ratio, ratio * 10.0 / turn, ratio * 30.0 / metresPerNm / distance});
    if (divisor != 0.0)
        a.turnRate /= divisor;
}

} // namespace

std::int32_t ticksAt(double distance, double knots) {
    const double ticks = std::round(distance * ticksPerHour / knots);
    return ticks > shortestLegTicks ? static_cast<std::int32_t>(std::min(ticks, 1e8)) : shortestLegTicks;
}

std::int32_t ticksToGo(const PositionSample& to, const Motion& m) {
    return std::max(to.tick - m.in.tick, shortestLegTicks);
}

void aimAt(LiveAircraft& aircraft, const PositionSample& to, std::int32_t ticks) {
    aircraft.latStep = (to.lat - aircraft.lat) / ticks;
    aircraft.lonStep = lonDifference(aircraft.lon, to.lon) / ticks;
}

void shrinkWindow(LiveAircraft& aircraft) {
    for (std::int32_t* ticks : {&aircraft.earlyTicks, &aircraft.lateTicks}) {
        if (*ticks > normalWindow)
            *ticks = std::max(*ticks - 100, normalWindow);
    }
}

std::int32_t travelTicks(const PositionSample& from, const PositionSample& to) {
    const double distance = distanceNm(from.position(), to.position());
    return ticksAt(distance, legSpeed(from, to, distance));
}

void planArrival(const LiveAircraft& aircraft, PositionSample& to, std::int32_t ticks, const Motion& m) {
    const std::int32_t now = m.in.tick;
    std::int32_t arrival = now + ticks;
    if (aircraft.extrapCount < 1) {
        if (arrival > to.tick + aircraft.lateTicks)
            arrival = to.tick + aircraft.lateTicks;
        else
            arrival = std::max(arrival, to.tick - aircraft.earlyTicks);
    }
    to.tick = std::max(arrival, now);
}

void widenWindow(LiveAircraft& aircraft) {
    aircraft.lateTicks = aircraft.departing ? wideWindowDeparting : wideWindow;
    aircraft.earlyTicks = wideWindow;
}

void endExtrapolation(LiveAircraft& aircraft) {
    aircraft.extrapCount = 0;
    widenWindow(aircraft);
}

void setLegTiming(LiveAircraft& aircraft, const Motion& m) {
    const PositionSample& from = aircraft.stream[0];
    PositionSample& to = aircraft.stream[1];
    if (to.stopped) {
        timeStop(aircraft, m);
        return;
    }
    aircraft.turnRate = aircraft.turnRateBase;
    const std::int32_t travel = travelTicks(from, to);
    if (aircraft.turning || curveRuns(aircraft))
        fitTurnRate(aircraft, travel, distanceNm(from.position(), to.position()));
    planArrival(aircraft, to, travel, m);
}

} // namespace kes
