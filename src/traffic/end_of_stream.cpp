// SPDX-License-Identifier: MIT
#include "traffic/end_of_stream.h"

#include "core/parameters.h"
#include "core/run_state.h"
#include "core/user_aircraft.h"
#include "traffic/filters.h"
#include "traffic/live_table.h"
#include "traffic/parking.h"
#include "traffic/trouble.h"

#include <algorithm>

namespace kes {

namespace {

constexpr std::int32_t groundSampleTicks = 300;
constexpr std::int32_t airSampleTicks = 800;
constexpr std::int32_t samplesInAir = 8;
constexpr std::int32_t samplesOnGround = 10;
constexpr double holdingMargin = 1.2;            ///< of the two half spans
constexpr double rangeMargin = 0.5;              ///< nautical miles
constexpr double approachSinkPerSecond = 10.005; ///< feet
constexpr double climbPerSecond = 25.0;          ///< feet

bool mayHold(const LiveAircraft& a) {
    return a.fs == FlightState::pushed_back || (a.fs == FlightState::taxi && !a.departing && !a.landingRoll);
}

bool crowded(const LiveAircraft& a) {
    return std::ranges::any_of(liveAircraft, [&](const LiveAircraft& other) {
        return other.onGround && other.fs == FlightState::taxi && other.st == AircraftStatus::active &&
               other.objectid != a.objectid &&
               distanceNm(other.position(), a.position()) <= (other.wingspan + a.wingspan) * holdingMargin;
    });
}

bool hold(LiveAircraft& a, const Motion& m) {
    if (crowded(a)) {
        a.holding = false;
        return false;
    }
    const std::int32_t now = m.in.tick;
    if (a.holding && (now - a.holdStartTick) / ticksPerMinute > par::MAX_HOLDING_MINUTES)
        return false;
    if (!a.holding) {
        a.holding = true;
        a.holdStartTick = now;
    }
    PositionSample sample = a.stream.front();
    sample.stopped = true;
    sample.gs = 0.0;
    sample.tick += groundSampleTicks;
    a.extrapCount = 1;
    a.stream.push_back(sample);
    return true;
}

struct SpeedRow {
    double upTo; ///< knots, inclusive
    double gs;   ///< knots
    double vs;   ///< feet per minute; negative = kept
};

void runOnAlongRunway(PositionSample& s) {
    static constexpr SpeedRow rows[] = {{30, 40, -1}, {60, 80, -1}, {100, 110, -1}, {140, 150, 600}, {160, 170, 1200}};
    SpeedRow chosen{0, 180, 2400};
    for (const SpeedRow& row : rows) {
        if (s.gs <= row.upTo) {
            chosen = row;
            break;
        }
    }
    s.gs = chosen.gs;
    if (chosen.vs >= 0.0)
        s.vs = chosen.vs;
}

void slowOnRunway(PositionSample& s) {
    s.gs = s.gs >= 140.0 ? 100.0 : s.gs >= 100.0 ? 80.0 : s.gs >= 80.0 ? 60.0 : s.gs >= 60.0 ? 30.0 : 20.0;
    s.vs = 0.0;
}

void extrapolateSample(LiveAircraft& a, std::int32_t count) {
    const PositionSample& front = a.stream.front();
    PositionSample s = front;
    const bool parked = a.fs == FlightState::parked;
    if (front.stopped || parked) {
        s.stopped = true;
        s.gs = 0.0;
    } else if (a.onGround && a.landingRoll) {
        slowOnRunway(s);
    } else if (a.onGround && a.departing) {
        runOnAlongRunway(s);
    } else if (a.onGround) {
        s.stopped = true;
        s.gs = 0.0;
    } else if (!(a.approach && count < 4)) {
        s.gs = std::max(s.gs * (a.approach ? 0.90 : 0.95), 1.0);
    }
    const std::int32_t ticks = a.onGround ? groundSampleTicks : airSampleTicks;
    const double seconds = secondsOf(ticks);
    if (s.gs > 0.0) {
        const double feet = s.gs / 3600.0 * seconds * feetPerNm;
        const LatLon reached = destination({front.lat, front.lon}, a.heading, feet);
        s.lat = reached.lat;
        s.lon = reached.lon;
        s.stopped = s.lat == front.lat && s.lon == front.lon;
    }
    const bool sinks = a.approach && a.flareStage == 0;
    if (sinks || a.fs == FlightState::take_off) {
        s.vs = sinks ? -667.0 : 1500.0;
        s.alt = std::max(s.alt + (sinks ? -approachSinkPerSecond : climbPerSecond) * seconds, 0.0);
        s.airborne = s.alt > 0.0;
    }
    if (parked) {
        // A parked aircraft waits for nothing further from the feed.
        s.tick += parkedForTicks;
        a.feedAtStand = false;
        releaseStand(a.sid);
    } else {
        s.tick += ticks;
    }
    a.extrapCount = count;
    a.stream.push_back(s);
}

} // namespace

bool inSightOfUser(const LiveAircraft& a) {
    return !userAircraft.known() || distanceNm(userAircraft.position(), a.position()) < rangeNm - rangeMargin;
}

bool endOfStream(LiveAircraft& a, const Motion& m) {
    if (a.stream.empty()) {
        reportEmptyStream("endOfStream", a);
        return false;
    }
    if (a.fs == FlightState::parking)
        arriveAtStand(a, m);
    else if (mayHold(a))
        return hold(a, m);
    if (a.extrapCount < 0)
        return false;
    if (a.extrapCount == 1) {
        a.extrapCount = -1;
        return false;
    }
    if (a.extrapCount > 1) {
        extrapolateSample(a, a.extrapCount - 1);
        return true;
    }
    if (!categorySwitchedOn(a.category))
        return false;
    if (!a.onGround) {
        if (!inSightOfUser(a))
            return false;
        extrapolateSample(a, samplesInAir);
        return true;
    }
    extrapolateSample(a, a.fs == FlightState::parked ? 1 : samplesOnGround);
    return true;
}

} // namespace kes
