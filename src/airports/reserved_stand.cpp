// SPDX-License-Identifier: MIT
#include "airports/reserved_stand.h"

#include "airports/airport_ref.h"
#include "airports/live_parking.h"
#include "airports/object_removal.h"
#include "airports/park_airports.h"
#include "airports/parked_table.h"
#include "airports/stands.h"
#include "core/window.h"

#include <algorithm>
#include <fmt/format.h>
#include <optional>
#include <string_view>

namespace kes {

std::string reservedStand;

namespace {

constexpr double farthestNm = 900.0;
constexpr double onStandNm = 0.029697624190064796; ///< 55 metres
constexpr double standingKnots = 2.0;

struct Nearest {
    LatLon position;
    std::uint32_t sid = 0;
};
std::optional<Nearest> lastNearest;

std::uint32_t searchNearest(LatLon position) {
    std::uint32_t sid = 0;
    double best = farthestNm;
    for (const Stand& stand : stands) {
        const double d = distanceNm(position, stand.position());
        if (d <= onStandNm && d < best) {
            best = d;
            sid = stand.sid;
        }
    }
    return sid;
}

std::string idOf(std::uint32_t sid) {
    const Stand* stand = findStand(sid);
    return stand != nullptr ? stand->id : std::string();
}

Stand* findById(std::string_view id) {
    const auto it = std::ranges::find(stands, id, &Stand::id);
    return it == stands.end() ? nullptr : &*it;
}

/// The entry of the park airport, when it stands first in the list.
ParkAirportEntry* firstIfParkAirport() {
    if (!airportRef || parkAirportList.empty() || parkAirportList.front().code != airportRef->code)
        return nullptr;
    return &parkAirportList.front();
}

void setReserved(std::string_view id) {
    reservedStand = id;
    setReadout(Readout::keptStand, id);
    repaint();
}

/// A static aircraft goes, or, when there is none, a live one.
void clearStand(std::uint32_t sid) {
    const auto parked = std::ranges::find_if(
        parkedAircraft, [sid](const AiAircraft& a) { return a.sid == sid && a.st == AircraftStatus::active; });
    if (parked != parkedAircraft.end()) {
        removeAircraftFromSim(*parked);
        return;
    }
    if (liveParkingHooks.atStands == nullptr || liveParkingHooks.remove == nullptr)
        return;
    for (const LiveAtStand& live : liveParkingHooks.atStands()) {
        if (live.parked && live.active && live.sid == sid) {
            liveParkingHooks.remove(live.hexid);
            return;
        }
    }
}

/// The first entry takes the stand, and the file with it.
void learn(ParkAirportEntry& entry, std::uint32_t sid) {
    std::string id = idOf(sid);
    if (id.empty() || entry.stand == id)
        return;
    entry.stand = std::move(id);
    storeUserStand();
}

} // namespace

std::uint32_t nearestStand(LatLon position) {
    if (!userOnGround || stands.empty())
        return 0;
    if (!lastNearest || lastNearest->position.lat != position.lat || lastNearest->position.lon != position.lon)
        lastNearest = Nearest{position, searchNearest(position)};
    return lastNearest->sid;
}

void forgetNearestStand() {
    lastNearest.reset();
}

std::string standOfUser() {
    return userAircraft.known() ? idOf(nearestStand(userAircraft.position())) : std::string();
}

void reserveAtLoad() {
    forgetNearestStand();
    if (!airportRef)
        return;
    if (userAircraft.known()) {
        const std::uint32_t sid = nearestStand(userAircraft.position());
        if (ParkAirportEntry* first = firstIfParkAirport()) {
            learn(*first, sid);
        } else {
            putFirst({airportRef->code, idOf(sid), airportRef->lat, airportRef->lon, 0.0});
            storeUserStand();
        }
    }
    const ParkAirportEntry* first = firstIfParkAirport();
    setReserved(first != nullptr && findById(first->stand) != nullptr ? first->stand : std::string());
}

void markReserved() {
    if (Stand* stand = reservedStand.empty() ? nullptr : findById(reservedStand))
        stand->reserved = true;
    if (Stand* stand = userAircraft.known() ? findStand(nearestStand(userAircraft.position())) : nullptr)
        stand->reserved = true;
}

std::string reserveAnew() {
    const ParkAirportEntry* first = firstIfParkAirport();
    if (first == nullptr || first->stand.empty() || first->stand == reservedStand)
        return {};
    Stand* fresh = findById(first->stand);
    if (fresh == nullptr)
        return fmt::format("stand \"{}\" is unknown at {}", first->stand, first->code);
    std::string message = fmt::format("reserved stand changed from \"{}\" to \"{}\"", reservedStand, first->stand);
    if (Stand* old = findById(reservedStand))
        old->reserved = false;
    setReserved(first->stand);
    clearStand(fresh->sid);
    fresh->reserved = true;
    return message;
}

void forgetReserved() {
    forgetNearestStand();
    setReserved({});
}

void learnUserStand(const UserAircraft& user) {
    if (!user.known() || user.groundSpeed > standingKnots)
        return;
    if (ParkAirportEntry* first = firstIfParkAirport())
        learn(*first, nearestStand(user.position()));
}

bool userStandReserved() {
    return !reservedStand.empty();
}

void userStandStep() {
    if (!userAircraft.known())
        return;
    if (const std::uint32_t sid = nearestStand(userAircraft.position()); sid != 0)
        clearStand(sid);
}

} // namespace kes
