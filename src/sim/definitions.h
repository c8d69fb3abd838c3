// SPDX-License-Identifier: MIT
// The numbers by which this program and the simulator name data, requests and events to each other, and the one place
// where they are declared to it.
#pragma once

#include "simconnect/simconnect.h"

#include <cstdint>

namespace kes {

/// Data definitions.
namespace def {
inline constexpr std::uint32_t control = 401, position = 402, user = 403, range = 404, staticData = 405, lights = 406,
                               title = 407, model = 408, onGround = 409;
}
/// Requests.
namespace req {
inline constexpr std::uint32_t range = 101, staticData = 102, release = 103, create = 104, remove = 105, title = 106,
                               model = 107, onGround = 108, userPosition = 109, flightPlan = 110, joinLate = 111;
}
/// System events that are subscribed to.
namespace sysevent {
inline constexpr std::uint32_t sim = 201, objectAdded = 202, objectRemoved = 203, frame = 204, flightLoaded = 205;
}
/// Client events.
namespace event {
inline constexpr std::uint32_t beaconLights = 206, navLights = 207, taxiLights = 208, strobes = 209,
                               landingLights = 210, cabinLights = 211, logoLights = 212, allLightsToggle = 213,
                               freezeLatLon = 214, freezeAltitude = 215, freezeAttitude = 216, flaps = 217,
                               spoilers = 218, gear = 219, engineStart = 220, engineShutdown = 221, throttle = 222;
}

/// The one notification group.
inline constexpr std::uint32_t notificationGroup = 301;

/// Declares all of it, in a fixed order. False when a call failed; the others are made all the same. SimClient thread.
bool defineAll(simconnect::HANDLE handle);

} // namespace kes
