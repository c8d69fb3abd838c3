// SPDX-License-Identifier: MIT
#include "traffic/parking.h"

#include "airports/airport_file.h"
#include "airports/airport_ref.h"
#include "airports/object_removal.h"
#include "airports/park_airports.h"
#include "airports/stand_learning.h"
#include "airports/stand_search.h"
#include "airports/static_parking.h"
#include "core/clock.h"
#include "core/hh_now.h"
#include "core/log.h"
#include "core/parameters.h"
#include "core/random.h"
#include "core/window.h"
#include "traffic/absence.h"
#include "traffic/controls.h"
#include "traffic/filters.h"
#include "traffic/ground_curve.h"
#include "traffic/leg_timing.h"
#include "traffic/live_table.h"
#include "traffic/stand_conflicts.h"

#include <algorithm>
#include <cmath>
#include <fmt/format.h>
#include <random>

namespace kes {

namespace {

constexpr double lastSampleNear = 35.0 / metresPerNm;
constexpr double arrivedWithin = 2.0 / metresPerNm;
constexpr double crawling = 5.0;                 ///< knots
constexpr std::int32_t shortestParkingLeg = 100; ///< ticks
constexpr std::int32_t standingAtStand = 50;     ///< ticks between the sample at the stand and the one that stands
constexpr double lowPass = 2500.0;               ///< feet; who is higher may be passing

bool atParkAirport(LatLon position) {
    return airportRef && distanceNm(position, airportRef->position()) <= atAirportNm;
}

bool keptForUser(const Stand& stand) {
    return !stand.id.empty() && (stand.id == reservedStand || stand.id == standOfUser());
}

void takeStand(LiveAircraft& a, Stand& stand, FlightState state) {
    a.standLat = stand.lat;
    a.standLon = stand.lon;
    a.standHeading = stand.heading;
    a.sid = stand.sid;
    a.standCargo = stand.cargo;
    setFlightState(a, state);
    a.parkedTime = monotonicMs();
    a.lastStandDist = 0.0;
    a.awayCount = 0;
    learnCargo(stand, a);
}

/// Where to look for the stand of an aircraft that appears on the ground; nothing = it is on its way.
std::optional<LatLon> birthPosition(const LiveAircraft& a) {
    const PositionSample& s0 = a.stream.front();
    if (s0.stopped)
        return s0.position();
    const PositionSample& back = a.stream.back();
    if (a.stream[1].gs > crawling || distanceNm(s0.position(), back.position()) > lastSampleNear)
        return std::nullopt;
    return back.position();
}

void parkAtBirth(LiveAircraft& a, Stand& stand) {
    makeWay(a, stand);
    PositionSample& s0 = a.stream.front();
    s0.stopped = true;
    s0.gs = 0.0;
    takeStand(a, stand, FlightState::parked);
    stand.liveOnIt = true;
    a.stream.resize(1);
    s0.lat = stand.lat;
    s0.lon = stand.lon;
    s0.track = stand.heading * radToDeg;
    noteRealUse(a, false, hhNow());
    checkMaxPark(1);
}

bool parkedAndActive(const LiveAircraft& a) {
    return a.fs == FlightState::parked && a.st == AircraftStatus::active;
}

std::vector<LiveAtStand> liveAtStands() {
    std::vector<LiveAtStand> list;
    for (const LiveAircraft& a : liveAircraft) {
        if (a.st == AircraftStatus::buffer || (a.fs != FlightState::parked && a.fs != FlightState::parking))
            continue;
        list.push_back({.hexid = a.hexid,
                        .sid = a.sid,
                        .callsign = a.callsign,
                        .label = shortLabel(a),
                        .category = a.category,
                        .wingspan = a.wingspan,
                        .parkedTime = a.parkedTime,
                        .active = a.st == AircraftStatus::active,
                        .parked = a.fs == FlightState::parked,
                        .feedAtStand = a.feedAtStand});
    }
    return list;
}

void removeLive(std::uint32_t hexid) {
    LiveAircraft* a = findLive(hexid);
    if (a == nullptr)
        return;
    tellLeaving(*a, "its stand is wanted, or fewer parked ones are");
    removeAircraftFromSim(*a);
}

bool belongsToAirport(const LiveAircraft& a) {
    return a.fs <= FlightState::take_off || a.fs == FlightState::parked;
}

void leaveParkAirport() {
    bool dropAsked = false;
    for (LiveAircraft& a : liveAircraft) {
        // It drives on to where it was to stand, but the number is soon that of another airport's stand.
        if (a.fs == FlightState::parking)
            a.sid = 0;
        if (!belongsToAirport(a))
            continue;
        releaseStand(a.sid);
        emptyStand(a);
        if (a.st == AircraftStatus::active || a.st == AircraftStatus::adding2sim) {
            tellLeaving(a, "its airport is out of sight");
            removeAircraftFromSim(a);
        }
        dropAsked = dropAsked || a.deleteQueued;
    }
    if (dropAsked)
        compactLive();
    takeNewMaxLive();
}

void showMeanParkedTime() {
    std::int64_t sum = 0;
    std::int32_t count = 0;
    for (const LiveAircraft& a : liveAircraft) {
        if (!parkedAndActive(a))
            continue;
        sum += monotonicMs() - a.parkedTime;
        ++count;
    }
    readouts.meanParkedMinutes = count == 0 ? 0 : static_cast<std::int32_t>(sum / count / 60000);
}

} // namespace

BirthPlace bornOnStand(LiveAircraft& a) {
    if (stands.empty() || !atParkAirport(a.stream.front().position()))
        return BirthPlace::taxiing;
    const auto position = birthPosition(a);
    if (!position)
        return BirthPlace::taxiing;
    Stand* stand = findClosestStand(*position, a, wideStandSearch, a.stream.front().stopped);
    if (stand == nullptr) {
        if (!a.stream[1].stopped)
            return BirthPlace::taxiing;
        a.stream.pop_front();
        return BirthPlace::notKnownYet;
    }
    if (keptForUser(*stand))
        return BirthPlace::asItIs;
    if (!offerStand(a, stand->sid) || neighbourInTheWay(a, *stand)) {
        tellNotShown(a.hexid, a, NotShown::standTaken);
        a.deleteNow = true;
        return BirthPlace::parked;
    }
    parkAtBirth(a, *stand);
    return BirthPlace::parked;
}

bool airportDataReady() {
    return airportLoaded && !stands.empty();
}

void try2Park(LiveAircraft& a, bool wide) {
    if (a.stream.empty()) {
        log(fmt::format("{} empty sz?", "try2Park"));
        return;
    }
    const LatLon position = a.stream.back().position();
    if (position.lat == a.lastParkLat && position.lon == a.lastParkLon)
        return;
    a.lastParkLat = position.lat;
    a.lastParkLon = position.lon;
    Stand* stand = findClosestStand(position, a, wide ? wideStandSearch : narrowStandSearch, wide);
    if (stand == nullptr || keptForUser(*stand))
        return;
    clearForParking(a, *stand);
    makeWay(a, *stand);
    takeStand(a, *stand, FlightState::parking);
    a.stream.resize(1);
    drive2Stand(a, stand->position());
}

void drive2Stand(LiveAircraft& a, LatLon stand) {
    if (a.stream.empty()) {
        log(fmt::format("{} empty sz?", "drive2Stand"));
        return;
    }
    clearCurve(a); // one that was planned leads elsewhere
    const double speed = a.taxiSpeed;
    PositionSample& from = a.stream.back();
    const auto ticks =
        std::max(static_cast<std::int32_t>(std::lround(distanceNm(from.position(), stand) * ticksPerHour / speed)),
                 shortestParkingLeg);
    from.gs = speed;
    PositionSample at;
    at.lat = stand.lat;
    at.lon = stand.lon;
    at.bank = a.bank;
    at.bankValid = true;
    at.alt = a.alt;
    at.gs = at.tas = speed;
    at.track = a.standHeading * radToDeg;
    at.tick = a.stream.front().tick + ticks;
    at.stopped = from.lat == stand.lat && from.lon == stand.lon;
    at.adsbHeading = from.adsbHeading;
    a.stream.push_back(at);
    at.gs = at.tas = 0.0;
    at.stopped = true;
    at.tick += standingAtStand;
    a.stream.push_back(at);
    a.targetHeading = a.standHeading;
    if (a.extrapCount >= 1)
        endExtrapolation(a);
}

void arriveAtStand(LiveAircraft& a, const Motion& m) {
    Stand* stand = findStand(a.sid);
    if (stand != nullptr && stand->liveOnIt) { // another one stands there
        a.extrapCount = 1;
        tellLeaving(a, fmt::format("another one stands on its stand {}", stand->id));
        removeAircraftFromSim(a);
        stand->liveOnIt = true;
        return;
    }
    if (distanceNm(a.position(), {a.standLat, a.standLon}) > arrivedWithin) {
        setFlightState(a, FlightState::taxi);
        return;
    }
    setFlightState(a, FlightState::parked);
    a.parkedAt = hhNow();
    if (a.towed && par::LOG)
        log(fmt::format("          towed aircraft {} parks", longLabel(a)));
    a.stream.front().stopped = true;
    a.parkedTime = monotonicMs();
    a.lastStandDist = 0.0;
    a.awayCount = 0;
    if (stand != nullptr)
        learnCargo(*stand, a);
    setThrottleLevel(a, 0, m);
    setFlapsLevel(a, 0, m);
    m.out.event(a.objectid, event::engineShutdown, 0);
    const bool lit = !a.standCargo && (!par::RANDOM || std::uniform_int_distribution<int>(1, 10)(generator()) != 1);
    sendLights(a.objectid, {.nav = par::NAV_LIGHTS_WHILE_PARKED, .beacon = false, .logo = true, .cabin = lit}, m);
    if (par::LOG)
        log(fmt::format("{:8}: {:8} arrived at stand", standName(a.sid), a.callsign));
    m.out.landings.push_back(a.hexid);
    noteRealUse(a, false, a.parkedAt);
    checkMaxPark(0);
}

void noteParked(LiveAircraft& aircraft) {
    aircraft.parkedAt = hhNow();
    if (par::LOG)
        log(fmt::format("{:8}: {:8} parks", standName(aircraft.sid), aircraft.callsign));
    dropPlacement(aircraft.sid);
}

void noteDeparture(const LiveAircraft& a) {
    const std::string& reported = a.reportedCallsign;
    if (reported.empty() || reported == a.callsign || reported == a.regcode) {
        noteRealUse(a, true, hhNow());
        return;
    }
    // The record still has the flight it came with; it leaves as the one that is reported by now.
    AiAircraft leaving = a;
    leaving.callsign = reported;
    noteRealUse(leaving, true, hhNow());
}

void learnStand(LiveAircraft& a, bool force) {
    if (!par::LEARN_SOFT || !learningAllowed || !airportLoaded || !atParkAirport(a.position()))
        return;
    if ((!force && a.agl >= lowPass) || a.sid != 0)
        return;
    noteGuessedUse(a, hhNow());
}

void emptyStand(AiAircraft& aircraft) {
    aircraft.standLat = aircraft.standLon = aircraft.standHeading = 0.0;
    aircraft.sid = 0;
}

void checkMaxPark(std::int32_t extra) {
    showMeanParkedTime();
    const auto live = static_cast<std::int32_t>(std::ranges::count_if(liveAircraft, parkedAndActive)) + extra;
    if (!par::INITIAL_LOAD_ONLY && wantedParked >= 1 && live > wantedParked) {
        LiveAircraft* longest = nullptr;
        for (LiveAircraft& a : liveAircraft) {
            if (parkedAndActive(a) && (longest == nullptr || a.parkedTime < longest->parkedTime))
                longest = &a;
        }
        if (longest != nullptr) {
            log(fmt::format("{:}: {:8} max park exceeded, removed", standName(longest->sid), longest->callsign));
            removeAircraftFromSim(*longest);
        }
    }
    if (static_cast<std::int32_t>(parkedAircraft.size()) + live <= wantedParked || parkedAircraft.empty())
        return;
    // By how long they have stood: a half-hour says nothing of the order across midnight of a Sunday.
    std::ranges::stable_sort(parkedAircraft, std::ranges::greater(),
                             [now = hhNow()](const AiAircraft& a) { return halfHoursSince(a.parkedAt, now); });
    if (parkedAircraft.back().st == AircraftStatus::active)
        removeAircraftFromSim(parkedAircraft.back());
}

LiveParkingHooks hooksOfLiveParking() {
    return {liveAtStands, removeLive, leaveParkAirport};
}

} // namespace kes
