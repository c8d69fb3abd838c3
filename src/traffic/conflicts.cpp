// SPDX-License-Identifier: MIT
#include "traffic/conflicts.h"

#include "airports/static_parking.h"
#include "core/log.h"
#include "core/parameters.h"
#include "core/window.h"
#include "traffic/absence.h"
#include "traffic/live_table.h"
#include "traffic/parking.h"
#include "traffic/removal.h"

#include <algorithm>
#include <fmt/format.h>

namespace kes {

std::vector<std::string> ghostList;

namespace {

bool lives(const LiveAircraft& a) {
    return a.st != AircraftStatus::removingfromsim;
}

std::string_view withoutLast(std::string_view text) {
    return text.substr(0, text.empty() ? 0 : text.size() - 1);
}

} // namespace

void removeGhostOf(const LiveAircraft& aircraft) {
    const std::string ghost = aircraft.callsign + '_';
    const auto it =
        std::ranges::find_if(liveAircraft, [&](const LiveAircraft& a) { return lives(a) && a.callsign == ghost; });
    if (it == liveAircraft.end())
        return;
    if (par::LOG) {
        log(it->fs == FlightState::parked
                ? fmt::format("{:8}: {:8} is a ghost and will be removed, continue with {}", standName(it->sid), ghost,
                              aircraft.callsign)
                : fmt::format("          {:8} is a ghost and will be removed, continue with {}", ghost,
                              aircraft.callsign));
    }
    ghostList.push_back(ghost);
    removeAircraftFromSim(*it);
}

bool hasRealTwin(std::string_view ghostCallsign) {
    const std::string_view real = withoutLast(ghostCallsign);
    return std::ranges::any_of(liveAircraft, [&](const LiveAircraft& a) { return lives(a) && a.callsign == real; });
}

void applyBlocking() {
    // Cleared before the text is read: the window sets the text first, so a new one is seen now or at the next beat.
    windowRequests.blockNow = false;
    const std::string blocked = par::BLOCK_CALLSIGN.get();
    if (blocked.empty())
        return;
    const auto it = std::ranges::find_if(
        liveAircraft, [&](const LiveAircraft& a) { return a.st == AircraftStatus::active && a.callsign == blocked; });
    if (it == liveAircraft.end())
        return;
    tellLeaving(*it, "its callsign is blocked");
    removeAircraftFromSim(*it);
}

void removeParkedTwins() {
    for (const LiveAircraft& live : liveAircraft) {
        if (!live.onGround || live.st != AircraftStatus::active)
            continue;
        const std::string flight = live.callsign + '*';
        const auto it = std::ranges::find_if(parkedAircraft, [&](const AiAircraft& parked) {
            return parked.st == AircraftStatus::active &&
                   (parked.callsign == flight || (!live.regcode.empty() && parked.regcode == live.regcode));
        });
        if (it == parkedAircraft.end())
            continue;
        tellLeaving(*it, fmt::format("it is the live {}", live.callsign));
        removeAircraftFromSim(*it);
    }
}

void resetConflicts() {
    ghostList.clear();
}

} // namespace kes
