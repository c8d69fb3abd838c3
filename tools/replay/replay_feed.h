// SPDX-License-Identifier: MIT
// The feed lines of a replay by the tick at which they come in, from a recording or a scenario.
#pragma once

#include "tools/replay/scenarios.h"
#include "world/source/burst.h"
#include "world/source/recording.h"

#include <cstdint>
#include <deque>
#include <optional>
#include <string>

namespace kes::replay {

struct FeedLine {
    std::int32_t tick = 0;
    std::string text;
};

class ReplayFeed {
public:
    /// `name` is a file or a scenario. Throws std::runtime_error when it is neither.
    /// `burst`: the lines of each 5 s come at their end, within 20 ms.
    ReplayFeed(const std::string& name, std::uint32_t seed, bool burst = false);
    /// The next line if it has come in by `tick`, else null.
    const FeedLine* due(std::int32_t tick);
    void pop(); ///< takes away the line that `due` gave
    /// Tick of the last line.
    std::int32_t lastTick() const { return lastTick_; }
    /// Milliseconds since 1970 at tick 0.
    std::int64_t epochMs() const { return epochMs_; }
    /// Null for a recording.
    const TruthScenario* scenario() const { return scenario_ ? &*scenario_ : nullptr; }
    /// Where most of a recording's traffic is.
    std::optional<source::MiddlePlace> middle() const;

private:
    void openRecording(const std::string& name);
    void fill();
    std::optional<FeedLine> nextByTime();
    bool burst_ = false;
    source::Bursts<FeedLine> bursts_;
    std::deque<FeedLine> scenarioLines_; ///< not yet due
    std::optional<TruthScenario> scenario_;
    std::string file_;
    source::Recording recording_;
    std::deque<FeedLine> lines_;
    std::int32_t lastTick_ = 0;
    std::int64_t epochMs_ = 0;
};

} // namespace kes::replay
