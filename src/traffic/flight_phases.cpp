// SPDX-License-Identifier: MIT
#include "traffic/flight_phases.h"

#include "core/log.h"
#include "core/parameters.h"
#include "traffic/absence.h"
#include "traffic/controls.h"
#include "traffic/departure.h"
#include "traffic/ground_motion.h"
#include "traffic/leaving_stand.h"
#include "traffic/leg_timing.h"
#include "traffic/parking.h"
#include "traffic/removal.h"

#include <algorithm>
#include <cmath>
#include <fmt/format.h>

namespace kes {

namespace {

constexpr std::size_t longestStream = 200;
constexpr double jitter = 0.00015; ///< degrees
constexpr double shortStopSeconds = 15.0;
constexpr double shortStopMetres = 22.0;
constexpr std::ptrdiff_t stopSearch = 5; ///< samples before the last
constexpr double awaySpans = 2.75;       ///< of the half span
constexpr double awaySpansAtOnce = 6.0;

bool sameSpot(const PositionSample& a, const PositionSample& b) {
    return a.lat == b.lat && a.lon == b.lon;
}

double courseOff(const LiveAircraft& a, const PositionSample& from, const PositionSample& to) {
    return degreesBetween(bearingRad(from.position(), to.position()), a.heading);
}

bool emptyStream(const LiveAircraft& a, std::string_view routine) {
    if (!a.stream.empty())
        return false;
    log(fmt::format("{} empty sz?", routine));
    return true;
}

/// Noise: true = the sample says something new.
bool filterNewPos(const LiveAircraft& a, PositionSample& n) {
    const PositionSample& last = a.stream.back();
    const bool same = sameSpot(n, last);
    if (same)
        n.stopped = true;
    if (a.category == AircraftCategory::rotorcraft)
        return true;
    const bool flies = n.airborne || (a.st == AircraftStatus::active && !a.onGround);
    const bool rolls = a.departing && n.gs > 0.0;
    if (same) {
        if (flies || (rolls && last.gs >= 30.0))
            return false;
        n.gs = std::min(n.gs, 0.0);
        return true;
    }
    if (std::fabs(n.lat - last.lat) < jitter && std::fabs(n.lon - last.lon) < jitter) {
        if (flies || (rolls && last.gs >= 50.0))
            return false;
        n = last; // jitter on the ground is standing still
        n.gs = 0.0;
        n.stopped = true;
        return true;
    }
    return n.gs != 0.0 || (!a.departing && !n.airborne) || last.gs < 50.0;
}

/// A report for an aircraft that flies on extrapolated samples. False: it finishes its extrapolated way.
bool checkExtendingSituations(LiveAircraft& a, const PositionSample& n, const Motion& m) {
    if (emptyStream(a, "checkExtendingSituations"))
        return false;
    if (!a.onGround && courseOff(a, a.stream.back(), n) >= 100.0)
        return false;
    endExtrapolation(a);
    a.stream.front().tick = m.in.tick + 1;
    a.holding = false;
    a.holdStartTick = 0;
    return true;
}

/// The last part of a landing shows much noise, and a new position must not turn the aircraft around.
bool checkNewPosDuringLanding(LiveAircraft& a, PositionSample& n, const Motion& m) {
    if (emptyStream(a, "checkNewPosDuringLanding") || sameSpot(n, a.stream.back()))
        return false;
    if (a.sz() >= 2 && courseOff(a, a.stream.back(), n) >= 90.0) {
        a.stream.pop_back();
        if (a.sz() >= 2 && courseOff(a, a.stream.back(), n) >= 90.0)
            a.stream.pop_back();
    }
    if (a.sz() == 1) {
        const double off = courseOff(a, a.stream.front(), n);
        if (a.approach && off >= 90.0)
            return false;
        if (!a.approach && off >= 150.0) {
            if (a.extrapCount > 0)
                return false;
            PositionSample& front = a.stream.front();
            front.lat = a.lat;
            front.lon = a.lon;
            front.tick = m.in.tick + 1;
        }
    }
    if (a.extrapCount > 0)
        endExtrapolation(a);
    const PositionSample& back = a.stream.back();
    n.stopped = sameSpot(n, back);
    if (!n.stopped && n.gs > back.gs && n.gs > 40.0)
        n.gs = back.gs; // speed does not rise while landing
    return true;
}

/// A moving sample follows a stop whose last moving sample is `m`, `num` samples from the back, itself counted. A short
/// stop is taken out: on the screen the aircraft never stopped there.
void checkStops(LiveAircraft& a, const PositionSample& n, const PositionSample& m, std::ptrdiff_t num) {
    try {
        const double seconds = secondsOf(a.stream.back().tick - m.tick);
        const double metres = distanceNm(m.position(), n.position()) * metresPerNm;
        if (seconds >= shortStopSeconds && metres > shortStopMetres)
            return;
        for (std::ptrdiff_t i = 1; i < num; ++i)
            a.stream.pop_back();
    } catch (const std::exception& e) {
        log(fmt::format("{}: num:{} {}", "checkStops", num, e.what()));
    }
}

void removeSmallStop(LiveAircraft& a, const PositionSample& n) {
    try {
        const auto size = static_cast<std::ptrdiff_t>(a.sz());
        if (size < 3)
            return;
        const std::ptrdiff_t first = std::max<std::ptrdiff_t>(size - 1 - stopSearch, 0);
        for (std::ptrdiff_t i = size - 2; i >= first; --i) {
            const PositionSample& m = a.stream[static_cast<std::size_t>(i)];
            if (!m.stopped) {
                checkStops(a, n, m, size - i);
                return;
            }
        }
    } catch (const std::exception& e) {
        log(fmt::format("{}: {}", "removeSmallStop", e.what()));
    }
}

/// Which way the nose really swings, while the push still runs straight.
void learnPushbackSide(LiveAircraft& a, const PositionSample& n) {
    if (par::STRAIGHT_PBS_ONLY || a.pushbackStep != 2)
        return;
    if (!n.trueHeadingValid && n.track == 0.0)
        return;
    const double nose = n.trueHeadingValid ? n.trueHeading : n.track * degToRad;
    a.pushbackTurnRight = angleDiff(a.heading, nose) > 0.0;
}

/// True = it has driven off far enough for its push-back to be over.
bool drivesOff(LiveAircraft& a, PositionSample& n, const Motion& m) {
    const double d = distanceNm(n.position(), a.position());
    if (!((d > a.wingspan * awaySpans && d > a.lastAwayDist) || d > a.wingspan * awaySpansAtOnce)) {
        if (!a.holding) {
            a.holding = true;
            a.holdStartTick = m.in.tick;
        }
        a.lastAwayDist = d;
        return false;
    }
    n.stopped = false;
    if (a.extrapCount > 0) {
        endExtrapolation(a);
        a.stream.front().tick = m.in.tick + 1;
    }
    a.pushbackTurnRight.reset();
    a.pushbackStep = 0;
    setFlightState(a, FlightState::taxi);
    emptyStand(a);
    a.standCargo = false;
    a.holding = false;
    a.holdStartTick = 0;
    return true;
}

/// What the flight state makes of a sample. False = it does not join the stream.
bool takenByState(LiveAircraft& a, PositionSample& n, const Motion& m) {
    switch (a.fs) {
    case FlightState::birth:
        return !a.stream.empty() && filterNewPos(a, n);
    case FlightState::parking:
    case FlightState::parked:
        return a.st != AircraftStatus::buffer && a.st != AircraftStatus::adding2sim && checkAtStand(a, n, m);
    case FlightState::pushing_back:
        learnPushbackSide(a, n);
        return false;
    case FlightState::pushed_back:
        return drivesOff(a, n, m);
    default:
        if (a.approach || a.landingRoll)
            return checkNewPosDuringLanding(a, n, m);
        return !a.stream.empty() && filterNewPos(a, n) && (a.extrapCount <= 0 || checkExtendingSituations(a, n, m));
    }
}

void editStops(LiveAircraft& a, const PositionSample& n) {
    if (n.airborne || a.stream.empty() || !a.stream.back().stopped)
        return;
    if (!n.stopped)
        removeSmallStop(a, n);
    else if (std::ranges::all_of(a.stream, &PositionSample::stopped))
        a.stream.resize(1);
}

void goAroundFromRunway(LiveAircraft& a, const Motion& m) {
    setFlightState(a, FlightState::taxi);
    a.departing = true;
    setThrottleLevel(a, 3, m);
    setSpoilers(a, spoilersOut, m);
    setFlapsLevel(a, 1, m);
    a.approach = a.landedSearch = a.climbing = false;
    sendLights(a.objectid, {.landing = true, .taxi = true, .strobes = true, .logo = true}, m);
    widenWindow(a);
}

void lookForTakeOff(LiveAircraft& a, const PositionSample& n, const Motion& m) {
    if (a.departing || !a.onGround || a.st != AircraftStatus::active || a.stream.empty())
        return;
    const PositionSample& last = a.stream.back();
    if (a.landingRoll) {
        if (last.airborne && n.airborne)
            goAroundFromRunway(a, m);
    } else if (a.fs == FlightState::taxi && (n.airborne || (n.gs >= takeOffSpeed && last.gs >= takeOffSpeed))) {
        startTakeOffRun(a, m);
    }
}

void decode(LiveAircraft& a, PositionSample& n, const Motion& m) {
    if (a.sz() > longestStream) { // such a stream cannot be flown any more
        tellLeaving(a, "too many reports of it wait");
        removeAircraftFromSim(a);
    }
    if (a.holding && !a.stream.empty() &&
        distanceNm(n.position(), a.stream.front().position()) * metresPerNm > par::HOLDING_THRESHOLD_METERS) {
        a.holding = false;
        a.holdStartTick = 0;
        tellLeaving(a, "it goes on far from where it waited for reports");
        removeAircraftFromSim(a);
        return;
    }
    const bool newborn = a.fs == FlightState::birth;
    if (!takenByState(a, n, m))
        return;
    if (!newborn)
        editStops(a, n);
    if (!a.stream.empty() && a.stream.back().tick >= n.tick)
        n.tick = a.stream.back().tick + 1;
    if (!newborn)
        lookForTakeOff(a, n, m);
    a.stream.push_back(n);
    if (!newborn && a.sz() == 2 && a.stream[0].stopped && a.stream[1].stopped) {
        a.stream[0].tick = m.in.tick + 1;
        a.stream[0].gs = a.stream[1].gs;
    }
}

} // namespace

void decodeExisting(LiveAircraft& aircraft, PositionSample sample, const Motion& m) {
    try {
        decode(aircraft, sample, m);
    } catch (const nwk::UserErrorException&) {
        throw;
    } catch (const std::exception& e) {
        throw std::runtime_error(fmt::format("{} exception {}", "decodeExisting", e.what()));
    }
}

} // namespace kes
