// SPDX-License-Identifier: MIT
#include "sim/definitions.h"

namespace kes {

using namespace simconnect;

namespace {

struct Datum {
    DWORD definition;
    const char* name;
    const char* unit;
    DataType type;
};

constexpr Datum data[] = {
    {def::title, "TITLE", "", DataType::stringV},
    {def::model, "ATC MODEL", "", DataType::string32},
    {def::onGround, "SIM ON GROUND", "Bool", DataType::int64},
    {def::position, "Plane Latitude", "degree", DataType::float64},
    {def::position, "Plane Longitude", "degree", DataType::float64},
    {def::position, "Plane Pitch degrees", "radians", DataType::float64},
    {def::position, "Plane Bank degrees", "radians", DataType::float64},
    {def::position, "Plane Heading degrees true", "radians", DataType::float64},
    {def::position, "Plane Altitude", "feet", DataType::float64},
    {def::position, "Vertical Speed", "feet per second", DataType::float64},
    {def::position, "Airspeed True", "knots", DataType::float64},
    {def::user, "Plane Latitude", "degree", DataType::float64},
    {def::user, "Plane Longitude", "degree", DataType::float64},
    {def::user, "Plane Pitch degrees", "radians", DataType::float64},
    {def::user, "Plane Bank degrees", "radians", DataType::float64},
    {def::user, "Plane Heading degrees true", "radians", DataType::float64},
    {def::user, "Plane Altitude", "feet", DataType::float64},
    {def::user, "Plane Alt Above Ground", "feet", DataType::float64},
    {def::user, "Ground Velocity", "knots", DataType::float64},
    {def::user, "ZULU TIME", "Seconds", DataType::int64},
    {def::user, "ZULU DAY OF YEAR", "Number", DataType::int64},
    {def::user, "ZULU YEAR", "Number", DataType::int64},
    {def::user, "LIGHT STATES", "Mask", DataType::int64},
    {def::staticData, "Static CG to Ground", "feet", DataType::float64},
    {def::staticData, "Static Pitch", "radians", DataType::float64},
    {def::lights, "Light On States", "Mask", DataType::int64},
    {def::range, "Plane Alt Above Ground", "feet", DataType::float64},
    {def::range, "Ground Altitude", "feet", DataType::float64},
    {def::range, "SIM ON GROUND", "Bool", DataType::int64},
    {def::range, "ATC ID", "", DataType::string32},
    {def::control, "SPOILERS HANDLE POSITION", "percent", DataType::float64},
    {def::control, "GENERAL ENG THROTTLE LEVER POSITION:1", "percent", DataType::float64},
    {def::control, "GENERAL ENG THROTTLE LEVER POSITION:2", "percent", DataType::float64},
};

struct Name {
    DWORD id;
    const char* name;
};

constexpr Name systemEvents[] = {
    {sysevent::sim, "Sim"},
    {sysevent::objectAdded, "ObjectAdded"},
    {sysevent::objectRemoved, "ObjectRemoved"},
    {sysevent::flightLoaded, "FlightLoaded"},
    {sysevent::frame, "Frame"},
};

constexpr Name clientEvents[] = {
    {event::gear, "GEAR_SET"},
    {event::engineStart, "ENGINE_AUTO_START"},
    {event::engineShutdown, "ENGINE_AUTO_SHUTDOWN"},
    {event::throttle, "THROTTLE_SET"},
    {event::flaps, "FLAPS_SET"},
    {event::spoilers, "SPOILERS_SET"},
    {event::navLights, "NAV_LIGHTS_SET"},
    {event::beaconLights, "BEACON_LIGHTS_SET"},
    {event::landingLights, "LANDING_LIGHTS_SET"},
    {event::taxiLights, "TAXI_LIGHTS_SET"},
    {event::strobes, "STROBES_SET"},
    {event::logoLights, "LOGO_LIGHTS_SET"},
    {event::cabinLights, "CABIN_LIGHTS_SET"},
    {event::allLightsToggle, "ALL_LIGHTS_TOGGLE"},
    {event::freezeLatLon, "FREEZE_LATITUDE_LONGITUDE_SET"},
    {event::freezeAltitude, "FREEZE_ALTITUDE_SET"},
    {event::freezeAttitude, "FREEZE_ATTITUDE_SET"},
};

constexpr DWORD groupMembers[] = {
    event::navLights, event::beaconLights, event::landingLights,  event::taxiLights,
    event::strobes,   event::logoLights,   event::cabinLights,    event::allLightsToggle,
    event::flaps,     event::spoilers,     event::gear,           event::engineShutdown,
    event::throttle,  event::freezeLatLon, event::freezeAltitude, event::freezeAttitude,
};

} // namespace

bool defineAll(HANDLE handle) {
    bool ok = true;
    for (const Datum& d : data)
        ok &= !failed(SimConnect_AddToDataDefinition(handle, d.definition, d.name, d.unit, d.type, 0.0F, unused));
    for (const Name& e : systemEvents)
        ok &= !failed(SimConnect_SubscribeToSystemEvent(handle, e.id, e.name));
    for (const Name& e : clientEvents)
        ok &= !failed(SimConnect_MapClientEventToSimEvent(handle, e.id, e.name));
    for (DWORD member : groupMembers)
        ok &= !failed(SimConnect_AddClientEventToNotificationGroup(handle, notificationGroup, member, true));
    ok &= !failed(SimConnect_SetNotificationGroupPriority(handle, notificationGroup, groupPriorityHighest));
    return ok;
}

} // namespace kes
