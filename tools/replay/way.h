// SPDX-License-Identifier: MIT
// The way of an aircraft as a line with times, to tell how far off it something is, and how early or late it is there.
#pragma once

#include "core/geo.h"

#include <cstddef>
#include <optional>
#include <vector>

namespace kes::replay {

/// Points in order of time with straight lines between them; a second's part of the line is flown in even speed. Past
/// its last point the way goes straight on, unless the aircraft stands there.
class Way {
public:
    /// `still` = it has stood since the point before, whatever the noise of the positions. A point that is not later
    /// than the last is passed over.
    void add(double seconds, LatLon at, bool still);
    /// Points that only the way before `seconds` needs may go.
    void forgetBefore(double seconds);
    std::size_t size() const { return points_.size(); }

private:
    friend class WayFollower;
    struct Point {
        double seconds, lat, lon; ///< degrees
        double metres;            ///< along the way; standing adds none
        bool still;
    };
    std::vector<Point> points_;
};

struct OnWay {
    double metres = 0; ///< off the way
    double late = 0;   ///< seconds behind its time, negative when ahead
};

/// Follows something along a way. The nearest place alone would not do, for a way crosses itself, comes back on itself
/// and stands; so the place wanted lies at most a minute back and half a minute ahead in time, and to leap along the
/// way costs: forwards a fifth of a metre, backwards a whole one for each metre that the motion does not explain.
class WayFollower {
public:
    /// Nothing while the way has fewer than two points. `seconds` must not run backwards.
    std::optional<OnWay> follow(const Way& way, LatLon at, double seconds);

private:
    struct Found {
        double cost = 0, metres = 0, seconds = 0, along = 0;
        std::size_t segment = 0;
    };
    Found nearestIn(const Way& way, std::size_t segment) const;
    double costOf(const Found& found) const;
    void descend(const Way& way, Found& found) const;
    void preferStanding(const Way& way, Found& found) const;
    bool inReach(const Way& way, std::size_t segment) const;

    bool begun_ = false;
    double along_ = 0, moved_ = 0; ///< metres: place on the way found last; motion since
    double then_ = 0;              ///< seconds of that place
    LatLon at_;
    double now_ = 0;
    double metresPerLon_ = 0, lonFor_ = 1e9; ///< at the latitude `lonFor_`
};

} // namespace kes::replay
