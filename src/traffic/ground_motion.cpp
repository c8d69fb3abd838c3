#include "traffic/ground_motion.h"

#include "core/log.h"
#include "core/parameters.h"
#include "core/run_state.h"
#include "traffic/air_motion.h"
#include "traffic/life_cycle.h"

#include <algorithm>
#include <cmath>
#include <fmt/format.h>
#include <limits>

namespace kes {

namespace {

constexpr double straight = 3.0; ///< degrees; a smaller turn is not worth one

void timeStop(LiveAircraft& a) {
    const PositionSample& from = a.stream[0];
    const std::int32_t now = tickCount;
    const std::int32_t length = std::max(a.stream[1].tick - from.tick, shortestLegTicks);
    planArrival(a, a.stream[1], std::max(shortestLegTicks, from.tick - now + length));
}

/// A short leg turns faster and a long one slower, so that a turn neither lags the leg nor snaps round.
void fitTurnRate(LiveAircraft& a, std::int32_t travel, double distance) {
    const double turn = a.legTurn;
    if (turn == 0.0 || distance <= 0.0)
        return;
    const double turnTicks = std::max(std::round(turn / a.turnRate / 100.0), 1.0);
    const double ratio = travel / turnTicks;
    if (turn > 45.0) {
        a.turnRate *= std::min(ratio, std::min(turn, 90.0) / 30.0);
        if (turn >= 90.0) {
            a.earlyTicks = std::max(a.earlyTicks, 2000);
            a.lateTicks = std::max(a.lateTicks, 2000);
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

void clearCurve(LiveAircraft& aircraft) {
    aircraft.curve.fill(std::numeric_limits<double>::quiet_NaN());
    aircraft.curveT = 0.0;
}

void setLegTiming(LiveAircraft& aircraft) {
    const PositionSample& from = aircraft.stream[0];
    PositionSample& to = aircraft.stream[1];
    if (to.stopped) {
        timeStop(aircraft);
        return;
    }
    aircraft.turnRate = aircraft.turnRateBase;
    const std::int32_t travel = travelTicks(from, to);
    if (aircraft.turning)
        fitTurnRate(aircraft, travel, distanceNm({from.lat, from.lon}, {to.lat, to.lon}));
    planArrival(aircraft, to, travel);
}

void nextPosGround(LiveAircraft& aircraft) {
    const PositionSample& to = aircraft.stream[1];
    if (to.airborne && !to.stopped) {
        aircraft.onGround = false;
        aircraft.turning = false;
        setFlightState(aircraft, FlightState::flying);
        nextPosAir(aircraft);
        return;
    }
    if (!to.stopped) {
        aircraft.legTurn = std::fabs(angleDiff(aircraft.heading, aircraft.targetHeading)) * radToDeg;
        aircraft.turning = aircraft.legTurn > straight;
    }
    setLegTiming(aircraft);
}

void setupGroundLeg(LiveAircraft& aircraft, PositionSample& next) {
    // An aircraft whose livery was to be chosen anew, but stayed, is still in birth.
    if (aircraft.fs == FlightState::parked || aircraft.fs == FlightState::flying || aircraft.fs == FlightState::birth)
        setFlightState(aircraft, FlightState::taxi);
    if (!aircraft.landingRoll && !aircraft.departing)
        shrinkWindow(aircraft);
    aircraft.pitch = aircraft.staticPitch;
    aircraft.bank = 0.0;
    aircraft.pitchStep = 0.0;
    aircraft.bankStep = 0.0;
    aircraft.tasLeg = next.gs;
}

void applyGroundData(LiveAircraft& aircraft, bool simOnGround, double groundAltitude, double agl) {
    // The simulator tells the ground some ticks late: an aircraft that climbs has just left it.
    if (simOnGround && !aircraft.onGround && aircraft.rotationCount < 2 && aircraft.altStep <= 0.0)
        touchdown(aircraft);
    aircraft.agl = agl;
    if (aircraft.onGround || aircraft.rotationCount >= 2)
        aircraft.alt = aircraft.staticCg + groundAltitude;
}

void applyStaticData(LiveAircraft& aircraft, double staticCg, double staticPitch) {
    if (staticCg >= 1.0 && staticCg <= 35.0)
        aircraft.staticCg = staticCg;
    else if (par::LOG)
        log(fmt::format("{}: static CG {:.1F}ft wrong?", longLabel(aircraft), staticCg));
    const bool doubtful = staticPitch <= -1.0 * degToRad || staticPitch > 2.5 * degToRad;
    aircraft.staticPitch = doubtful ? 0.7 * degToRad : staticPitch;
}

} // namespace kes
