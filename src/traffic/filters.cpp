// SPDX-License-Identifier: MIT
#include "traffic/filters.h"

#include "airports/airport_ref.h"
#include "core/folders.h"
#include "core/log.h"
#include "core/parameters.h"
#include "core/user_aircraft.h"
#include "core/window.h"
#include "platform/output.h"
#include "platform/system.h"
#include "reference/reference.h"
#include "traffic/absence.h"
#include "traffic/live_table.h"
#include "traffic/parking.h"
#include "traffic/removal.h"

#include <algorithm>
#include <cmath>
#include <fmt/format.h>

namespace kes {

std::int32_t maxLive = -1;

namespace {

constexpr double farther = 0.1;           ///< nautical miles
constexpr double doubtfulBelow = 10000.0; ///< feet
constexpr double doubtfulHeight = 120.0;  ///< feet, above or below the airport

bool isActive(const LiveAircraft& a) {
    return a.st == AircraftStatus::active;
}

std::size_t activeCount() {
    return static_cast<std::size_t>(std::ranges::count_if(liveAircraft, isActive));
}

/// Those on their way into the simulator are as good as there, wherever their request is.
std::size_t comingCount() {
    return static_cast<std::size_t>(std::ranges::count_if(liveAircraft, [](const LiveAircraft& a) {
        return a.st == AircraftStatus::adding2sim && !a.deleteNow && !a.deleteQueued;
    }));
}

std::size_t limit() {
    return static_cast<std::size_t>(std::max(maxLive, 0));
}

void select(std::uint32_t objectid) {
    readouts.selectedObject = objectid;
    setReadout(Readout::foundObject, objectid == 0 ? std::string() : fmt::format("= {}", objectid));
    repaint();
}

} // namespace

bool categorySwitchedOn(AircraftCategory category) {
    switch (category) {
    case AircraftCategory::light:
        return par::LIGHT_AIRCRAFT;
    case AircraftCategory::highPerf:
        return par::HIGH_PERF_AIRCRAFT;
    case AircraftCategory::rotorcraft:
        return par::HELICOPTERS;
    default:
        return true;
    }
}

bool nearReferenceElevation(double alt) {
    return alt > 0.0 && alt < doubtfulBelow && std::fabs(alt - referenceElevation()) <= doubtfulHeight;
}

bool passesCategorySwitch(std::string_view model, double alt) {
    return categorySwitchedOn(categoryOf(model)) && !nearReferenceElevation(alt);
}

bool removeFarthest(double distance) {
    LiveAircraft* farthest = nullptr;
    for (LiveAircraft& a : liveAircraft) {
        if (!isActive(a))
            continue;
        const double d = distanceNm(userAircraft.position(), a.position());
        if (d > distance + farther) {
            distance = d;
            farthest = &a;
        }
    }
    if (farthest == nullptr)
        return false;
    tellLeaving(*farthest, "MAX_LIVE is reached, and all others are nearer to you");
    removeAircraftFromSim(*farthest);
    return true;
}

bool makeRoomFor(const LiveAircraft& newcomer) {
    if (maxLive == -1)
        return true;
    if (activeCount() + comingCount() < limit())
        return true;
    const PositionSample& front = newcomer.stream.front();
    return removeFarthest(distanceNm(userAircraft.position(), {front.lat, front.lon}));
}

void applyMaxLive() {
    if (maxLive == -1)
        return;
    for (std::size_t count = activeCount(); count > limit(); --count)
        removeFarthest(-1.0);
}

void takeNewMaxLive() {
    windowRequests.maxLive = false; // first: a change from now on asks again
    maxLive = par::MAX_LIVE;
    applyMaxLive();
    // What was asked of the simulator under the old limit comes later.
    if (maxLive != -1 && activeCount() + comingCount() > limit())
        windowRequests.maxLive = true;
}

void writeCallsignList() {
    if (!par::CALLSIGN_OBJECTIDS || !par::MSFS_2020)
        return;
    std::vector<std::string> lines;
    for (const LiveAircraft& a : liveAircraft) {
        if (!isActive(a))
            continue;
        const std::string stand = a.fs == FlightState::parked ? fmt::format("Parked at {}", standName(a.sid)) : "";
        lines.push_back(fmt::format("{} {:9} {} {}: {} {}", a.onGround ? "Gnd" : "Air", a.callsign, a.airline, a.model,
                                    a.objectid, stand));
    }
    std::ranges::sort(lines);
    std::string content, error;
    for (const std::string& line : lines)
        content += line + '\n';
    if (!platform::writeSmallFile(path::callsign2ObjectId, content, error))
        log(fmt::format("{} could not be written: {}", platform::pathText(path::callsign2ObjectId), error));
}

void findCallsign(std::string_view text) {
    const auto it =
        std::ranges::find_if(liveAircraft, [&](const LiveAircraft& a) { return isActive(a) && a.callsign == text; });
    if (it != liveAircraft.end()) {
        select(it->objectid);
        return;
    }
    select(0);
    showStatus(fmt::format("callsign \"{}\" is unknown", text), false);
}

} // namespace kes
