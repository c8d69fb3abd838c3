// SPDX-License-Identifier: MIT
#include "traffic/air_setup.h"

#include "traffic/controls.h"
#include "traffic/leg_timing.h"
#include "traffic/parking.h"

namespace kes {

namespace {

constexpr double lowAglAirliner = 2050.0; ///< feet
constexpr double lowAglOthers = 625.0;    ///< feet
constexpr double gearUpAgl = 2400.0;      ///< feet
constexpr double flapsAgl = 2000.0;       ///< feet
constexpr double finalWithinNm = 10.0;
constexpr double sinking = -250.0; ///< feet per minute

bool hasWings(const LiveAircraft& a) {
    return a.category != AircraftCategory::rotorcraft;
}

double lowAgl(AircraftCategory category) {
    const bool airliner = category == AircraftCategory::buzjets || category == AircraftCategory::large ||
                          category == AircraftCategory::heavy;
    return airliner ? lowAglAirliner : lowAglOthers;
}

bool nearReference(const LiveAircraft& a, const Motion& m) {
    return m.in.airport && distanceNm(a.position(), m.in.airport->position) <= finalWithinNm;
}

void setHigh(LiveAircraft& a, const Motion& m) {
    a.cruiseLights = true;
    a.lowLights = false;
    sendLights(a.objectid, {.cabin = true}, m);
    setEngineLevel(a, 3, m);
    setGear(a, false, m);
    setFlapsLevel(a, 0, m);
}

void setMid(LiveAircraft& a, double vs, const Motion& m) {
    setCabin(a, true, m);
    a.departing = a.approach = false;
    if (vs <= sinking && a.throttleIndex == 3)
        setEngineLevel(a, 2, m);
    if (vs > 400.0 && a.throttleIndex == 4 && hasWings(a))
        setThrottleLevel(a, 3, m);
    if (a.agl >= gearUpAgl) {
        setGear(a, false, m);
        setFlapsLevel(a, 0, m);
    } else if (vs <= 100.0) {
        if (a.flapsIndex == 0)
            setFlapsLevel(a, 1, m);
        else if (a.agl < flapsAgl && a.flapsIndex == 1)
            setFlapsLevel(a, 2, m);
    }
}

void goOnFinal(LiveAircraft& a, const Motion& m) {
    setEngineLevel(a, 1, m);
    setFlapsLevel(a, 3, m);
    setGear(a, true, m);
    m.out.landings.push_back(a.hexid);
    a.approach = true;
    a.climbing = false;
    emptyStand(a);
    widenWindow(a);
    a.rotationCount = 1;
}

void climbOut(LiveAircraft& a, const Motion& m) {
    setThrottleLevel(a, 4, m);
    setGear(a, false, m);
    a.climbing = true;
    a.approach = false;
    setFlapsLevel(a, 0, m);
    a.flareStage = 0;
}

void setLow(LiveAircraft& a, double vs, const Motion& m) {
    setCabin(a, false, m);
    if (vs <= sinking && !a.approach && nearReference(a, m))
        goOnFinal(a, m);
    if (vs > 600.0 || (vs > sinking && a.approach && !nearReference(a, m))) {
        if (!a.climbing)
            climbOut(a, m);
    }
}

} // namespace

void setAirConfiguration(LiveAircraft& a, const PositionSample& from, const Motion& m) {
    if (from.alt >= lowAltitude) {
        if (!a.cruiseLights)
            setHigh(a, m);
        return;
    }
    if (!a.lowLights) {
        a.lowLights = true;
        a.cruiseLights = false;
        sendLights(a.objectid, {.landing = true, .taxi = true, .strobes = true, .logo = true, .cabin = true}, m);
    }
    if (a.agl > lowAgl(a.category))
        setMid(a, from.vs, m);
    else
        setLow(a, from.vs, m);
}

} // namespace kes
