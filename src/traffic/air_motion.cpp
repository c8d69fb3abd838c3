// SPDX-License-Identifier: MIT
#include "traffic/air_motion.h"

#include "traffic/air_setup.h"
#include "traffic/controls.h"
#include "traffic/leg_timing.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace kes {

namespace {

constexpr double feetPerMinutePerHectopascal = 6.0;
constexpr double landingSpeed = 100.0; ///< knots, where the data tell none
constexpr double lowAgl = 1000.0;      ///< feet
constexpr double lowAglFinal = 2000.0; ///< feet
constexpr double leastClimb = 0.2;     ///< feet per tick near the ground
constexpr double meansToClimb = 100.0; ///< feet per minute, summed over samples
constexpr std::size_t climbSearch = 10;
constexpr double leastRate = 601.0; ///< feet per minute

/// Degrees turned into radians: steps per tick, and the bank.
struct AttitudeLimits {
    double pitchStep, bankStep, bank;
};
constexpr AttitudeLimits limits(double pitchStep, double bankStep, double bank) {
    return {pitchStep * degToRad, bankStep * degToRad, bank * degToRad};
}
// In the order of AircraftCategory.
constexpr std::array<AttitudeLimits, 6> attitudeLimits{limits(0.01, 0.035, 40),  limits(0.0085, 0.0275, 35),
                                                       limits(0.0075, 0.02, 30), limits(0.005, 0.015, 20),
                                                       limits(0.03, 0.1, 90),    limits(0.03, 0.06, 75)};

const AttitudeLimits& limitsOf(const LiveAircraft& a) {
    return attitudeLimits[static_cast<std::size_t>(a.category)];
}

double within(double value, double limit) {
    return std::clamp(value, -limit, limit);
}

/// Radians: the nose follows the vertical speed, half as much downwards.
double pitchFor(double vs) {
    const double limited = vs > 0.0 ? std::min(vs, 2400.0) : std::max(vs, -3000.0) / 2.0;
    return (-3.0 - limited / 600.0 * 2.2) * degToRad;
}

/// Feet per minute, for a landing whose data no longer tell a height.
double descentRate(const LiveAircraft& a, const PositionSample& from, const PositionSample& to, const Motion& m) {
    if (a.agl <= 100.0)
        return -600.0;
    const double forPressure = (m.in.qnh - standardQnh) * feetPerMinutePerHectopascal;
    return std::min((from.vs + to.vs) / 2.0 - forPressure, -leastRate);
}

void changeAltitudeAt(LiveAircraft& a, PositionSample& next, double vs) {
    next.vs = vs;
    a.vsFpm = vs;
    a.altStep = vs / ticksPerMinute;
}

void climbAwayTo(LiveAircraft& a, const PositionSample& next, std::int32_t ticks) {
    a.altStep = next.alt > a.alt ? std::min((next.alt - a.alt) / ticks, a.climbStepMax) : 0.0;
}

/// From air to air.
void planFlight(LiveAircraft& a, const PositionSample& from, PositionSample& next, std::int32_t ticks,
                const Motion& m) {
    a.altStep = (next.alt - a.alt) / ticks;
    if (!a.approach) {
        a.altStep = std::min(a.altStep, a.climbStepMax);
        // Who is low and not on final climbs: a take-off must not hang, and what sinks to another field is held up too.
        if (a.agl <= lowAgl)
            a.altStep = std::max(a.altStep, leastClimb);
    } else if (from.alt == next.alt && a.agl <= lowAgl && from.vs + next.vs <= meansToClimb) {
        changeAltitudeAt(a, next, descentRate(a, from, next, m)); // a frozen altitude cannot stop the landing
    }
}

/// A sample well up in the air becomes the next one, since the data on the ground until there are behind the times.
bool skipToAirborne(LiveAircraft& a) {
    const std::size_t last = std::min(a.sz() - 1, climbSearch); // counted from 1, as the front sample is
    for (std::size_t n = 3; n <= last; ++n) {
        if (!a.stream[n - 1].airborne)
            continue;
        a.stream.erase(a.stream.begin() + 1, a.stream.begin() + static_cast<std::ptrdiff_t>(n - 1));
        return true;
    }
    return false;
}

/// Both samples on the ground, though the aircraft flies.
void planWithoutAltitude(LiveAircraft& a, const Motion& m) {
    setGear(a, true, m);
    double vs = 0.0;
    for (const PositionSample& s : a.stream)
        vs += s.vs;
    if (a.approach || vs <= meansToClimb) {
        changeAltitudeAt(a, a.stream[1], descentRate(a, a.stream[0], a.stream[1], m));
    } else if (skipToAirborne(a)) {
        nextPosAir(a, m);
        const std::int32_t ticks = ticksToGo(a.stream[1], m);
        aimAt(a, a.stream[1], ticks);
        climbAwayTo(a, a.stream[1], ticks);
    } else {
        changeAltitudeAt(a, a.stream[1], std::max(a.stream[1].vs, leastRate));
    }
}

void planAltitude(LiveAircraft& a, std::int32_t ticks, const Motion& m) {
    const PositionSample& from = a.stream[0];
    PositionSample& next = a.stream[1];
    if (from.airborne && next.airborne) {
        planFlight(a, from, next, ticks, m);
    } else if (from.airborne) { // the data land here
        if (m.in.airport && m.in.qnh <= standardQnh)
            a.altStep = (m.in.airport->elevation - a.alt) / ticks;
        else
            changeAltitudeAt(a, next, m.in.qnh <= standardQnh ? -leastRate : descentRate(a, from, next, m));
        setGear(a, true, m);
    } else if (next.airborne) {
        climbAwayTo(a, next, ticks);
    } else {
        planWithoutAltitude(a, m);
    }
}

/// The turn of this leg: on reaching the next sample the aircraft already stands on the course from there on.
double turnAhead(const LiveAircraft& a) {
    const PositionSample& next = a.stream[1];
    const bool low = a.agl < (a.approach ? lowAglFinal : lowAgl);
    if (low && next.adsbHeading && next.bankValid && next.trueHeadingValid)
        return angleDiff(a.heading, next.trueHeading);
    if (a.sz() < 3)
        return 0.0;
    const PositionSample& after = a.stream[2];
    if (after.lat == next.lat && after.lon == next.lon) // a hover has no course
        return 0.0;
    return angleDiff(a.heading, bearingRad(next.position(), after.position()));
}

void planAttitude(LiveAircraft& a, std::int32_t ticks) {
    const PositionSample& next = a.stream[1];
    const AttitudeLimits& most = limitsOf(a);
    if (a.flareStage == 0 && a.fs != FlightState::take_off)
        a.pitchStep = within((pitchFor(next.vs) - a.pitch) / ticks, most.pitchStep);
    const double turn = turnAhead(a);
    a.headingStep = turn / ticks;
    a.bankStep = next.bankValid ? (next.bank - a.bank) / ticks
                                : within((-within(turn, most.bank) - a.bank) / ticks, most.bankStep);
}

} // namespace

