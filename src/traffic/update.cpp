// SPDX-License-Identifier: MIT
#include "traffic/update.h"

#include "core/log.h"
#include "core/run_state.h"
#include "traffic/abandoned.h"
#include "traffic/advance.h"
#include "traffic/leg.h"
#include "traffic/live_table.h"
#include "traffic/removal.h"
#include "traffic/spawn.h"
#include "traffic/tick_check.h"
#include "traffic/trouble.h"

#include <algorithm>
#include <fmt/format.h>

namespace kes {

namespace {

/// Ticks after the hand-over to the simulator after which nobody waits for an object any more.
constexpr std::int32_t longestCreation = 12000;

bool isMarked(const LiveAircraft& a) {
    return a.deleteNow || a.deleteQueued;
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
