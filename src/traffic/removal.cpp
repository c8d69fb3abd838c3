// SPDX-License-Identifier: MIT
#include "traffic/removal.h"

#include "core/log.h"
#include "core/run_state.h"
#include "sim/orders.h"
#include "traffic/absence.h"
#include "traffic/live_table.h"

#include <algorithm>
#include <fmt/format.h>

namespace kes {

namespace {

void respawn(LiveAircraft& a) {
    PositionSample here = a.stream.at(0);
    PositionSample& front = a.stream.front();
    if (a.fs == FlightState::parked) {
        a.stream.resize(1);
        front.stopped = true;
        front.track = a.heading * radToDeg;
        here.stopped = true;
    } else {
        here.lat = a.lat;
        here.lon = a.lon;
        here.bank = a.bank;
        here.bankValid = true;
        here.alt = a.alt;
        if (front.lat == a.lat && front.lon == a.lon)
            front.stopped = true;
    }
    here.tick = tickCount + 1;
    a.stream.push_front(here);
    a.st = AircraftStatus::liveryrespawn;
    a.respawnHeading = a.heading;
    clearSelection(a.objectid);
    if (a.objectid == 0) {
        log(fmt::format("{} removing act {} with objectid=0 ?", "liveryRespawn", longLabel(a)));
        a.deleteNow = true; // no object will be reported as gone
    }
    orderRemoval(a.objectid);
}

} // namespace

void liveryRespawn(LiveAircraft& aircraft) {
    try {
        respawn(aircraft);
    } catch (const std::exception& e) {
        log(fmt::format("{}: {}", "liveryRespawn", e.what()));
    }
}

void removeAllLiveForLostSource() {
    if (userClosed)
        return;
    bool dropAsked = false;
    for (LiveAircraft& a : liveAircraft) {
        if (a.st == AircraftStatus::active || (a.st == AircraftStatus::adding2sim && !a.deleteQueued)) {
            tellLeaving(a, "the traffic source has gone");
            removeAircraftFromSim(a);
        }
        dropAsked = dropAsked || a.deleteQueued;
    }
    if (dropAsked)
        compactLive();
}

} // namespace kes
