// SPDX-License-Identifier: MIT
#include "world/simulator/client_events.h"

#include "core/text.h"

#include <algorithm>

namespace kes::world {

namespace {

struct Row {
    std::string_view name;
    ClientEvent event;
    std::uint32_t lightBit = 0;
};

constexpr Row rows[] = {
    {"NAV_LIGHTS_SET", ClientEvent::navLights, light::nav},
    {"BEACON_LIGHTS_SET", ClientEvent::beaconLights, light::beacon},
    {"LANDING_LIGHTS_SET", ClientEvent::landingLights, light::landing},
    {"TAXI_LIGHTS_SET", ClientEvent::taxiLights, light::taxi},
    {"STROBES_SET", ClientEvent::strobes, light::strobe},
    {"LOGO_LIGHTS_SET", ClientEvent::logoLights, light::logo},
    {"CABIN_LIGHTS_SET", ClientEvent::cabinLights, light::cabin},
    {"ALL_LIGHTS_TOGGLE", ClientEvent::allLightsToggle},
    {"FREEZE_LATITUDE_LONGITUDE_SET", ClientEvent::freezeLatLon},
    {"FREEZE_ALTITUDE_SET", ClientEvent::freezeAltitude},
    {"FREEZE_ATTITUDE_SET", ClientEvent::freezeAttitude},
    {"GEAR_SET", ClientEvent::gear},
    {"FLAPS_SET", ClientEvent::flaps},
    {"SPOILERS_SET", ClientEvent::spoilers},
    {"THROTTLE_SET", ClientEvent::throttle},
    {"THROTTLE1_SET", ClientEvent::throttle1},
    {"THROTTLE2_SET", ClientEvent::throttle2},
    {"ENGINE_AUTO_START", ClientEvent::engineStart},
    {"ENGINE_AUTO_SHUTDOWN", ClientEvent::engineShutdown},
};

double percentOf(std::uint32_t value, double least) {
    return std::clamp(static_cast<std::int32_t>(value) * 100.0 / 16383.0, least, 100.0);
}

} // namespace

ClientEvent clientEventOf(std::string_view name) {
    for (const Row& row : rows)
        if (equalsNoCase(row.name, name))
            return row.event;
    const bool own = name.starts_with('#') || name.find('.') != std::string_view::npos;
    return own ? ClientEvent::other : ClientEvent::unknown;
}

std::string_view nameOf(ClientEvent event) {
    for (const Row& row : rows)
        if (row.event == event)
            return row.name;
    return "other";
}

void applyClientEvent(SimObject& object, ClientEvent event, std::uint32_t value) {
    const bool on = value != 0;
    switch (event) {
    case ClientEvent::allLightsToggle:
        object.lights = (object.lights & light::all) != 0 ? object.lights & ~light::all : object.lights | light::all;
        break;
    case ClientEvent::freezeLatLon:
        object.freezeLatLon = on;
        break;
    case ClientEvent::freezeAltitude:
        object.freezeAltitude = on;
        break;
    case ClientEvent::freezeAttitude:
        object.freezeAttitude = on;
        break;
    case ClientEvent::gear:
        object.gear = on;
        break;
    case ClientEvent::flaps:
        object.flaps = percentOf(value, 0.0);
        break;
    case ClientEvent::spoilers:
        object.spoilers = percentOf(value, 0.0);
        break;
    case ClientEvent::throttle:
        std::fill(std::begin(object.throttle), std::end(object.throttle), percentOf(value, -100.0));
        break;
    case ClientEvent::throttle1:
        object.throttle[0] = percentOf(value, -100.0);
        break;
    case ClientEvent::throttle2:
        object.throttle[1] = percentOf(value, -100.0);
        break;
    case ClientEvent::engineStart:
        object.engines = true;
        break;
    case ClientEvent::engineShutdown:
        object.engines = false;
        break;
    case ClientEvent::other:
    case ClientEvent::unknown:
        break;
    default:
        for (const Row& row : rows)
            if (row.event == event)
                object.lights = on ? object.lights | row.lightBit : object.lights & ~row.lightBit;
        break;
    }
}

} // namespace kes::world
