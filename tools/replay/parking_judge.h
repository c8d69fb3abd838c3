// SPDX-License-Identifier: MIT
// Whether aircraft that stand on a stand in reality stand on it in the program, and whether anything stands where
// something else does (stand_check.h). A stay in reality is told by reports that keep within 20 metres for two minutes,
// with exactly one stand that near.
#pragma once

#include "core/geo.h"
#include "tools/replay/series.h"

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace kes {
struct LiveAircraft;
}

namespace kes::replay {

struct ParkingMeasures {
    std::size_t stands = 0;                                         ///< of the park airport; 0 = none was loaded
    std::size_t stays = 0;                                          ///< in reality
    std::size_t arrivals = 0;                                       ///< of them, those that came rolling
    std::size_t onStand = 0, onAnother = 0, onNone = 0, absent = 0; ///< where the program has them then
    Series metres;                                                  ///< between the shown and the real rest
    Series seconds;     ///< between the shown and the real stop, of arrivals
    Series nose;        ///< degrees between shown nose and stand, of the parked
    Series standMetres; ///< between the real rest and the stand: what "the nearest stand" would be off
    /// Push-backs that turned the nose left or right, of aircraft that left to a side in reality, and of them those to
    /// that side.
    std::size_t pushBacks = 0, pushBacksToRealSide = 0;
    std::size_t mostStatic = 0, mostParkedLive = 0;
    std::vector<std::string> clashes; ///< two on one stand, or overlapping; each pair once
    std::string tableFault;           ///< the first of `checkStandTables`
};

class ParkingJudge {
public:
    /// Notes the report queued last; `base` is the tick count at the replay's tick 0.
    void takeNewestReport(std::int32_t base);
    /// Looks at all aircraft, each tenth of a second; `tick` is the moment that their poses stand for.
    void look(std::int32_t tick);
    ParkingMeasures finish(); ///< what was measured so far

private:
    struct Rest {
        LatLon first, at;                 ///< of the first and the last report there
        std::int32_t since = 0, last = 0; ///< their ticks
        std::int32_t stopped = 0;         ///< tick of the last report that had moved on
        bool rolledIn = false;            ///< reports from elsewhere on the ground came before
        bool known = false, judged = false;
        std::int32_t lastMove = 0; ///< tick at which it was last seen moving on the screen
        LatLon shown;
    };
    struct Push {
        LatLon stand;
        double heading = 0;      ///< radians, of the stand
        int real = 0, shown = 0; ///< -1 to the left of the nose, 1 to the right; 0 = not yet
        bool pushed = false, counted = false;
    };
    void followPush(const LiveAircraft& aircraft);
    void countPush(Push& push);
    void takeReport(std::uint32_t hexid, std::int32_t tick, LatLon at, bool airborne);
    void judge(std::uint32_t hexid, const Rest& rest, std::int32_t tick);
    void follow(std::int32_t tick);
    void count();
    void findClashes();
    std::map<std::uint32_t, Rest> rests_;  ///< by hexid
    std::map<std::uint32_t, Push> pushes_; ///< by hexid, of those that have stood on a stand
    ParkingMeasures measures_;
};

} // namespace kes::replay
