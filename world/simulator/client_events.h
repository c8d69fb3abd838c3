// SPDX-License-Identifier: MIT
// The simulator's own events that a client may map and send to an object.
#pragma once

#include "world/simulator/object.h"

#include <cstdint>
#include <string_view>

namespace kes::world {

enum class ClientEvent : std::uint8_t {
    navLights,
    beaconLights,
    landingLights,
    taxiLights,
    strobes,
    logoLights,
    cabinLights,
    allLightsToggle,
    freezeLatLon,
    freezeAltitude,
    freezeAttitude,
    gear,
    flaps,
    spoilers,
    throttle,
    throttle1,
    throttle2,
    engineStart,
    engineShutdown,
    other,
    unknown,
};

/// Without regard to case. Names of the form "#123" and "Package.Event" are an aircraft's own and come out as `other`.
ClientEvent clientEventOf(std::string_view name);
/// The simulator's name of it, "other" for an aircraft's own.
std::string_view nameOf(ClientEvent event);
/// Carries it out. Switches take any value but 0 as on, levers 0 to 16383 (throttles down to -16383).
void applyClientEvent(SimObject& object, ClientEvent event, std::uint32_t value);

} // namespace kes::world
