// SPDX-License-Identifier: MIT
#include "tools/replay/parking_judge.h"

#include "airports/stands.h"
#include "airports/static_parking.h"
#include "feed/report_queue.h"
#include "tools/replay/stand_check.h"
#include "traffic/live_table.h"

#include <algorithm>
#include <cmath>
#include <fmt/format.h>

namespace kes::replay {

namespace {

constexpr double restCircle = 20.0 / metresPerNm;
constexpr std::int32_t reportedTicks = 2000;        ///< so long the reports have to keep to a place
constexpr std::int32_t stayTicks = 12000;           ///< reports that keep to a place for so long are a stay
constexpr double movedOn = 3.0 / metresPerNm;       ///< between two reports; less is noise
constexpr double stillMetres = 0.05;                ///< of a tenth of a second; anything less is no motion
constexpr double clearlyAside = 40.0 / metresPerNm; ///< of the line of the nose on the stand
constexpr double clearTurn = 20.0 * degToRad;
constexpr std::int32_t lookEvery = 10, clashEvery = 100;

/// The only stand near a place; null with none or several.
const Stand* onlyStandAt(LatLon at) {
    const Stand* found = nullptr;
    for (const Stand& stand : stands) {
        if (distanceNm(at, stand.position()) > restCircle)
            continue;
        if (found != nullptr)
            return nullptr;
        found = &stand;
    }
    return found;
}

bool isParked(const LiveAircraft& a) {
    return a.st == AircraftStatus::active && a.fs == FlightState::parked && a.sid != 0;
}

} // namespace

void ParkingJudge::takeNewestReport(std::int32_t base) {
    AircraftReport newest;
    reportQueue.copyNewest(newest);
    takeReport(newest.hexid, newest.sample.tick - base, newest.sample.position(), newest.sample.airborne);
}

/// `tick` is the replay's, at which the report is to be shown.
void ParkingJudge::takeReport(std::uint32_t hexid, std::int32_t tick, LatLon at, bool airborne) {
    if (const auto push = pushes_.find(hexid); push != pushes_.end() && push->second.real == 0) {
        const double off = std::sin(angleDiff(push->second.heading, bearingRad(push->second.stand, at))) *
                           distanceNm(push->second.stand, at);
        if (std::fabs(off) > clearlyAside)
            push->second.real = off > 0.0 ? 1 : -1;
        countPush(push->second);
    }
    Rest& rest = rests_[hexid];
    if (airborne) {
        rest.known = false;
        return;
    }
    if (!rest.known || distanceNm(rest.first, at) > restCircle) {
        rest = {at, at, tick, tick, tick, rest.known, true, false, rest.lastMove, rest.shown};
        return;
    }
    if (distanceNm(rest.at, at) > movedOn)
        rest.stopped = tick;
    rest.at = at;
    rest.last = tick;
}

void ParkingJudge::look(std::int32_t tick) {
    if (tick % lookEvery != 0)
        return;
    follow(tick);
    if (tick % clashEvery != 0)
        return;
    count();
    findClashes();
    for (auto& [hexid, rest] : rests_) {
        if (!rest.known || rest.judged || rest.last - rest.since < reportedTicks || tick < rest.since + stayTicks)
            continue;
        rest.judged = true;
        judge(hexid, rest, tick);
    }
}

void ParkingJudge::follow(std::int32_t tick) {
    for (const LiveAircraft& a : liveAircraft) {
        if (!a.onGround || a.st != AircraftStatus::active)
            continue;
        Rest& rest = rests_[a.hexid];
        if (distanceNm(rest.shown, a.position()) * metresPerNm > stillMetres)
            rest.lastMove = tick;
        rest.shown = a.position();
        followPush(a);
    }
}

void ParkingJudge::followPush(const LiveAircraft& a) {
    if (a.fs == FlightState::parked && a.sid != 0 && !a.pullOutDue) {
        pushes_[a.hexid] = {.stand = {a.standLat, a.standLon}, .heading = a.standHeading};
        return;
    }
    const auto at = pushes_.find(a.hexid);
    if (at == pushes_.end())
        return;
    Push& push = at->second;
    if (a.fs == FlightState::pushing_back) {
        push.pushed = true;
    } else if (push.pushed && push.shown == 0) {
        const double turn = angleDiff(push.heading, a.heading);
        if (std::fabs(turn) > clearTurn)
            push.shown = turn > 0.0 ? 1 : -1;
        push.pushed = false;
    }
    countPush(push);
}

void ParkingJudge::countPush(Push& push) {
    if (push.real == 0 || push.shown == 0 || push.counted)
        return;
    push.counted = true;
    ++measures_.pushBacks;
    measures_.pushBacksToRealSide += push.real == push.shown ? 1 : 0;
}

void ParkingJudge::judge(std::uint32_t hexid, const Rest& rest, std::int32_t tick) {
    const Stand* stand = onlyStandAt(rest.at);
    if (stand == nullptr)
        return;
    const Place place{0, tick};
    ++measures_.stays;
    measures_.arrivals += rest.rolledIn ? 1 : 0;
    measures_.standMetres.add(distanceNm(rest.at, stand->position()) * metresPerNm, place);
    const LiveAircraft* a = findLive(hexid);
    if (a == nullptr || a->st != AircraftStatus::active) {
        ++measures_.absent;
        return;
    }
    const bool parked = isParked(*a);
    ++(!parked ? measures_.onNone : a->sid == stand->sid ? measures_.onStand : measures_.onAnother);
    measures_.metres.add(distanceNm(rest.at, a->position()) * metresPerNm, place);
    if (rest.rolledIn)
        measures_.seconds.add(std::fabs((rest.lastMove - rest.stopped) / 100.0), place);
    if (parked)
        measures_.nose.add(std::fabs(angleDiff(a->heading, a->standHeading)) * radToDeg, place);
}

void ParkingJudge::count() {
    measures_.stands = std::max(measures_.stands, stands.size());
    const auto live = static_cast<std::size_t>(std::ranges::count_if(liveAircraft, isParked));
    const auto standing =
        static_cast<std::size_t>(std::ranges::count(parkedAircraft, AircraftStatus::active, &AiAircraft::st));
    measures_.mostParkedLive = std::max(measures_.mostParkedLive, live);
    measures_.mostStatic = std::max(measures_.mostStatic, standing);
}

void ParkingJudge::findClashes() {
    if (measures_.tableFault.empty())
        measures_.tableFault = checkStandTables();
    for (std::string& clash : standClashes())
        if (std::ranges::find(measures_.clashes, clash) == measures_.clashes.end())
            measures_.clashes.push_back(std::move(clash));
}

ParkingMeasures ParkingJudge::finish() {
    return measures_;
}

} // namespace kes::replay
