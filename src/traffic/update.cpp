// One tick of the live aircraft.
#include "core/log.h"
#include "core/run_state.h"
#include "traffic/air_motion.h"
#include "traffic/ground_motion.h"
#include "traffic/life_cycle.h"
#include "traffic/life_cycle_parts.h"
#include "traffic/parking.h"
#include "traffic/tick_check.h"

#include <algorithm>
#include <fmt/format.h>

namespace kes {

namespace {

/// Ticks after the hand-over to the simulator after which nobody waits for an object any more.
constexpr std::int32_t longestCreation = 12000;

bool isMarked(const LiveAircraft& a) {
    return a.deleteNow || a.deleteQueued;
}

void nextPos(LiveAircraft& a, const Motion& m) {
    clearCurve(a);
    const PositionSample& front = a.stream[0];
    PositionSample& next = a.stream[1];
    if (!next.stopped && next.lat == front.lat && next.lon == front.lon)
        next.stopped = true;
    if (!next.stopped)
        a.targetHeading = bearingRad({front.lat, front.lon}, {next.lat, next.lon});
    if (a.onGround)
        named("nextPosGround", a, [&] { nextPosGround(a, m); });
    else
        named("nextPosAir", a, [&] { nextPosAir(a, m); });
    if (a.sz() < 2) { // the ground logic may cut a stream
        reportEmptyStream("nextPos", a);
        throw std::runtime_error("stream is empty");
    }
    PositionSample& target = a.stream[1];
    if (target.stopped) {
        a.latStep = 0.0;
        a.lonStep = 0.0;
        if (!a.landingRoll && !a.departing)
            shrinkWindow(a);
    } else {
        aimAt(a, target, ticksToGo(target, m));
        if (a.onGround)
            setupGroundLeg(a, m);
        else
            setupAirLeg(a, m);
    }
    a.stream.pop_front();
}

void beginLegs(LiveAircraft& a, const Motion& m) {
    for (;;) {
        if (a.sz() >= 2) {
            if (!a.onGround && a.stream[1].stopped && a.category != AircraftCategory::rotorcraft) {
                a.stream.erase(a.stream.begin() + 1);
                continue;
            }
            named("nextPos", a, [&] { nextPos(a, m); });
            return;
        }
        if (endOfStream(a, m))
            continue;
        if (a.fs != FlightState::parked) {
            learnStand(a, a.fs != FlightState::flying);
            removeAircraftFromSim(a);
        }
        return;
    }
}

void advanceOneTick(LiveAircraft& a, const Motion& m) {
    if (a.stream.empty()) {
        const std::string place = fmt::format("{:.6f},{:.6f}", a.lat, a.lon);
        log(fmt::format("{} stream empty ? {}, hexid:{}, objectid:{}, alt:{:.0f} ft, lalo:{}, TAS:{:.0f}",
                        "updateLiveAc", longLabel(a), a.hexid, a.objectid, a.alt, place, a.tasOut));
        removeAircraftFromSim(a);
        return;
    }
    if (m.in.tick >= a.stream.front().tick) {
        nextPosMain(a, m);
        a.vsOut = a.vsFpm / 60.0;
        a.tasOut = a.stream.empty() || a.stream.front().stopped ? 0.0 : a.tasLeg;
    }
    if (a.st != AircraftStatus::active || a.stream.empty())
        return;
    if (!a.stream.front().stopped)
        advancePosition(a, m);
    if (a.objectid == 0) {
        log(fmt::format("{} objectid=0? hexid: {},cs:{}, reg:{}, aimo:{} sz:{}", "updateLiveAc", a.hexid, a.callsign,
                        a.regcode, aimo(a), a.sz()));
        removeAircraftFromSim(a);
        return;
    }
    queuePosition({a.lat, a.lon, a.pitch, a.bank, a.heading, a.alt, a.vsOut, a.tasOut, a.objectid});
}

/// Not every lost object is told of: the simulator may have no room for it, or take it away before it was seen. The
/// record would keep its place for good; should the object come after all, it is taken away.
void giveUpCreation(LiveAircraft& a) {
    log(fmt::format("? {} has not come into the simulator", longLabel(a)));
    noteAbandoned(a.hexid);
    removeAircraftFromSim(a);
    a.deleteNow = true;
}

} // namespace

void nextPosMain(LiveAircraft& aircraft, const Motion& m) {
    named("nextPosMain", aircraft, [&] { beginLegs(aircraft, m); });
}

bool updateLiveAc(LiveAircraft& aircraft, const Motion& m) {
    if (aircraft.st == AircraftStatus::active)
        advanceOneTick(aircraft, m);
    else if (aircraft.st == AircraftStatus::buffer)
        spawnDecision(aircraft, m);
    else if (aircraft.st == AircraftStatus::adding2sim && aircraft.objectid == 0 && aircraft.askedTick >= 0 &&
             m.in.tick - aircraft.askedTick > longestCreation)
        giveUpCreation(aircraft);
    return isMarked(aircraft);
}

void updateLiveAircraft() {
    const Motion m = motionNow();
    bool dropAsked = false;
    for (LiveAircraft& a : liveAircraft) {
        try {
            if (updateLiveAc(a, m))
                dropAsked = true;
        } catch (const nwk::UserErrorException&) {
            throw;
        } catch (const std::exception& e) {
            log(aircraftTrouble("updateLiveAc", e.what(), a));
        }
    }
    if (dropAsked)
        compactLive();
#ifndef NDEBUG
    reportTickCheck();
#endif
}

} // namespace kes
