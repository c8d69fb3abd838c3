// SPDX-License-Identifier: MIT
#include "traffic/spawn.h"

#include "core/log.h"
#include "core/parameters.h"
#include "core/run_state.h"
#include "liveries/matching.h"
#include "reference/identity.h"
#include "sim/orders.h"
#include "traffic/abandoned.h"
#include "traffic/absence.h"
#include "traffic/air_motion.h"
#include "traffic/conflicts.h"
#include "traffic/filters.h"
#include "traffic/live_table.h"
#include "traffic/no_match.h"
#include "traffic/parking.h"
#include "traffic/title_table.h"
#include "traffic/user_conflicts.h"

#include <algorithm>
#include <fmt/format.h>
#include <optional>

namespace kes {

namespace {

constexpr std::int32_t leadTaxiing = 300;                   ///< ticks
constexpr std::int32_t leadOthers = 100;                    ///< ticks
constexpr std::size_t waitingBirths = 10;                   ///< more hold back further ones
constexpr double groundPitchAtBirth = 0.010471975511965976; ///< radians, 0.6 degrees nose down

std::string noMatchKey(const LiveAircraft& a) {
    return fmt::format("{} {}", aimo(a), a.regcode);
}

bool contains(const std::vector<std::string>& list, std::string_view text) {
    return std::ranges::find(list, text) != list.end();
}

bool mixedStream(const LiveAircraft& a) {
    const bool first = a.stream.front().airborne;
    return std::ranges::any_of(a.stream, [&](const PositionSample& s) { return s.airborne != first; });
}

/// A feed that reports all its aircraft at once makes all births fall due in one tick: those in the spawn queue count
/// as well. The simulator takes one request in half a second, and one that waits long for its object is late on its
/// way.
bool mustWait(const LiveAircraft& a) {
    if (isAbandoned(a.hexid))
        return true;
    return a.fs == FlightState::birth && birthsUnderWay() > waitingBirths;
}

bool isBlocked(const LiveAircraft& a) {
    const std::string blocked = par::BLOCK_CALLSIGN.get();
    return !blocked.empty() && a.callsign == blocked;
}

void drop(LiveAircraft& a, NotShown reason) {
    tellNotShown(a.hexid, a, reason);
    a.deleteNow = true;
}

/// Why the record is dropped, if it is.
std::optional<NotShown> completeIdentity(LiveAircraft& a) {
    const std::string reported = a.model;
    const bool known = takeKnownIdentity(a);
    if (a.model != reported)
        applyModel(a);
    if (!known)
        return NotShown::noCallsign;
    if (noMatchList.contains(noMatchKey(a)))
        return NotShown::noLivery;
    if (isGhost(a.callsign) && hasRealTwin(a.callsign))
        return NotShown::realFlightShown;
    return std::nullopt;
}

/// False = no livery fits.
bool findLivery(LiveAircraft& a) {
    if (a.title.empty()) {
        const std::string_view remembered = rememberedTitle(a.hexid);
        if (!remembered.empty() && !isRefused(remembered)) {
            a.title = remembered;
            a.reverseThrust = a.title.find("FSLTL_") != std::string_view::npos;
        } else {
            matchLive(a);
        }
    }
    if (a.title.empty()) {
        if (!a.regcode.empty())
            noMatchList.add(noMatchKey(a));
        return false;
    }
    rememberTitle(a.hexid, a.title);
    return true;
}

void matchStops(LiveAircraft& a) {
    PositionSample& s0 = a.stream[0];
    PositionSample& s1 = a.stream[1];
    if (!s1.stopped) {
        s0.stopped = false;
        return;
    }
    s0.stopped = true;
    s0.gs = 0.0;
    s1.gs = 0.0;
    if (a.sz() > 2 && a.stream[2].stopped)
        a.stream[2].gs = 0.0;
}

double initialHeading(const LiveAircraft& a) {
    if (a.respawnHeading)
        return normalizeAngle(*a.respawnHeading);
    if (a.fs == FlightState::parked)
        return normalizeAngle(a.standHeading);
    const PositionSample& s0 = a.stream[0];
    if (a.sz() < 2 || a.stream[1].stopped)
        return normalizeAngle(s0.track * degToRad);
    return bearingRad({s0.lat, s0.lon}, {a.stream[1].lat, a.stream[1].lon});
}

void setInitialPose(LiveAircraft& a) {
    const PositionSample& s0 = a.stream.front();
    a.lat = s0.lat;
    a.lon = s0.lon;
    a.alt = s0.alt;
    a.tasOut = s0.tas;
    a.vsOut = s0.vs;
    a.bank = s0.bankValid ? s0.bank : 0.0;
    a.pitch = s0.airborne ? initialPitch(s0) : groundPitchAtBirth;
    a.heading = initialHeading(a);
}

} // namespace

void spawnDecision(LiveAircraft& a, const Motion& m) {
    if (a.stream.empty()) {
        a.deleteNow = true;
        return;
    }
    const PositionSample& front = a.stream.front();
    const std::int32_t lead = !front.airborne && front.gs != 0.0 ? leadTaxiing : leadOthers;
    if (m.in.tick < front.tick - lead)
        return;
    if (a.sz() == 1 || (isGhost(a.callsign) && contains(ghostList, a.callsign))) {
        drop(a, a.sz() == 1 ? NotShown::oneReport : NotShown::realFlightShown);
        return;
    }
    if (mixedStream(a) || birthCheckUser(a) == BirthCheck::wait || mustWait(a)) {
        a.stream.pop_front(); // the life in the simulator begins further along its way
        return;
    }
    std::optional<NotShown> reason;
    if (!makeRoomFor(a))
        reason = NotShown::limitReached;
    else if (isBlocked(a))
        reason = NotShown::blocked;
    else
        reason = completeIdentity(a);
    if (reason) {
        drop(a, *reason);
        return;
    }
    spawnLiveAc(a, m);
}

void spawnLiveAc(LiveAircraft& aircraft, const Motion& m) {
    if (aircraft.sz() < 2) {
        log(fmt::format("{} sz:{}", "spawnLiveAc", aircraft.sz()));
        return;
    }
    matchStops(aircraft);
    if (aircraft.fs == FlightState::birth) {
        if (!findLivery(aircraft)) {
            drop(aircraft, NotShown::noLivery);
            return;
        }
        const BirthPlace place = aircraft.stream.front().airborne ? BirthPlace::taxiing : bornOnStand(aircraft);
        if (place == BirthPlace::notKnownYet)
            return;
        if (place == BirthPlace::taxiing)
            setFlightState(aircraft, aircraft.stream.front().airborne ? FlightState::flying : FlightState::taxi);
    }
    if (aircraft.deleteNow)
        return;
    m.out.landings.push_back(aircraft.hexid);
    setInitialPose(aircraft);
    aircraft.st = AircraftStatus::adding2sim;
    aircraft.askedTick = -1;
    aircraft.userConflictSeen = false;
    orderBirth(aircraft.hexid);
    if (!isGhost(aircraft.callsign))
        removeGhostOf(aircraft);
}

void spawnNext() {
    const auto hexid = takeBirth();
    LiveAircraft* a = hexid ? findLive(*hexid) : nullptr;
    if (a == nullptr)
        return;
    if (a->callsign.empty()) {
        log(fmt::format("{} {} objectid = 0?", longLabel(*a), "operator ()"));
        a->deleteNow = a->st == AircraftStatus::adding2sim; // nobody will ever ask for its object
        return;
    }
    CreateRequest request;
    request.lat = a->lat;
    request.lon = a->lon;
    request.alt = a->alt;
    request.pitch = a->pitch * radToDeg;
    request.bank = a->bank * radToDeg;
    request.heading = a->heading * radToDeg;
    request.tailNumber = a->callsign;
    request.title = a->title;
    request.hexid = a->hexid;
    orderCreate(std::move(request));
}

void noteAsked(std::uint32_t hexid, std::int32_t tick) {
    if (LiveAircraft* a = findLive(hexid))
        a->askedTick = tick;
}

} // namespace kes
