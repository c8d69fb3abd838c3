#include "traffic/air_motion.h"

#include "airports/airport_ref.h"
#include "core/run_state.h"
#include "feed/qnh_reader.h"
#include "traffic/ground_motion.h"
#include "traffic/life_cycle.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace kes {

namespace {

constexpr std::int32_t normalWindow = 1000; ///< ticks
constexpr double standardQnh = 1013.0;      ///< hectopascal
constexpr double ticksPerMinute = 6000.0;
constexpr double headingTolerance = 0.5 * degToRad;

struct AttitudeLimits {
    double pitchStep, bankStep; ///< radians per tick
};
// In the order of AircraftCategory.
constexpr std::array<AttitudeLimits, 6> attitudeLimits{{{0.01 * degToRad, 0.035 * degToRad},
                                                        {0.0085 * degToRad, 0.0275 * degToRad},
                                                        {0.0075 * degToRad, 0.02 * degToRad},
                                                        {0.005 * degToRad, 0.015 * degToRad},
                                                        {0.03 * degToRad, 0.1 * degToRad},
                                                        {0.03 * degToRad, 0.06 * degToRad}}};

const AttitudeLimits& limitsOf(const LiveAircraft& a) {
    return attitudeLimits[static_cast<std::size_t>(a.category)];
}

double pitchFor(double vs) {
    const double limited = vs > 0.0 ? std::min(vs, 2400.0) : std::max(vs, -3000.0) / 2.0;
    return (-3.0 - limited / 600.0 * 2.2) * degToRad;
}

/// Feet per minute, for a landing whose data no longer tell a height.
double descentRate(const LiveAircraft& a, const PositionSample& from, const PositionSample& to) {
    if (a.agl <= 100.0)
        return -600.0;
    return std::min((from.vs + to.vs) / 2.0 - (currentQnh - standardQnh) * 6.0, -601.0);
}

void descendAt(LiveAircraft& a, PositionSample& next, double vs) {
    next.vs = vs;
    a.vsFpm = vs;
    a.altStep = vs / ticksPerMinute;
}

void planAltitude(LiveAircraft& a, const PositionSample& from, PositionSample& next, std::int32_t ticks) {
    if (next.airborne) {
        a.altStep = (next.alt - a.alt) / ticks;
        if (!from.airborne) // the data may start below the runway
            a.altStep = std::clamp(a.altStep, 0.0, a.climbStepMax);
        return;
    }
    if (!from.airborne) {
        descendAt(a, next, descentRate(a, from, next));
    } else if (airportRef && currentQnh <= standardQnh) {
        a.altStep = (airportRef->elevation - a.alt) / ticks;
    } else {
        descendAt(a, next, currentQnh <= standardQnh ? -601.0 : descentRate(a, from, next));
    }
}

void turnToTarget(LiveAircraft& a) {
    const double turn = angleDiff(a.heading, a.targetHeading);
    if (std::fabs(turn) > headingTolerance)
        a.heading += std::clamp(turn, -a.turnRate, a.turnRate);
}

bool turnsByStep(FlightState fs) {
    return fs == FlightState::flying || fs == FlightState::take_off || fs == FlightState::parked ||
           fs == FlightState::birth;
}

} // namespace

double initialPitch(const PositionSample& sample) {
    return pitchFor(sample.vs);
}

std::int32_t ticksToGo(const PositionSample& to) {
    return std::max(to.tick - tickCount.load(), shortestLegTicks);
}

void shrinkWindow(LiveAircraft& aircraft) {
    for (std::int32_t* ticks : {&aircraft.earlyTicks, &aircraft.lateTicks}) {
        if (*ticks > normalWindow)
            *ticks = std::max(*ticks - 100, normalWindow);
    }
}

std::int32_t travelTicks(const PositionSample& from, const PositionSample& to) {
    const double distance = distanceNm({from.lat, from.lon}, {to.lat, to.lon});
    double knots = (from.gs + to.gs) / 2.0;
    if (from.gs == 0.0 && to.gs == 0.0)
        knots = std::max(distance * 360000.0 / std::max(to.tick - from.tick, shortestLegTicks), 1.0);
    const double ticks = std::round(distance * 360000.0 / knots);
    return ticks > shortestLegTicks ? static_cast<std::int32_t>(std::min(ticks, 1e8)) : shortestLegTicks;
}

void planArrival(const LiveAircraft& aircraft, PositionSample& to, std::int32_t ticks) {
    const std::int32_t now = tickCount;
    std::int32_t arrival = now + ticks;
    if (aircraft.extrapCount < 1) {
        if (arrival > to.tick + aircraft.lateTicks)
            arrival = to.tick + aircraft.lateTicks;
        else
            arrival = std::max(arrival, to.tick - aircraft.earlyTicks);
    }
    to.tick = std::max(arrival, now);
}

void nextPosAir(LiveAircraft& aircraft) {
    const PositionSample& from = aircraft.stream[0];
    PositionSample& to = aircraft.stream[1];
    if (to.stopped) {
        if (aircraft.category == AircraftCategory::rotorcraft)
            setLegTiming(aircraft);
        return;
    }
    planArrival(aircraft, to, travelTicks(from, to));
}

void setupAirLeg(LiveAircraft& aircraft, PositionSample& next) {
    const std::int32_t ticks = ticksToGo(next);
    if (aircraft.fs != FlightState::take_off)
        setFlightState(aircraft, FlightState::flying);
    aircraft.tasLeg = next.tas;
    aircraft.vsFpm = next.vs;
    planAltitude(aircraft, aircraft.stream[0], next, ticks);
    const AttitudeLimits& limits = limitsOf(aircraft);
    aircraft.pitchStep = std::clamp((pitchFor(next.vs) - aircraft.pitch) / ticks, -limits.pitchStep, limits.pitchStep);
    aircraft.headingStep = angleDiff(aircraft.heading, bearingRad(aircraft.position(), {next.lat, next.lon})) / ticks;
    aircraft.bankStep = next.bankValid ? (next.bank - aircraft.bank) / ticks
                                       : std::clamp(-aircraft.bank / ticks, -limits.bankStep, limits.bankStep);
}

void advancePosition(LiveAircraft& aircraft) {
    if (turnsByStep(aircraft.fs))
        aircraft.heading += aircraft.headingStep;
    else if (aircraft.fs == FlightState::parking || aircraft.turning)
        turnToTarget(aircraft);
    if (aircraft.heading < 0.0)
        aircraft.heading += twoPi;
    else if (aircraft.heading >= twoPi)
        aircraft.heading -= twoPi;
    if (aircraft.fs == FlightState::pushed_back)
        return;
    aircraft.lat += aircraft.latStep;
    aircraft.lon += aircraft.lonStep;
    if (aircraft.onGround) {
        aircraft.pitch = aircraft.staticPitch;
        aircraft.bank = 0.0;
    } else {
        aircraft.pitch += aircraft.pitchStep;
        aircraft.bank += aircraft.bankStep;
        aircraft.alt += aircraft.altStep;
    }
    if (aircraft.lon > 180.0)
        aircraft.lon -= 360.0;
    else if (aircraft.lon < -180.0)
        aircraft.lon += 360.0;
}

void touchdown(LiveAircraft& aircraft) {
    if (aircraft.st == AircraftStatus::removingfromsim || aircraft.fs == FlightState::take_off)
        return;
    aircraft.onGround = true;
    aircraft.altStep = 0.0;
    aircraft.rotationCount = 1;
}

} // namespace kes
