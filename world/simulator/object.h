// SPDX-License-Identifier: MIT
// One simulation object: the user's aircraft or an AI object. Plain data in the units named at each field.
#pragma once

#include "simconnect/simconnect.h"

#include <cstdint>
#include <string>

namespace kes::world {

/// Bits of "LIGHT STATES".
namespace light {
inline constexpr std::uint32_t nav = 0x001, beacon = 0x002, landing = 0x004, taxi = 0x008, strobe = 0x010, logo = 0x100,
                               cabin = 0x200, all = nav | beacon | landing | taxi | strobe | logo | cabin;
}

inline constexpr std::uint32_t userId = 1;      ///< the user's own aircraft; clients may also say 0
inline constexpr std::uint32_t firstAiId = 100; ///< AI objects count up from here; a number is never used again

struct SimObject {
    std::uint32_t id = 0;
    std::uint32_t owner = 0; ///< session that created it; 0 = the simulator itself
    simconnect::SimObjectType type = simconnect::SimObjectType::aircraft;
    std::string title, tail; ///< bytes as they came; the tail number has at most 11
    std::string model;       ///< "ATC MODEL"
    std::string flightPlan;  ///< path of the last plan that was set

    double lat = 0, lon = 0;                 ///< degrees
    double pitch = 0, bank = 0, heading = 0; ///< radians; nose up and bank to the right are negative
    double alt = 0;                          ///< feet above sea level
    double vs = 0;                           ///< feet per second
    double tas = 0;                          ///< knots, negative = backwards
    double staticCg = 0;                     ///< feet from the ground to the reference point when standing
    double staticPitch = 0;                  ///< radians when standing

    bool freezeLatLon = false, freezeAltitude = false, freezeAttitude = false;
    bool released = false; ///< the AI pilot was told to let go
    bool leaving = false;  ///< removed, gone with the next frame
    bool gear = true, engines = true;
    std::uint32_t lights = 0;
    double spoilers = 0, flaps = 0;    ///< percent
    double throttle[4] = {0, 0, 0, 0}; ///< percent, negative = reverse

    // The last position record that a client sent, for the largest gap of a moving object.
    bool hasRecord = false;
    double recordLat = 0, recordLon = 0; ///< degrees
    std::int64_t recordNs = 0;
    std::uint64_t positionRecords = 0;
};

} // namespace kes::world
