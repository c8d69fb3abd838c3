// SPDX-License-Identifier: MIT
// Three simple ways of drawing an aircraft from its reports, 30 seconds late as ours, to compare with:
// A straight lines with the heading of the line, B straight lines with the reported heading, C cubic Hermite curves.
#pragma once

#include "tools/replay/pose.h"

#include <array>
#include <cstdint>
#include <deque>
#include <optional>

namespace kes::replay {

struct Report {
    std::int32_t tick = 0; ///< at which the aircraft is to be there
    LatLon at;
    double alt = 0;                ///< feet; on the ground that of the ground
    double gs = 0, vs = 0;         ///< knots, feet per minute
    double track = 0, heading = 0; ///< radians
    double bank = 0;               ///< radians, to the right negative
    bool airborne = false;
};

/// The reports of one aircraft, in order of ticks.
class Baselines {
public:
    void add(const Report& report); ///< one that is not later than the last is passed over
    /// It stands from the last but one report to the last.
    bool endsStanding() const;
    /// Moves on to a tick; false while it does not lie between two reports. Ticks must not run backwards.
    bool moveTo(std::int32_t tick);
    /// The three poses at the tick moved to.
    const std::array<Pose, 3>& poses() const { return poses_; }
    /// The straight line between the reports.
    Reference reference() const;
    /// The leg that is flown now leads from the air to the ground and this is its last tick.
    bool touchesDown() const;

private:
    void beginLeg();
    void drawStraight(double part);
    void drawHermite(double part);
    std::deque<Report> reports_;
    std::array<Pose, 3> poses_;
    std::int32_t tick_ = 0;
    bool legBegun_ = false;
    // Of the present leg.
    double east_ = 0, north_ = 0, metresPerLon_ = 1; ///< metres to its end
    double seconds_ = 1, turn_ = 0, turned_ = 0;     ///< its length; reported turn; heading at its begin
    double chord_ = 0;                               ///< radians
    std::array<double, 4> tangents_{};               ///< metres per leg: east and north at the begin, at the end
};

} // namespace kes::replay
