// SPDX-License-Identifier: MIT
#include "traffic/stand_conflicts.h"

#include "airports/object_removal.h"
#include "airports/stand_learning.h"
#include "airports/stand_search.h"
#include "airports/static_parking.h"
#include "core/log.h"
#include "core/parameters.h"
#include "traffic/conflicts.h"
#include "traffic/live_table.h"

#include <algorithm>
#include <fmt/format.h>
#include <string>
#include <string_view>

namespace kes {

namespace {

template <typename... Args> void tell(fmt::format_string<Args...> text, Args&&... args) {
    if (par::LOG)
        log(fmt::format(text, std::forward<Args>(args)...));
}

std::string_view withoutLastSign(std::string_view text) {
    return text.substr(0, text.empty() ? 0 : text.size() - 1);
}

bool isActive(const AiAircraft& a) {
    return a.st == AircraftStatus::active;
}

bool isPlaced(const Stand& stand) {
    return stand.lat != 0.0 || stand.lon != 0.0;
}

/// Both have no room for each other on the two stands. False where a stand has no position.
bool collide(const AiAircraft& a, const AiAircraft& b, const Stand& standA, const Stand& standB) {
    return isPlaced(standA) && isPlaced(standB) &&
           spansMeet(a.wingspan, b.wingspan, standA.position(), standB.position());
}

bool parksOrPushes(const LiveAircraft& a) {
    return isActive(a) && (a.fs == FlightState::parked || a.fs == FlightState::pushing_back);
}

/// Among static aircraft of one stand the first that is in the simulator.
AiAircraft* activeStaticOn(std::uint32_t sid) {
    const auto it =
        std::ranges::find_if(parkedAircraft, [&](const AiAircraft& a) { return isActive(a) && a.sid == sid; });
    return it == parkedAircraft.end() ? nullptr : &*it;
}

std::string makeWayText(const AiAircraft& parked, const LiveAircraft& live) {
    const bool same = parked.coupledCs1 == live.callsign || parked.regcode == live.regcode;
    return fmt::format("{:8}: {:8} {} makes way for{} {} {}", standName(parked.sid), parked.callsign, parked.regcode,
                       same ? " the same live version" : "", live.callsign, live.regcode);
}

void clearStandOfStatic(const LiveAircraft& live, const Stand& stand) {
    const auto it = std::ranges::find(parkedAircraft, stand.sid, &AiAircraft::sid);
    if (it == parkedAircraft.end())
        return;
    if (it->st == AircraftStatus::active) {
        tell("{}", makeWayText(*it, live));
        removeAircraftFromSim(*it);
    } else if (it->st == AircraftStatus::adding2sim) {
        removeAircraftFromSim(*it); // takes the request back, or marks it
        if (it->deleteQueued)
            tell("queued {}", makeWayText(*it, live));
    }
    std::erase_if(parkedAircraft, [](const AiAircraft& a) { return a.deleteQueued; });
}

/// What a live aircraft and a static one have in common; empty = nothing, so both may stay.
std::string sameAs(const LiveAircraft& live, const AiAircraft& parked) {
    const std::string_view place = live.onGround ? "on ground" : "airborne";
    if (!live.regcode.empty() && parked.regcode == live.regcode)
        return fmt::format("{:8}: {:8} {} removed, new {} {} has same regcode {}", standName(parked.sid),
                           parked.callsign, parked.regcode, place, live.callsign, live.regcode);
    const auto is = [&](std::string_view callsign) {
        return !callsign.empty() && (callsign == parked.coupledCs1 || callsign == parked.coupledCs2);
    };
    if (!is(live.callsign) && !is(live.coupledCs2) && !(isGhost(live.callsign) && is(withoutLastSign(live.callsign))))
        return {};
    return fmt::format("{:8}: {:8} \"{} {}\" removed, new {} {} \"{} {}\" has {} callsign", standName(parked.sid),
                       parked.callsign, parked.coupledCs1, parked.coupledCs2, place, live.callsign, live.coupledCs1,
                       live.coupledCs2, parked.coupledCs1 == live.callsign ? "same" : "coupled");
}

} // namespace

bool offerStand(const LiveAircraft& newcomer, std::uint32_t sid) {
    const auto it = std::ranges::find_if(liveAircraft, [&](const LiveAircraft& a) {
        return isActive(a) && a.sid == sid &&
               (a.fs == FlightState::parked || a.fs == FlightState::pushing_back || a.fs == FlightState::pushed_back);
    });
    if (it == liveAircraft.end())
        return true;
    const std::string& n = newcomer.callsign;
    const std::string& e = it->callsign;
    if (n == e) {
        tell("{:8}: {:8} ac with same callsign {} wants it, remove existing ... ", standName(sid), e, n);
    } else if (withoutLastSign(n) == e) {
        return false;
    } else if (n == withoutLastSign(e) || (isGhost(e) && !isGhost(n))) {
        tell("{:8}: {:8} ghost, replace by {}", standName(sid), e, n);
    } else if ((isGhost(n) && !isGhost(e)) || it->feedAtStand) {
        return false;
    } else {
        tell("{:8}: {:8} removed because another live {} wants the stand ...", standName(sid), e, n);
    }
    removeAircraftFromSim(*it);
    return true;
}

bool neighbourInTheWay(const LiveAircraft& newcomer, const Stand& stand) {
    return std::ranges::any_of(stand.adjacent, [&](std::uint32_t sid) {
        const Stand* neighbour = findStand(sid);
        return neighbour != nullptr && std::ranges::any_of(liveAircraft, [&](const LiveAircraft& a) {
                   return a.sid == sid && parksOrPushes(a) && a.callsign != newcomer.callsign &&
                          (!isPlaced(stand) || !isPlaced(*neighbour) || collide(a, newcomer, *neighbour, stand));
               });
    });
}

void clearForParking(const LiveAircraft& aircraft, const Stand& stand) {
    for (LiveAircraft& a : liveAircraft) {
        if (a.sid == stand.sid && a.hexid != aircraft.hexid && isActive(a) && a.fs == FlightState::parked) {
            log(fmt::format("{:8}: {:8} removed, {} wants to park there", stand.id, a.callsign, aircraft.callsign));
            removeAircraftFromSim(a);
        }
    }
    for (const std::uint32_t sid : stand.adjacent) {
        const Stand* neighbour = findStand(sid);
        if (neighbour == nullptr)
            continue;
        for (LiveAircraft& a : liveAircraft) {
            if (a.sid != sid || !parksOrPushes(a) || !collide(a, aircraft, *neighbour, stand))
                continue;
            log(fmt::format("{:8}: {:8} removed by parking {} at adjacent and possibly colliding stand {}", stand.id,
                            a.callsign, aircraft.callsign, neighbour->id));
            removeAircraftFromSim(a);
        }
    }
}

void makeWay(const LiveAircraft& live, const Stand& stand) {
    clearStandOfStatic(live, stand);
    for (const std::uint32_t sid : stand.adjacent) {
        AiAircraft* parked = activeStaticOn(sid);
        const Stand* neighbour = findStand(sid);
        if (parked == nullptr || neighbour == nullptr || !collide(*parked, live, *neighbour, stand))
            continue;
        tell("{:8}: {:8} removed by {} parking at adjacent stand {}", neighbour->id, parked->callsign, live.callsign,
             stand.id);
        removeAircraftFromSim(*parked);
    }
}

void replaceParked(LiveAircraft& aircraft) {
    if (!aircraft.coupledSearched) {
        lf_searchForCoupledCsAroundThisTime(hhNow(), aircraft);
        aircraft.coupledSearched = true;
    }
    if (!aircraft.callsign.empty()) {
        for (AiAircraft& parked : parkedAircraft) {
            if (!isActive(parked))
                continue;
            const std::string reason = sameAs(aircraft, parked);
            if (reason.empty())
                continue;
            tell("{}", reason);
            removeAircraftFromSim(parked);
            break;
        }
    }
    const auto it = std::ranges::find(landingList, aircraft.hexid);
    if (it != landingList.end())
        landingList.erase(it);
}

} // namespace kes
