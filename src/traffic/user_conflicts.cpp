// SPDX-License-Identifier: MIT
#include "traffic/user_conflicts.h"

#include "airports/static_parking.h"
#include "core/log.h"
#include "core/parameters.h"
#include "core/user_aircraft.h"
#include "traffic/absence.h"
#include "traffic/live_table.h"
#include "traffic/parking.h"
#include "traffic/removal.h"

#include <algorithm>
#include <cmath>
#include <fmt/format.h>

namespace kes {

namespace {

constexpr double fastOnGround = 8.0;                ///< knots
constexpr double clearOfUser = 500.0 / metresPerNm; ///< nautical miles
constexpr double besideUser = 150.0 / metresPerNm;  ///< nautical miles

/// User's position at the last check against static aircraft; none before the first.
std::optional<LatLon> lastUserPosition;

LatLon place(const PositionSample& s) {
    return {s.lat, s.lon};
}

/// Cross-track distance of a point from the user's line of flight, feet.
double crossTrackFromUser(LatLon point) {
    const LatLon user = userAircraft.position();
    const double angle = angleDiff(userAircraft.heading, bearingRad(user, point));
    return std::fabs(std::sin(angle)) * distanceNm(user, point) * feetPerNm;
}

/// Cross-track distance of the user from the line on which an aircraft at `point` flies, feet.
double usersCrossTrack(LatLon point, double heading) {
    const LatLon user = userAircraft.position();
    const double a = angleDiff(bearingRad(user, point), heading) * radToDeg;
    const double b = a >= 0.0 ? std::fabs(90.0 - a) : a >= -90.0 ? a + 90.0 : 90.0 - (a + 180.0);
    return std::cos(b * degToRad) * distanceNm(user, point) * feetPerNm;
}

bool nearUser(LatLon point, double nm) {
    return distanceNm(userAircraft.position(), point) < nm;
}

BirthCheck holdBack(LiveAircraft& a) {
    a.userConflictSeen = true;
    return BirthCheck::wait;
}

BirthCheck checkAgainstFlyingUser(LiveAircraft& a) {
    const PositionSample& s = a.stream.front();
    if (!s.airborne) {
        if (a.userConflictSeen)
            return BirthCheck::wait;
        const bool underUser =
            nearUser(a.position(), 1.5) && userAircraft.agl < 1000.0 && crossTrackFromUser(a.position()) <= 500.0;
        return underUser ? holdBack(a) : BirthCheck::goOn;
    }
    const bool conflict = nearUser(place(s), 6.0) && std::fabs(s.alt - userAircraft.alt) < 3000.0 &&
                          usersCrossTrack(place(s), a.targetHeading) <= 4000.0;
    return conflict ? holdBack(a) : BirthCheck::goOn;
}

BirthCheck checkAgainstStandingUser(const LiveAircraft& a) {
    const PositionSample& s = a.stream.front();
    if (a.userConflictSeen) {
        if (userAircraft.groundSpeed > fastOnGround)
            return BirthCheck::wait;
        if (s.airborne)
            return BirthCheck::goOn;
        if (s.gs > fastOnGround || nearUser(place(s), clearOfUser))
            return BirthCheck::wait;
    } else if (s.airborne) {
        return BirthCheck::goOn;
    }
    return par::COLLISION_USER_GND && nearUser(place(s), besideUser) ? BirthCheck::wait : BirthCheck::goOn;
}

bool collidesWithFlyingUser(const LiveAircraft& a) {
    if (a.onGround)
        return userAircraft.agl < 500.0 && nearUser(a.position(), 1.0) && crossTrackFromUser(a.position()) <= 50.0;
    return nearUser(a.position(), 4.0) && std::fabs(a.alt - userAircraft.alt) < 1000.0 &&
           usersCrossTrack(a.position(), a.heading) <= 700.0;
}

double userHalfSpan() {
    return userSpanKnown ? userSpan.load() : 0.0;
}

bool reachesUser(double halfSpan, double margin, LatLon point) {
    return (userHalfSpan() + halfSpan) * margin >= distanceNm(userAircraft.position(), point);
}

bool isActive(const AiAircraft& a) {
    return a.st == AircraftStatus::active;
}

/// True = one was removed.
template <typename Test> bool removeFirst(Test test) {
    const auto it = std::ranges::find_if(liveAircraft, [&](const LiveAircraft& a) { return isActive(a) && test(a); });
    if (it == liveAircraft.end())
        return false;
    tellLeaving(*it, "it came too close to you");
    removeAircraftFromSim(*it);
    return true;
}

void checkStandingUser() {
    const bool removed =
        removeFirst([](const LiveAircraft& a) { return a.onGround && reachesUser(a.wingspan, 1.15, a.position()); });
    const LatLon user = userAircraft.position();
    const bool moved = !lastUserPosition || lastUserPosition->lat != user.lat || lastUserPosition->lon != user.lon;
    lastUserPosition = user;
    if (removed || !moved)
        return;
    const auto it = std::ranges::find_if(parkedAircraft, [](const AiAircraft& a) {
        return isActive(a) && reachesUser(a.wingspan, 1.1, {a.standLat, a.standLon});
    });
    if (it == parkedAircraft.end())
        return;
    tellLeaving(*it, "it stands too close to you");
    removeAircraftFromSim(*it);
}

bool taxiesAmongParked(const LiveAircraft& a) {
    return a.onGround && isActive(a) && (a.fs == FlightState::taxi || a.fs == FlightState::parking) && !a.departing &&
           !a.landingRoll && (a.lat != a.lastCheckLat || a.lon != a.lastCheckLon);
}

} // namespace

BirthCheck birthCheckUser(LiveAircraft& aircraft) {
    if (userOnGround)
        return checkAgainstStandingUser(aircraft);
    return par::COLLISION_USER_AIR ? checkAgainstFlyingUser(aircraft) : BirthCheck::goOn;
}

void checkUserCollisions() {
    if (userOnGround) {
        if (par::COLLISION_USER_GND)
            checkStandingUser();
    } else if (par::COLLISION_USER_AIR) {
        removeFirst(collidesWithFlyingUser);
    }
}

void checkParkedCollisions() {
    if (!par::COLLISION_LIVE_PARKED_GND || parkedAircraft.empty())
        return;
    for (LiveAircraft& live : liveAircraft) {
        if (!taxiesAmongParked(live))
            continue;
        live.lastCheckLat = live.lat;
        live.lastCheckLon = live.lon;
        const auto it = std::ranges::find_if(parkedAircraft, [&](const AiAircraft& a) {
            return isActive(a) &&
                   (a.wingspan + live.wingspan) * 1.1 >= distanceNm(live.position(), {a.standLat, a.standLon});
        });
        if (it == parkedAircraft.end())
            continue;
        if (par::LOG)
            log(fmt::format("{:8}: {:8} removed for collision avoidance with live {}", standName(it->sid), it->callsign,
                            live.callsign));
        removeAircraftFromSim(*it);
    }
}

void resetUserConflicts() {
    lastUserPosition.reset();
}

} // namespace kes
