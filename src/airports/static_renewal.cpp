// SPDX-License-Identifier: MIT
#include "airports/static_renewal.h"

#include "airports/airport_ref.h"
#include "airports/best_option.h"
#include "airports/live_parking.h"
#include "airports/object_removal.h"
#include "airports/parked_table.h"
#include "airports/placing.h"
#include "airports/reserved_stand.h"
#include "airports/stands.h"
#include "airports/static_creation.h"
#include "airports/static_plan.h"
#include "core/clock.h"
#include "core/log.h"
#include "core/parameters.h"
#include "reference/reference.h"

#include <algorithm>
#include <fmt/format.h>
#include <span>
#include <unordered_map>
#include <utility>
#include <vector>

namespace kes {

namespace {

constexpr std::int64_t msPerMinute = 60000;
constexpr std::int64_t longStand = 90, longHeavyStand = 180; ///< minutes
constexpr std::int32_t mostFit = 47;
constexpr std::size_t none = static_cast<std::size_t>(-1);

void renumberOptions() {
    for (Stand& stand : stands) {
        std::int32_t index = 0;
        for (ParkPosOption& option : stand.options)
            option.optIndex = ++index;
    }
}

void removeLive(std::uint32_t hexid) {
    if (liveParkingHooks.remove != nullptr)
        liveParkingHooks.remove(hexid);
}

/// Those that have stood long and are not seen any more go.
void findLiveStayers() {
    liveStayers.clear();
    if (liveParkingHooks.atStands == nullptr)
        return;
    const std::int64_t now = monotonicMs();
    for (LiveAtStand& live : liveParkingHooks.atStands()) {
        if (!live.parked || !live.active)
            continue;
        const std::int64_t minutes = live.feedAtStand ? 0 : (now - live.parkedTime) / msPerMinute;
        const std::int64_t most = live.category == AircraftCategory::heavy ? longHeavyStand : longStand;
        if (minutes > most && !par::INITIAL_LOAD_ONLY)
            removeLive(live.hexid);
        else
            liveStayers.push_back({std::move(live.callsign), live.sid, minutes, live.hexid, std::move(live.label)});
    }
    std::ranges::stable_sort(liveStayers, {}, &LiveStayer::minutes);
}

void removeLiveExcess() {
    if (wantedParked <= 0 || liveStayers.size() <= static_cast<std::size_t>(wantedParked))
        return;
    const std::size_t excess = liveStayers.size() - static_cast<std::size_t>(wantedParked);
    log(fmt::format("Parking adjustments: {} more live ac than wanted", excess));
    for (std::size_t n = 0; n < excess; ++n) {
        const LiveStayer& longest = liveStayers[liveStayers.size() - 1 - n];
        log(fmt::format("live parked {} at {} removed", longest.label, standName(longest.sid)));
        removeLive(longest.hexid);
    }
    findLiveStayers();
}

void markLiveStayers() {
    for (const LiveStayer& stayer : liveStayers) {
        Stand* stand = findStand(stayer.sid);
        if (stand == nullptr)
            continue;
        stand->occupied = true;
        for (const std::uint32_t sid : stand->adjacent)
            if (Stand* neighbour = findStand(sid))
                neighbour->neighbourTaken = true;
    }
}

/// The placements by their stands, of which none has two; those that lose are left out at the end.
class Placements {
public:
    Placements() : dropped_(toPark.size(), false), bySid_(stands.size() + 1, none) {
        for (std::size_t n = 0; n < toPark.size(); ++n)
            if (toPark[n].sid < bySid_.size())
                bySid_[toPark[n].sid] = n;
    }
    /// `none` when there is none left.
    std::size_t on(std::uint32_t sid) const {
        const std::size_t n = sid < bySid_.size() ? bySid_[sid] : none;
        return n == none || dropped_[n] ? none : n;
    }
    void drop(std::size_t n) { dropped_[n] = true; }
    void sweep() {
        std::size_t n = 0;
        std::erase_if(toPark, [&](const StaticPlacement&) { return dropped_[n++]; });
    }

private:
    std::vector<bool> dropped_;
    std::vector<std::size_t> bySid_;
};

bool isSame(const StaticPlacement& placement, const AiAircraft& a) {
    const auto isCallsign = [&](const std::string& callsign) {
        return !callsign.empty() && a.callsign == callsign + '*';
    };
    return placement.airline == a.airline && placement.model == a.model &&
           (isCallsign(placement.coupledCs1) || isCallsign(placement.coupledCs2));
}

/// Whether the placement's time lies after the one at which the aircraft parked.
bool isNewer(const StaticPlacement& placement, const AiAircraft& a, HhNow now) {
    return placement.fit < halfHoursSince(a.parkedAt, now);
}

/// The placements on adjacent stands that leave no room for the aircraft.
std::vector<std::size_t> colliding(const AiAircraft& a, const Placements& placements) {
    std::vector<std::size_t> found;
    const Stand* stand = findStand(a.sid);
    if (stand == nullptr)
        return found;
    for (const std::uint32_t sid : stand->adjacent) {
        const std::size_t n = placements.on(sid);
        const Stand* other = n == none ? nullptr : findStand(sid);
        if (other != nullptr &&
            wingspanOf(a.model) + wingspanOf(toPark[n].model) > distanceNm({a.standLat, a.standLon}, other->position()))
            found.push_back(n);
    }
    return found;
}

/// An option of the aircraft's stand still speaks for it: one for its kind, at any half-hour that the passes reached.
bool testRange(const AiAircraft& a, HhNow now) {
    const Stand* stand = findStand(a.sid);
    if (stand == nullptr)
        return false;
    const std::int32_t most = std::min(std::max(realFit, softFit), mostFit);
    std::uint64_t today = 0, before = 0; // half-hours of the two days
    for (std::int32_t fit = 0; fit <= most; ++fit) {
        const HhNow time = later(now, -fit);
        (time.day == now.day ? today : before) |= std::uint64_t{1} << time.slot;
    }
    const auto yesterday = static_cast<std::uint32_t>(later(now, -slotsPerDay).day);
    return std::ranges::any_of(stand->options, [&](const ParkPosOption& o) {
        if (o.airline != a.airline || o.model != a.model)
            return false;
        const bool anyDay = par::WEEK;
        return ((anyDay || o.day == static_cast<std::uint32_t>(now.day)) && (o.hours & today) != 0) ||
               ((anyDay || o.day == yesterday) && (o.hours & before) != 0);
    });
}

bool stays(const AiAircraft& a, Placements& placements, HhNow now) {
    if (liveCallsigns.contains(a.coupledCs1) || liveCallsigns.contains(a.coupledCs2))
        return false; // the real one is about
    std::vector<std::size_t> rivals;
    if (const std::size_t own = placements.on(a.sid); own != none)
        rivals.push_back(own);
    else
        rivals = colliding(a, placements);
    if (rivals.empty())
        return testRange(a, now);
    if (std::ranges::any_of(rivals, [&](std::size_t n) { return !isSame(toPark[n], a) && isNewer(toPark[n], a, now); }))
        return false;
    for (const std::size_t n : rivals)
        placements.drop(n);
    return true;
}

void judgeParked(HhNow now) {
    Placements placements;
    for (const AiAircraft& a : parkedAircraft) {
        if (a.st != AircraftStatus::active)
            continue;
        if (stays(a, placements, now))
            parkedStayers.push_back(
                {a.callsign, a.coupledCs1, a.coupledCs2, a.regcode, a.airline, a.model, a.parkedAt, a.sid, false});
        else
            toRemove.push_back({a.callsign, a.sid});
    }
    placements.sweep();
    std::ranges::stable_sort(parkedStayers, [now](const ParkedStayer& a, const ParkedStayer& b) {
        return halfHoursSince(a.parkedAt, now) > halfHoursSince(b.parkedAt, now);
    });
}

bool departsNext(const ParkedStayer& stayer, HhNow now) {
    const Stand* stand = findStand(stayer.sid);
    if (stand == nullptr || stayer.coupledCs1.empty() || stayer.coupledCs2.empty() ||
        stayer.callsign.find(stayer.coupledCs1) == std::string::npos)
        return false;
    const auto own = std::ranges::find_if(stand->options, [&](const ParkPosOption& o) {
        return o.day == static_cast<std::uint32_t>(now.day) && o.airline == stayer.airline && o.model == stayer.model &&
               o.coupledCs1 + '*' == stayer.callsign;
    });
    return own != stand->options.end() && !standsOneMore(*stand, *own, now);
}

/// Aircraft that leave soon are to stand there with the callsign of their departure.
void turnOver(HhNow now) {
    for (ParkedStayer& stayer : parkedStayers) {
        stayer.turnover = departsNext(stayer, now);
        if (!stayer.turnover)
            continue;
        toPark.push_back({stayer.sid, stayer.parkedAt.slot, stayer.airline, stayer.model, stayer.coupledCs1,
                          stayer.coupledCs2, stayer.regcode, false});
        toRemove.push_back({stayer.callsign, stayer.sid});
    }
    std::erase_if(parkedStayers, [](const ParkedStayer& stayer) { return stayer.turnover; });
}

void cutToWanted() {
    sortByFit(false);
    const auto isAbove = [] {
        return toPark.size() + parkedStayers.size() + liveStayers.size() >
               static_cast<std::size_t>(std::max(wantedParked, 0));
    };
    while (isAbove() && !toPark.empty())
        toPark.pop_back();
    while (isAbove() && !parkedStayers.empty()) {
        toRemove.push_back({parkedStayers.back().callsign, parkedStayers.back().sid});
        parkedStayers.pop_back();
    }
    while (isAbove() && !liveStayers.empty() && !par::INITIAL_LOAD_ONLY) {
        removeLive(liveStayers.back().hexid);
        liveStayers.pop_back();
    }
}

void removeListed() {
    std::unordered_map<std::uint32_t, std::vector<AiAircraft*>> bySid;
    for (AiAircraft& a : parkedAircraft)
        if (a.st == AircraftStatus::active || a.st == AircraftStatus::removingfromsim)
            bySid[a.sid].push_back(&a);
    for (const ParkedToRemove& entry : toRemove)
        for (AiAircraft* a : bySid[entry.sid])
            if (a->callsign == entry.callsign)
                removeAircraftFromSim(*a);
    sweepParked();
}

} // namespace

void renewParking(std::set<std::string> callsigns) {
    if (!airportRef || stands.empty())
        return;
    const HhNow now = hhNow();
    logTimeLine();
    liveCallsigns = std::move(callsigns);
    startPlacing();
    sweepParked();
    clearPlan();
    renumberOptions();
    markReserved();
    setWanted();
    findLiveStayers();
    removeLiveExcess();
    markLiveStayers();
    const auto have = static_cast<std::int32_t>(liveStayers.size());
    if (wantedParked - have > 0)
        runPasses(have);
    judgeParked(now);
    turnOver(now);
    cutToWanted();
    sortByFit(true);
    log(fmt::format("Parking adjustments: {} to be removed, {} to be added\n", toRemove.size(), toPark.size()));
    removeListed();
    allowWaiting();
}

} // namespace kes
