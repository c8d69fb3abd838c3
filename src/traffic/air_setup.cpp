#include "traffic/air_setup.h"

#include "airports/airport_ref.h"
#include "traffic/flight_phases.h"
#include "traffic/life_cycle.h"
#include "traffic/parking.h"

namespace kes {

namespace {

constexpr double highAltitude = 10000.0;  ///< feet
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

bool nearReference(const LiveAircraft& a) {
    return airportRef && distanceNm(a.position(), airportRef->position()) <= finalWithinNm;
}

void setHigh(LiveAircraft& a) {
    a.cruiseLights = true;
    a.lowLights = false;
    sendLights(a.objectid, {.cabin = true});
    setEngineLevel(a, 3);
    setGear(a, false);
    setFlapsLevel(a, 0);
}

void setMid(LiveAircraft& a, double vs) {
    setCabin(a, true);
    a.departing = a.approach = false;
    if (vs <= sinking && a.throttleIndex == 3)
        setEngineLevel(a, 2);
    if (vs > 400.0 && a.throttleIndex == 4 && hasWings(a))
        setThrottleLevel(a, 3);
    if (a.agl >= gearUpAgl) {
        setGear(a, false);
        setFlapsLevel(a, 0);
    } else if (vs <= 100.0) {
        if (a.flapsIndex == 0)
            setFlapsLevel(a, 1);
        else if (a.agl < flapsAgl && a.flapsIndex == 1)
            setFlapsLevel(a, 2);
    }
}

void goOnFinal(LiveAircraft& a) {
    setEngineLevel(a, 1);
    setFlapsLevel(a, 3);
    setGear(a, true);
    landingList.push_back(a.hexid);
    a.approach = true;
    a.climbing = false;
    emptyStand(a);
    widenWindow(a);
    a.rotationCount = 1;
}

void climbOut(LiveAircraft& a) {
    setThrottleLevel(a, 4);
    setGear(a, false);
    a.climbing = true;
    a.approach = false;
    setFlapsLevel(a, 0);
    a.flareStage = 0;
}

void setLow(LiveAircraft& a, double vs) {
    setCabin(a, false);
    if (vs <= sinking && !a.approach && nearReference(a))
        goOnFinal(a);
    if (vs > 600.0 || (vs > sinking && a.approach && !nearReference(a))) {
        if (!a.climbing)
            climbOut(a);
    }
}

} // namespace

void setAirConfiguration(LiveAircraft& a, const PositionSample& from) {
    if (from.alt >= highAltitude) {
        if (!a.cruiseLights)
            setHigh(a);
        return;
    }
    if (!a.lowLights) {
        a.lowLights = true;
        a.cruiseLights = false;
        sendLights(a.objectid, {.landing = true, .taxi = true, .strobes = true, .logo = true, .cabin = true});
    }
    if (a.agl > lowAgl(a.category))
        setMid(a, from.vs);
    else
        setLow(a, from.vs);
}

} // namespace kes
