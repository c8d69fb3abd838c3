// SPDX-License-Identifier: MIT
#include "airports/static_creation.h"

#include "airports/airport_ref.h"
#include "airports/live_parking.h"
#include "airports/parked_table.h"
#include "airports/stands.h"
#include "core/log.h"
#include "core/parameters.h"
#include "core/window.h"
#include "liveries/matching.h"
#include "reference/reference.h"
#include "sim/orders.h"

#include <algorithm>
#include <fmt/format.h>
#include <utility>

namespace kes {

namespace {

/// A simulator that does not answer must not let a placement wait for ever: a minute, at two tries a second.
constexpr std::int32_t mostWaits = 120;
std::int32_t waitsLeft = 0;

bool isAdjacent(const Stand* stand, std::uint32_t sid) {
    return stand != nullptr && std::ranges::find(stand->adjacent, sid) != stand->adjacent.end();
}

std::string nameOf(const StaticPlacement& placement) {
    return fmt::format("{} {}", placement.airline, placement.model);
}

bool liveInTheWay(const StaticPlacement& placement, const Stand* stand) {
    if (liveParkingHooks.atStands == nullptr)
        return false;
    for (const LiveAtStand& live : liveParkingHooks.atStands()) {
        if (live.sid == 0)
            continue;
        const bool same = live.sid == placement.sid;
        if (!same && !isAdjacent(stand, live.sid))
            continue;
        if (par::LOG && same)
            log(fmt::format("{:8}: no static parking for {}, live aircraft {} standing here", standName(placement.sid),
                            nameOf(placement), live.callsign));
        else if (par::LOG)
            log(fmt::format("{:8}: no static parking for {}, live aircraft {} is adjacent at {}, possibly colliding",
                            standName(placement.sid), nameOf(placement), live.callsign, standName(live.sid)));
        return true;
    }
    return false;
}

const AiAircraft* staticInTheWay(const StaticPlacement& placement, const Stand* stand) {
    const AiAircraft* leaving = nullptr;
    for (const AiAircraft& a : parkedAircraft) {
        if (a.sid == 0 || (a.sid != placement.sid && !isAdjacent(stand, a.sid)))
            continue;
        if (a.st != AircraftStatus::removingfromsim)
            return &a;
        leaving = &a;
    }
    return leaving;
}

/// What left its stand a moment ago, above all the same aircraft under its other callsign, is soon gone.
bool canWaitFor(const AiAircraft& other) {
    return other.st == AircraftStatus::removingfromsim && waitsLeft > 0;
}

void create(const StaticPlacement& placement, const Stand& stand) {
    const std::uint32_t hexid = nextStaticHexid();
    if (hexid == 0)
        return;
    AiAircraft a;
    a.hexid = hexid;
    a.callsign =
        placement.coupledCs1.empty() ? fmt::format("{}{}{}", placement.airline, hexid, '*') : lf_detcs(placement);
    a.airline = placement.airline;
    a.model = placement.model;
    a.coupledCs1 = placement.coupledCs1;
    a.coupledCs2 = placement.coupledCs2;
    a.regcode = placement.regcode;
    a.category = categoryOf(a.model);
    a.wingspan = wingspanOf(a.model);
    a.standLat = stand.lat;
    a.standLon = stand.lon;
    a.standHeading = stand.heading;
    a.sid = stand.sid;
    a.standCargo = stand.cargo;
    if (!matchStatic(a, {stand.id, stand.cargo}))
        return;
    a.st = AircraftStatus::adding2sim;
    a.parkedAt = later(hhNow(), -placement.fit);
    CreateRequest request;
    request.lat = stand.lat;
    request.lon = stand.lon;
    request.alt = airportRef ? airportRef->elevation : 0.0;
    request.heading = stand.heading * radToDeg;
    request.onGround = 1;
    request.tailNumber = a.callsign;
    request.title = a.title;
    request.hexid = a.hexid;
    parkedAircraft.push_back(std::move(a));
    orderCreate(std::move(request));
}

} // namespace

std::string lf_detcs(const StaticPlacement& placement) {
    const bool second = placement.firstLeg ? placement.coupledCs1.empty() : !placement.coupledCs2.empty();
    std::string callsign = second ? placement.coupledCs2 : placement.coupledCs1;
    if (callsign.empty()) {
        log(fmt::format("{} callsign is empty..", "lf_detcs"));
        return callsign;
    }
    callsign.erase(callsign.find_last_not_of('_') + 1);
    if (!callsign.ends_with('*'))
        callsign += '*';
    return callsign;
}

void createNextStatic() {
    sweepParked();
    if (toPark.empty() || stands.empty())
        return;
    StaticPlacement placement = std::move(toPark.back());
    toPark.pop_back();
    const Stand* stand = findStand(placement.sid);
    if (liveInTheWay(placement, stand))
        return;
    if (const AiAircraft* other = staticInTheWay(placement, stand)) {
        if (canWaitFor(*other)) {
            --waitsLeft;
            toPark.insert(toPark.begin(), std::move(placement));
        } else if (par::LOG) {
            log(fmt::format("{:8}: no static parking for {}, static aircraft {} is adjacent at {}, possibly colliding",
                            standName(placement.sid), nameOf(placement), other->callsign, standName(other->sid)));
        }
        return;
    }
    if (stand == nullptr) {
        showStatus(fmt::format("stand with id {} not found", placement.sid), true);
        return;
    }
    create(placement, *stand);
}

bool staticAircraftWait() {
    return !toPark.empty();
}

void allowWaiting() {
    waitsLeft = mostWaits;
}

} // namespace kes
