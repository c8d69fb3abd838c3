#include "traffic/air_motion.h"

#include "traffic/air_setup.h"
#include "traffic/ground_motion.h"
#include "traffic/life_cycle.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace kes {

namespace {

constexpr std::int32_t normalWindow = 1000; ///< ticks
constexpr double feetPerMinutePerHectopascal = 6.0;
constexpr double landingSpeed = 100.0; ///< knots, where the data tell none
constexpr double lowAgl = 1000.0;      ///< feet
constexpr double lowAglFinal = 2000.0; ///< feet
constexpr double leastClimb = 0.2;     ///< feet per tick near the ground
constexpr double meansToClimb = 100.0; ///< feet per minute, summed over samples
constexpr std::size_t climbSearch = 10;
constexpr double leastRate = 601.0; ///< feet per minute
constexpr double flareAgl = 400.0;  ///< feet
constexpr double flarePitch = -4.0 * degToRad;

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
    const double forPressure = (m.in.qnh - standardPressure) * feetPerMinutePerHectopascal;
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
        if (m.in.airport && m.in.qnh <= standardPressure)
            a.altStep = (m.in.airport->elevation - a.alt) / ticks;
        else
            changeAltitudeAt(a, next, m.in.qnh <= standardPressure ? -leastRate : descentRate(a, from, next, m));
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

struct FlareRow {
    double height;  ///< feet above the standing aircraft
    double altStep; ///< feet per tick
    double vs;      ///< feet per minute
};
constexpr std::array<FlareRow, 4> flareRows{
    {{30, -0.1, -601}, {20, -0.075, -450}, {10, -0.05, -300}, {3, -0.025, -150}}};

/// Feet above the runway while the flare has not begun: the terrain on the way in may lie lower.
double heightForFlare(LiveAircraft& a, const Motion& m) {
    if (!a.runwayElevation && m.in.airport)
        a.runwayElevation = m.in.airport->elevation;
    a.flareHeight = a.runwayElevation ? a.alt - *a.runwayElevation : a.agl;
    return std::min(a.agl, a.flareHeight);
}

void flare(LiveAircraft& a, const Motion& m) {
    if (a.flareStage < 0 || a.flareStage >= static_cast<std::int32_t>(flareRows.size()))
        return; // waits for the touchdown
    const FlareRow& row = flareRows[static_cast<std::size_t>(a.flareStage)];
    if ((a.flareStage == 0 ? heightForFlare(a, m) : a.agl) > a.staticCg + row.height)
        return;
    if (a.flareStage == 0)
        a.pitchStep = (flarePitch - a.pitch) / a.flareTicks;
    else
        a.runwayElevation.reset();
    if (a.flareStage == 2)
        setThrottleLevel(a, 0, m);
    a.altStep = row.altStep;
    if (!a.stream.empty())
        a.stream.front().vs = row.vs;
    ++a.flareStage;
}

void derotate(LiveAircraft& a) {
    a.pitch += a.pitchStep;
    a.bank += a.bankStep;
    if (a.pitch > a.staticPitch) {
        a.pitch = a.staticPitch;
        a.bank = 0.0;
        a.pitchStep = a.bankStep = 0.0;
        a.derotating = false;
        a.flareStage = 0;
    }
}

void advanceAttitude(LiveAircraft& a, const Motion& m) {
    if (a.agl <= flareAgl && a.approach && !a.onGround)
        flare(a, m);
    if (a.derotating) {
        derotate(a);
    } else if (a.flareStage == 0 && a.onGround) {
        a.pitch = a.staticPitch;
        a.bank = 0.0;
    } else {
        a.pitch += a.pitchStep;
        if (a.flareStage != 0)
            a.pitch = std::max(a.pitch, flarePitch);
        a.bank += a.bankStep;
        a.alt += a.altStep;
    }
}

bool turnsByStep(FlightState fs) {
    return fs == FlightState::flying || fs == FlightState::take_off || fs == FlightState::parked ||
           fs == FlightState::birth;
}

double legSpeed(const PositionSample& from, const PositionSample& to, double distance) {
    if (from.gs == 0.0 && to.gs == 0.0)
        return std::max(distance * ticksPerHour / std::max(to.tick - from.tick, shortestLegTicks), 1.0);
    return (from.gs + to.gs) / 2.0;
}

std::int32_t ticksAt(double distance, double knots) {
    const double ticks = std::round(distance * ticksPerHour / knots);
    return ticks > shortestLegTicks ? static_cast<std::int32_t>(std::min(ticks, 1e8)) : shortestLegTicks;
}

} // namespace

double initialPitch(const PositionSample& sample) {
    return pitchFor(sample.vs);
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

void advancePosition(LiveAircraft& aircraft, const Motion& m) {
    if (curveRuns(aircraft)) {
        advanceOnCurve(aircraft);
    } else {
        if (turnsByStep(aircraft.fs))
            aircraft.heading += aircraft.headingStep;
        else if (aircraft.fs == FlightState::parking || aircraft.turning)
            turnTowards(aircraft, aircraft.targetHeading);
        if (aircraft.fs != FlightState::pushed_back) {
            aircraft.lat += aircraft.latStep;
            aircraft.lon += aircraft.lonStep;
        }
    }
    if (aircraft.heading < 0.0)
        aircraft.heading += twoPi;
    else if (aircraft.heading >= twoPi)
        aircraft.heading -= twoPi;
    if (aircraft.fs == FlightState::take_off)
        advanceRotation(aircraft, m);
    else
        advanceAttitude(aircraft, m);
    if (aircraft.lon > 180.0)
        aircraft.lon -= 360.0;
    else if (aircraft.lon < -180.0)
        aircraft.lon += 360.0;
}

void touchdown(LiveAircraft& aircraft, const Motion& m) {
    if (aircraft.st == AircraftStatus::removingfromsim || aircraft.fs == FlightState::take_off)
        return;
    if (aircraft.flareStage != 0 || aircraft.approach) {
        aircraft.derotating = aircraft.landingRoll = aircraft.landedSearch = true;
        aircraft.approach = false;
        aircraft.touchdownHeading = aircraft.heading;
        setSpoilers(aircraft, spoilersOut, m);
        setRollOutControls(aircraft, 100.0, aircraft.reverseThrust ? -100.0 : 100.0, m);
        aircraft.bankStep = -aircraft.bank / aircraft.derotateTicks;
        aircraft.pitchStep = (aircraft.staticPitch - aircraft.pitch) / aircraft.derotateTicks;
        m.out.landings.push_back(aircraft.hexid);
    }
    aircraft.onGround = true;
    aircraft.altStep = 0.0;
    aircraft.rotationCount = 1;
}

} // namespace kes
