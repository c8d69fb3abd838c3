// SPDX-License-Identifier: MIT
#include "tools/replay/stand_check.h"

#include "airports/parked_table.h"
#include "airports/stands.h"
#include "airports/static_plan.h"
#include "reference/reference.h"
#include "traffic/live_table.h"

#include <algorithm>
#include <fmt/format.h>
#include <set>
#include <string_view>

namespace kes::replay {

namespace {

constexpr double circlesShort = 1.1, widerThanStands = 2 * 1.8 / metresPerNm;

struct Standing {
    std::string_view callsign;
    std::uint32_t sid = 0;
    double halfSpan = 0; ///< nautical miles
    LatLon at;
    bool isStatic = false;
};

std::vector<Standing> allStanding() {
    std::vector<Standing> list;
    for (const AiAircraft& a : parkedAircraft)
        if (a.st == AircraftStatus::active && a.sid != 0)
            list.push_back({a.callsign, a.sid, wingspanOf(a.model), {a.standLat, a.standLon}, true});
    for (const LiveAircraft& a : liveAircraft)
        if (a.st == AircraftStatus::active && a.fs == FlightState::parked && a.sid != 0 && !a.pullOutDue)
            list.push_back({a.callsign, a.sid, a.wingspan, a.position(), false});
    return list;
}

bool neighbours(std::uint32_t a, std::uint32_t b) {
    const Stand* stand = findStand(a);
    return stand != nullptr && std::ranges::find(stand->adjacent, b) != stand->adjacent.end();
}

bool overlap(const Standing& a, const Standing& b) {
    const double spans = a.halfSpan + b.halfSpan, distance = distanceNm(a.at, b.at);
    return spans > distance && (neighbours(a.sid, b.sid) || spans > distance * circlesShort + widerThanStands);
}

bool held(const AiAircraft& a) {
    return a.sid != 0 && (a.st == AircraftStatus::active || a.st == AircraftStatus::adding2sim) && !a.deleteQueued;
}

std::string checkNumbers() {
    std::set<std::string_view> ids;
    for (std::size_t i = 0; i < stands.size(); ++i) {
        if (stands[i].sid != i + 1)
            return fmt::format("stand out of place: {}", stands[i].id);
        if (!ids.insert(stands[i].id).second)
            return fmt::format("stand twice: {}", stands[i].id);
    }
    std::set<std::uint32_t> hexids, objects;
    for (const AiAircraft& a : parkedAircraft) {
        if (a.sid > stands.size())
            return fmt::format("no such stand: {} of {}", a.sid, a.callsign);
        if (!hexids.insert(a.hexid).second)
            return fmt::format("static hexid twice: {}", a.hexid);
        if (a.objectid != 0 && !objects.insert(a.objectid).second)
            return fmt::format("static object twice: {}", a.objectid);
    }
    for (const LiveAircraft& a : liveAircraft) {
        if (a.sid > stands.size())
            return fmt::format("no such stand: {} of live {}", a.sid, a.callsign);
        if (a.objectid != 0 && !objects.insert(a.objectid).second)
            return fmt::format("object twice: {} of live {}", a.objectid, a.callsign);
    }
    return {};
}

std::string checkHeld() {
    std::vector<const AiAircraft*> holder(stands.size() + 1, nullptr);
    for (const AiAircraft& a : parkedAircraft) {
        if (!held(a))
            continue;
        if (const AiAircraft* other = holder[a.sid])
            return fmt::format("stand held twice: {} by {} and {}", standName(a.sid), other->callsign, a.callsign);
        holder[a.sid] = &a;
    }
    for (const Stand& stand : stands)
        for (const std::uint32_t sid : stand.adjacent)
            if (holder[stand.sid] != nullptr && holder[sid] != nullptr)
                return fmt::format("neighbours held: {} by {}, {} by {}", stand.id, holder[stand.sid]->callsign,
                                   standName(sid), holder[sid]->callsign);
    std::set<std::uint32_t> planned;
    for (const StaticPlacement& p : toPark)
        if (p.sid == 0 || p.sid > stands.size() || !planned.insert(p.sid).second)
            return fmt::format("planned twice: {}", p.sid);
    return {};
}

} // namespace

std::vector<std::string> standClashes() {
    std::vector<std::string> clashes;
    const std::vector<Standing> all = allStanding();
    for (std::size_t i = 0; i < all.size(); ++i) {
        for (std::size_t j = i + 1; j < all.size(); ++j) {
            const Standing &x = all[i], &y = all[j];
            if (x.sid == y.sid)
                clashes.push_back(
                    fmt::format("two on one stand: {} and {} on {}", x.callsign, y.callsign, standName(x.sid)));
            else if ((x.isStatic || y.isStatic) && overlap(x, y))
                clashes.push_back(fmt::format("static aircraft inside another: {} on {}, {} on {}", x.callsign,
                                              standName(x.sid), y.callsign, standName(y.sid)));
        }
    }
    return clashes;
}

std::string checkStandTables() {
    std::string violation = checkNumbers();
    return violation.empty() ? checkHeld() : violation;
}

} // namespace kes::replay
