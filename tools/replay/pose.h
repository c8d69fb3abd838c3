// SPDX-License-Identifier: MIT
// What is judged: where a way of drawing puts an aircraft at a tick, in which phase, and what it should look like.
#pragma once

#include "core/geo.h"

#include <cstdint>
#include <string_view>

namespace kes::replay {

inline constexpr double metresPerDegree = 60.0 * metresPerNm; ///< of latitude

enum class Phase : std::uint8_t { air, approach, flare, rollOut, taxi, pushBack, takeOff, parked };
inline constexpr std::size_t phaseCount = 8;
/// "air", "approach", "flare", "roll-out", "taxi", "push-back", "take-off", "parked".
std::string_view text(Phase phase);

struct Pose {
    double lat = 0, lon = 0;                 ///< degrees
    double alt = 0;                          ///< feet
    double heading = 0, pitch = 0, bank = 0; ///< radians; nose up and bank to the right are negative
    bool onGround = false;
    LatLon position() const { return {lat, lon}; }
};

/// What an aircraft should look like at a tick: its truth, or where there is none the straight line between its
/// reports.
struct Reference {
    LatLon at;
    double alt = 0;                         ///< feet
    double track = 0;                       ///< radians, of the motion
    double gs = 0;                          ///< knots
    bool standing = false, rolling = false; ///< on the ground: at rest beyond doubt, or moving beyond doubt
};

} // namespace kes::replay
