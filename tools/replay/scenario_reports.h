// SPDX-License-Identifier: MIT
// What a receiver would report of a scenario's flights. The same seed gives the same reports. Pure.
#pragma once

#include "tools/replay/scenarios.h"

#include <cstdint>
#include <string>
#include <vector>

namespace kes::replay {

/// One datagram and the second of the scenario at which it comes in.
struct ScenarioLine {
    double seconds = 0;
    std::string text;
};

/// All reports in order of time. `epoch` is the feed's time at second 0.
std::vector<ScenarioLine> reportsOf(const TruthScenario& scenario, std::uint32_t seed, double epoch);

} // namespace kes::replay