double initialPitch(const PositionSample& sample) {
    return pitchFor(sample.vs);
}

void nextPosAir(LiveAircraft& aircraft, const Motion& m) {
    const PositionSample& from = aircraft.stream[0];
    PositionSample& to = aircraft.stream[1];
    if (to.stopped) {
        if (aircraft.category == AircraftCategory::rotorcraft)
            setLegTiming(aircraft, m);
        return;
    }
    std::int32_t ticks = 0;
    if (aircraft.approach && !to.airborne)
        ticks = ticksAt(distanceNm(from.position(), to.position()), from.gs > 0.0 ? from.gs : landingSpeed);
    else
        ticks = travelTicks(from, to);
    planArrival(aircraft, to, ticks, m);
}

void setupAirLeg(LiveAircraft& aircraft, const Motion& m) {
    if (aircraft.fs != FlightState::take_off)
        setFlightState(aircraft, FlightState::flying);
    aircraft.tasLeg = aircraft.stream[1].tas;
    aircraft.vsFpm = aircraft.stream[1].vs;
    if (aircraft.flareStage == 0)
        planAltitude(aircraft, ticksToGo(aircraft.stream[1], m), m);
    planAttitude(aircraft, ticksToGo(aircraft.stream[1], m));
    shrinkWindow(aircraft); // before the configuration, which may widen it for the legs to come
    setAirConfiguration(aircraft, aircraft.stream[0], m);
}

} // namespace kes
