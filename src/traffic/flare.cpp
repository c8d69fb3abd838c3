// SPDX-License-Identifier: MIT
#include "traffic/flare.h"

#include "traffic/controls.h"

#include <algorithm>
#include <array>

namespace kes {

namespace {

struct FlareRow {
    double height;  ///< feet above the standing aircraft
    double altStep; ///< feet per tick
    double vs;      ///< feet per minute
};
constexpr std::array<FlareRow, 4> flareRows{
    {{30, -0.1, -601}, {20, -0.075, -450}, {10, -0.05, -300}, {3, -0.025, -150}}};

/// Feet above the runway while the flare has not begun: the terrain on the way in may lie lower.
double heightForFlare(LiveAircraft& a, const Motion& m) {
    if (!a.runwayElevation && m.in.airport)
        a.runwayElevation = m.in.airport->elevation;
    a.flareHeight = a.runwayElevation ? a.alt - *a.runwayElevation : a.agl;
    return std::min(a.agl, a.flareHeight);
}

} // namespace

void flare(LiveAircraft& a, const Motion& m) {
    if (a.flareStage < 0 || a.flareStage >= static_cast<std::int32_t>(flareRows.size()))
        return; // waits for the touchdown
    const FlareRow& row = flareRows[static_cast<std::size_t>(a.flareStage)];
    if ((a.flareStage == 0 ? heightForFlare(a, m) : a.agl) > a.staticCg + row.height)
        return;
    if (a.flareStage == 0)
        a.pitchStep = (flarePitch - a.pitch) / a.flareTicks;
    else
        a.runwayElevation.reset();
    if (a.flareStage == 2)
        setThrottleLevel(a, 0, m);
    a.altStep = row.altStep;
    if (!a.stream.empty())
        a.stream.front().vs = row.vs;
    ++a.flareStage;
}

void derotate(LiveAircraft& a) {
    a.pitch += a.pitchStep;
    a.bank += a.bankStep;
    if (a.pitch > a.staticPitch) {
        a.pitch = a.staticPitch;
        a.bank = 0.0;
        a.pitchStep = a.bankStep = 0.0;
        a.derotating = false;
        a.flareStage = 0;
    }
}

void touchdown(LiveAircraft& aircraft, const Motion& m) {
    if (aircraft.st == AircraftStatus::removingfromsim || aircraft.fs == FlightState::take_off)
        return;
    if (aircraft.flareStage != 0 || aircraft.approach) {
        aircraft.derotating = aircraft.landingRoll = aircraft.landedSearch = true;
        aircraft.approach = false;
        aircraft.touchdownHeading = aircraft.heading;
        setSpoilers(aircraft, spoilersOut, m);
        setRollOutControls(aircraft, 100.0, aircraft.reverseThrust ? -100.0 : 100.0, m);
        aircraft.bankStep = -aircraft.bank / aircraft.derotateTicks;
        aircraft.pitchStep = (aircraft.staticPitch - aircraft.pitch) / aircraft.derotateTicks;
        m.out.landings.push_back(aircraft.hexid);
    }
    aircraft.onGround = true;
    aircraft.altStep = 0.0;
    aircraft.rotationCount = 1;
}

} // namespace kes
