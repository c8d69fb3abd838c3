// SPDX-License-Identifier: MIT
// Watches the program's aircraft tick by tick during a replay: judges them and the baselines, and writes motion.csv.
#pragma once

#include "tools/replay/baselines.h"
#include "tools/replay/replay.h"
#include "tools/replay/replay_feed.h"
#include "tools/replay/way.h"
#include "traffic/live_aircraft.h"
#include "world/simulator/terrain.h"

#include <array>
#include <cstdio>
#include <deque>
#include <fmt/format.h>
#include <memory>
#include <optional>
#include <unordered_map>
#include <vector>

namespace kes::replay {

/// What an aircraft does at present, as the measures tell it apart.
Phase phaseOf(const LiveAircraft& aircraft);

class Stage {
public:
    /// Throws std::runtime_error when "motion.csv" cannot be written. `feed` must live as long.
    Stage(const Options& options, const ReplayFeed& feed, const world::Terrain& terrain);
    ~Stage();
    Stage(const Stage&) = delete;
    Stage& operator=(const Stage&) = delete;

    /// Reports that the traffic reader has queued so far.
    std::size_t reportsQueued() const;
    /// Notes the report queued last; `base` is the tick count at the replay's tick 0.
    void takeNewestReport(std::int32_t base);
    /// Looks at all aircraft; `tick` is the moment that their poses stand for.
    void look(std::int32_t tick);
    Result& result() { return result_; }
    /// Closes the file and completes the map. Throws when the file could not be written.
    Result finish();

private:
    struct Seen {
        std::uint32_t place = 0;
        Baselines baselines;
        std::array<Watched, wayCount> watched;
        std::int32_t lastTick = -1, flareBegin = -1;
        std::uint32_t object = 0; ///< the simulator's id of what was seen last
        bool wasOnGround = true, baselinesRun = false;
        const ScenarioFlight* flight = nullptr;
        Way way; ///< the true one, or the line between the reports
        std::array<WayFollower, wayCount> followers;
        std::optional<OnWay> onWay; ///< of the way of drawing looked at last
    };
    Seen& seenOf(std::uint32_t hexid);
    void lookAt(Seen& seen, const LiveAircraft& aircraft, std::int32_t tick);
    void noteFlown(Seen& seen, const LiveAircraft& aircraft);
    void judgeLanding(Seen& seen, const LiveAircraft& aircraft, const Pose& pose, Phase phase, Place place);
    void judgeBaselines(Seen& seen, Phase phase, const Reference* reference, bool known, Place place);
    void follow(Seen& seen, std::size_t way, LatLon at, Phase phase, Place place);
    void writeRow(const Seen& seen, const LiveAircraft& aircraft, Phase phase, std::int32_t tick);
    void flushRows();

    const ReplayFeed& feed_;
    world::Terrain terrain_;
    Result result_;
    std::int32_t every_;
    std::FILE* csv_ = nullptr;
    fmt::memory_buffer rows_;
    bool writeFailed_ = false;
    std::unordered_map<std::uint32_t, Seen*> byHexid_;
    std::deque<Seen> all_;
    struct Slot {
        std::uint32_t hexid = 0;
        Seen* seen = nullptr;
    };
    std::vector<Slot> slots_; ///< by place in liveAircraft, so that most ticks need no look-up
};

} // namespace kes::replay
