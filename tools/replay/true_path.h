// The way that a flight really took, to tell how far off it something is, however early or late it is there.
#pragma once

#include "core/geo.h"
#include "tools/replay/scenarios.h"

#include <vector>

namespace kes::replay {

class TruePath {
public:
    explicit TruePath(const ScenarioFlight& flight);
    /// Metres from a position to the way between half a minute before and half a minute after `seconds` of the
    /// scenario.
    double metresOff(LatLon at, double seconds) const;

private:
    double begin_ = 0;
    LatLon origin_;
    double metresPerLon_ = 1;
    struct Point {
        double north, east; ///< metres from the origin
    };
    std::vector<Point> points_; ///< four a second
};

} // namespace kes::replay
