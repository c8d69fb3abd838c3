// SPDX-License-Identifier: MIT
// How much faster the aircraft move on screen than their reports said. An aircraft that is late on its way, for
// instance because its object came late, has to make up for it, and dashes.
#pragma once

#include "core/geo.h"

#include <cstdint>
#include <deque>
#include <string>
#include <unordered_map>

namespace kes::replay {

inline constexpr double overspeedLimit = 1.5; ///< above this ratio an aircraft dashes

class Overspeed {
public:
    /// A report that is to be shown at a tick. In the order of their ticks for each aircraft.
    void report(std::uint32_t hexid, std::int32_t tick, double knots);
    /// Where an active aircraft is at a tick; called at each tick.
    void look(std::uint32_t hexid, std::int32_t tick, LatLon at);

    /// The report that the traffic reader queued last; `base` is the tick count at the replay's tick 0.
    void takeNewestReport(std::int32_t base);
    /// All active aircraft.
    void lookAtAll(std::int32_t tick);

    struct Worst {
        double ratio = 0; ///< speed shown over the last second, by the speed reported around then; 0 = nobody moved
        double knots = 0; ///< shown
        std::uint32_t hexid = 0;
        std::int32_t tick = 0;
    };
    const Worst& worst() const { return worst_; }
    /// Aircraft that dashed at least once.
    std::size_t dashing() const { return dashing_; }

private:
    struct Reported {
        std::int32_t tick = 0;
        double knots = 0;
    };
    struct Flight {
        std::deque<Reported> reports;
        LatLon at;
        std::int32_t atTick = -1, lastTick = -1;
        bool dashed = false;
    };
    static double reportedAround(Flight& flight, std::int32_t tick);
    std::unordered_map<std::uint32_t, Flight> flights_; // looked up only
    Worst worst_;
    std::size_t dashing_ = 0;
};

/// A line for the terminal.
std::string overspeedText(const Overspeed& overspeed);

} // namespace kes::replay
