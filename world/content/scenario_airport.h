// SPDX-License-Identifier: MIT
// The airport of the built-in scenario: a stock file with its stands and with the aircraft that stand there all week,
// so that a fresh program folder has an airport to fill. Throws std::runtime_error when a file cannot be written.
#pragma once

#include "world/content/ai_package.h"
#include "world/content/content.h"

namespace kes::world {

/// Writes "updates/MSFS/archive/stock/CODE.xml", and where the user has no list of park airports one with the code.
void writeScenarioAirport(const ContentPlan& plan, const Tables& tables, const std::vector<AiLivery>& liveries);

} // namespace kes::world
