// SPDX-License-Identifier: MIT
#include "traffic/light_sequence.h"

#include "airports/static_parking.h"
#include "core/log.h"
#include "core/parameters.h"
#include "traffic/controls.h"
#include "traffic/live_table.h"
#include "traffic/parking.h"
#include "traffic/removal.h"

#include <algorithm>
#include <fmt/format.h>
#include <vector>

namespace kes {

namespace {

constexpr std::int32_t toggleTicks[] = {50, 100};
constexpr std::int32_t sequenceTicks = 200;
constexpr double cabinLightAgl = 2000.0; ///< feet

struct LightSequence {
    std::uint32_t objectid = 0;
    std::uint32_t hexid = 0;
    std::int32_t ticks = 0;
};
std::vector<LightSequence> lightSequences;

void sendInitialSet(LiveAircraft& a, const Motion& m) {
    const std::int32_t idle = a.category == AircraftCategory::rotorcraft ? 4 : 0;
    if (!a.stream.empty() && a.stream.front().airborne) {
        m.out.event(a.objectid, event::engineStart, 0);
        setSpoilers(a, 0, m);
        const bool low = a.alt <= lowAltitude;
        sendLights(a.objectid, {.landing = low, .strobes = true, .logo = low, .cabin = a.agl >= cabinLightAgl}, m);
        return;
    }
    setSpoilers(a, 0, m);
    if (a.fs == FlightState::parked) {
        m.out.event(a.objectid, event::engineShutdown, 0);
        sendLights(a.objectid, {.nav = par::NAV_LIGHTS_WHILE_PARKED, .beacon = false, .logo = true, .cabin = true}, m);
        setThrottleLevel(a, idle, m);
        setFlapsLevel(a, 0, m);
        return;
    }
    const bool taxiing = a.fs == FlightState::taxi;
    m.out.event(a.objectid, event::engineStart, 0);
    sendLights(a.objectid, {.taxi = taxiing, .logo = true, .cabin = true}, m);
    setThrottleLevel(a, idle, m);
    setFlapsLevel(a, taxiing ? 1 : 0, m);
}

template <typename Record> void becomeActive(Record& a) {
    a.st = AircraftStatus::active;
    if (!a.removeWhenReady)
        return;
    a.removeWhenReady = false; // the removal takes the mark for one that still waits
    removeAircraftFromSim(a);
}

void endStaticSequence(AiAircraft& a, const Motion& m) {
    m.out.event(a.objectid, event::engineShutdown, 0);
    sendLights(a.objectid, {.nav = par::NAV_LIGHTS_WHILE_PARKED, .beacon = false, .logo = true, .cabin = !a.standCargo},
               m);
    if (par::LOG)
        log(fmt::format("{:8}: {:8} parked", standName(a.sid), a.callsign));
    becomeActive(a);
}

/// False = the sequence is over, or its aircraft has gone.
bool advanceSequence(LightSequence& sequence, const Motion& m) {
    if (sequence.hexid <= lastStaticHexid) {
        AiAircraft* parked = findParked(sequence.hexid);
        if (parked == nullptr || parked->objectid != sequence.objectid)
            return false;
        if (++sequence.ticks < sequenceTicks)
            return true;
        endStaticSequence(*parked, m);
        return false;
    }
    LiveAircraft* live = findLive(sequence.hexid);
    if (live == nullptr || live->objectid != sequence.objectid)
        return false;
    ++sequence.ticks;
    if (std::ranges::find(toggleTicks, sequence.ticks) != std::end(toggleTicks))
        sendAllLightsToggle(sequence.objectid);
    if (sequence.ticks < sequenceTicks)
        return true;
    sendInitialSet(*live, m);
    becomeActive(*live);
    return false;
}

} // namespace

void beginLightSequence(std::uint32_t objectid, std::uint32_t hexid) {
    lightSequences.push_back({objectid, hexid, 0});
}

void endLightSequence(std::uint32_t objectid) {
    std::erase_if(lightSequences, [&](const LightSequence& s) { return s.objectid == objectid; });
}

void advanceLightSequences(const Motion& m) {
    std::size_t kept = 0;
    for (LightSequence& sequence : lightSequences) {
        if (advanceSequence(sequence, m))
            lightSequences[kept++] = sequence;
    }
    lightSequences.resize(kept);
}

void clearLightSequences() {
    lightSequences.clear();
}

} // namespace kes
