// SPDX-License-Identifier: MIT
// The scenario's airport: two parallel runways with taxiways and two rows of stands between them. Its frame has the
// axis `a` along the landing direction (west) and `b` to the right of it (north), metres from the reference point.
// Aircraft land on the northern runway and take off from the southern one; all taxiways are one-way.
#pragma once

#include "world/source/fleet.h"
#include "world/source/track.h"

#include <random>
#include <string>
#include <vector>

namespace kes::source {

inline constexpr double landingBearing = 263.77; ///< degrees
inline constexpr double horizonNm = 38.0;        ///< distance at which airliners come and go

struct ScenarioStand {
    std::string name;
    double a = 0, b = 0;
    bool noseRight = false; ///< the nose points along +b
    double taxiLane = 0;    ///< b of the lane behind it
};

std::vector<ScenarioStand> scenarioStands(); ///< both rows, always the same
Vec fieldPoint(double a, double b);          ///< a point of the frame on the plane
/// Heading of the nose at the stand, radians.
double standHeading(const ScenarioStand& stand);

/// From the horizon to standing still at the stand. `bearing` (radians) is where the aircraft comes from.
Track arrivalTrack(const ScenarioStand& stand, const Performance& p, double bearing, double elevation,
                   std::mt19937& random);
/// From standing at the stand over push-back, taxi and take-off to the horizon.
Track departureTrack(const ScenarioStand& stand, const Performance& p, double bearing, double elevation,
                     std::mt19937& random);
/// From horizon to horizon at cruise.
Track overflightTrack(const Performance& p, std::mt19937& random);
/// A light aircraft by sight.
Track lightTrack(const Performance& p, double elevation, std::mt19937& random);
/// From the pad around some places and back to the pad.
Track helicopterTrack(const Performance& p, double elevation, std::mt19937& random);
/// Six rounds of a vehicle at 22 knots, on one side of the field.
Track vehicleTrack(std::mt19937& random);
/// Standing at a point for ever.
Track standingTrack(Vec at, double heading);

} // namespace kes::source
