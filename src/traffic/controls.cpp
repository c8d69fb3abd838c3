// SPDX-License-Identifier: MIT
#include "traffic/controls.h"

#include <array>

namespace kes {

namespace {

constexpr std::array<std::uint32_t, 5> throttleValues{0, 4914, 8191, 11468, 16383};
constexpr std::array<std::uint32_t, 4> flapsValues{0, 3072, 10240, 16383};
constexpr std::int32_t rotorRuns = 4; ///< throttle level

/// To the simulator, object 0 is the user's own aircraft.
bool hasObject(const LiveAircraft& a) {
    return a.objectid != 0;
}

bool hasWings(const LiveAircraft& a) {
    return a.category != AircraftCategory::rotorcraft;
}

} // namespace

void setThrottleLevel(LiveAircraft& aircraft, std::int32_t level, const Motion& m) {
    if (level == 0 && !hasWings(aircraft))
        level = rotorRuns;
    if (!hasObject(aircraft) || level == aircraft.throttleIndex)
        return;
    m.out.event(aircraft.objectid, event::throttle, throttleValues.at(static_cast<std::size_t>(level)));
    aircraft.throttleIndex = level;
}

void setFlapsLevel(LiveAircraft& aircraft, std::int32_t level, const Motion& m) {
    if (!hasObject(aircraft) || !hasWings(aircraft) || level == aircraft.flapsIndex)
        return;
    m.out.event(aircraft.objectid, event::flaps, flapsValues.at(static_cast<std::size_t>(level)));
    aircraft.flapsIndex = level;
}

void setGear(LiveAircraft& aircraft, bool down, const Motion& m) {
    if (hasObject(aircraft) && hasWings(aircraft))
        m.out.event(aircraft.objectid, event::gear, down ? 1 : 0);
}

void setSpoilers(LiveAircraft& aircraft, std::uint32_t value, const Motion& m) {
    if (hasObject(aircraft) && hasWings(aircraft))
        m.out.event(aircraft.objectid, event::spoilers, value);
}

void setEngineLevel(LiveAircraft& aircraft, std::int32_t level, const Motion& m) {
    setThrottleLevel(aircraft, hasWings(aircraft) ? level : rotorRuns, m);
}

void setRollOutControls(const LiveAircraft& aircraft, double spoilers, double throttle, const Motion& m) {
    if (hasObject(aircraft) && hasWings(aircraft) && aircraft.category != AircraftCategory::light)
        m.out.controls.push_back({aircraft.objectid, spoilers, throttle});
}

void setCabin(const LiveAircraft& aircraft, bool on, const Motion& m) {
    if (hasObject(aircraft))
        m.out.event(aircraft.objectid, event::cabinLights, on);
}

void sendLights(std::uint32_t objectid, const Lights& lights, const Motion& m) {
    if (objectid == 0)
        return;
    m.out.event(objectid, event::navLights, lights.nav);
    m.out.event(objectid, event::beaconLights, lights.beacon);
    m.out.event(objectid, event::landingLights, lights.landing);
    m.out.event(objectid, event::taxiLights, lights.taxi);
    m.out.event(objectid, event::strobes, lights.strobes);
    m.out.event(objectid, event::logoLights, lights.logo);
    m.out.event(objectid, event::cabinLights, lights.cabin);
}

} // namespace kes
