// SPDX-License-Identifier: MIT
#include "traffic/leaving_stand.h"

#include "core/clock.h"
#include "traffic/absence.h"
#include "traffic/leg_timing.h"
#include "traffic/parking.h"
#include "traffic/removal.h"

namespace kes {

namespace {

constexpr double nm(double metres) {
    return metres / metresPerNm;
}

constexpr double circle = nm(85.0);
constexpr double circleParking = nm(170.0);
constexpr double beyondDoubt = nm(200.0);
constexpr double realMove = nm(3.0);
constexpr std::uint32_t movesAway = 3;

/// A shorter stay than this tells a tow: no airline turns an aircraft around as fast. Minutes; 0 = any stay will do.
double shortestStay(AircraftCategory category) {
    switch (category) {
    case AircraftCategory::heavy:
        return 60.0;
    case AircraftCategory::large:
        return 25.0;
    case AircraftCategory::buzjets:
        return 15.0;
    default:
        return 0.0;
    }
}

/// True = the aircraft has moved away far enough.
bool movedAway(LiveAircraft& a, double d) {
    if (a.lastStandDist == 0.0) {
        a.firstStandDist = a.lastStandDist = d;
        a.awayCount = 0;
        return false;
    }
    if (d < a.lastStandDist + realMove) {
        if (d <= a.lastStandDist - realMove)
            a.awayCount = 0;
        return false;
    }
    ++a.awayCount;
    a.lastStandDist = d;
    const double moved = d - a.firstStandDist;
    return (a.awayCount >= movesAway && moved >= a.wingspan / 2.0) || moved > a.wingspan;
}

/// The first time a parked aircraft shows movement.
void leave(LiveAircraft& a, const Motion& m) {
    if (a.extrapCount >= 1) {
        if (a.fs == FlightState::parked && a.landedSearch && !a.stream.empty()) {
            const std::int32_t parked = m.in.tick - (a.stream.front().tick - parkedForTicks);
            if (static_cast<double>(parked) / ticksPerMinute < shortestStay(a.category))
                a.towed = true;
        }
        a.landedSearch = false;
        if (a.fs == FlightState::parked && !a.stream.empty())
            a.stream.front().tick = m.in.tick + 1;
        endExtrapolation(a);
    }
    noteDeparture(a);
    releaseStand(a.sid);
}

} // namespace

bool checkAtStand(LiveAircraft& a, PositionSample& n, const Motion& m) {
    const double d = distanceNm({a.standLat, a.standLon}, n.position());
    a.feedAtStand = true;
    if (d <= (a.fsPrevious == FlightState::parking ? circleParking : circle)) {
        a.parkedTime = monotonicMs();
        if (!movedAway(a, d)) {
            a.pullOutDue = false;
            return false;
        }
    } else if (a.fs == FlightState::parking) { // it drove past
        setFlightState(a, FlightState::taxi);
        n.stopped = false;
        return true;
    } else if (d > beyondDoubt) {
        if (a.st != AircraftStatus::active)
            return true;
        tellLeaving(a, "it is reported far from its stand");
        removeAircraftFromSim(a);
        return false;
    }
    n.stopped = false;
    a.pullOutDue = true;
    if (a.fsPrevious != FlightState::parked) {
        leave(a, m);
        setFlightState(a, FlightState::parked);
    }
    return true;
}

} // namespace kes
