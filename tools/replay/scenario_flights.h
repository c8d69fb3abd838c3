// SPDX-License-Identifier: MIT
// The flights of the scenarios: where each is at any time. Pure functions.
#pragma once

#include "tools/replay/scenarios.h"
#include "world/source/track.h"

#include <optional>
#include <string_view>

namespace kes::replay {

/// Runway 09 begins here, on the plane around the airport; metres.
inline constexpr source::Vec runwayBegin{-1500, 0};

/// A track that a flight follows after standing, or having been, at its first point for `lead` seconds, and at whose
/// end it stays for `tail` seconds.
struct FlownTrack {
    source::Track track;
    double lead = 0, tail = 0;
    double elevation = 0;               ///< feet
    std::optional<source::Track> after; ///< the same way, whose heights count once `track` has come to the ground
    double hoverFeet = 0;               ///< a helicopter rises to this height before it goes, and sinks at its end
};

FlownTrack levelTurns();      ///< 250 kn; by 30 and 90 degrees to either side
FlownTrack holdingPattern();  ///< 210 kn; three rounds with legs of a minute
FlownTrack climbAndDescent(); ///< 280 kn; from 2000 ft to 12,000 and down to 3000
/// The roll-out ends on a taxiway, so many metres behind the touchdown; `knots` over the threshold.
FlownTrack instrumentLanding(double elevation, double knots, double rollOut);
FlownTrack goAround(double elevation); ///< of the runway, feet, as below
FlownTrack touchAndGo(double elevation);
/// Corners of so many degrees, to the right and to the left.
FlownTrack taxiCorners(double degrees);
FlownTrack holdShort(double seconds); ///< a straight taxi with two stops of so many seconds
/// `side` is where the nose swings: 1 right, -1 left, 0 not at all.
FlownTrack pushBack(int side);
struct TakeOff {
    double rotate = 0, accel = 0; ///< knots; m/s^2
    double climb = 0;             ///< feet per minute
    double fast = 0;              ///< knots in the climb
};
/// A minute on the taxiway, ten seconds lined up, and a climb of 5000 ft.
FlownTrack takeOff(double elevation, const TakeOff& how);
FlownTrack helicopterRound(double elevation); ///< 90 kn; up 15 ft, a round 800 ft higher, and down again
FlownTrack standing(double north);            ///< for 15 minutes; metres north of the airport

/// Where the flight is, by seconds of the scenario.
Truth truthOf(const FlownTrack& flown, LatLon airport, double seconds);

} // namespace kes::replay
