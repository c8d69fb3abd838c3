// SPDX-License-Identifier: MIT
// What the judge found, as text. Pure.
#pragma once

#include "tools/replay/replay.h"

#include <string>

namespace kes::replay {

/// One JSON object.
std::string metricsJson(const Result& result);
/// What a reader wants to know first, in six lines: traffic, air, ground, evenness, landings, stands.
std::string verdictText(const Result& result);
/// A table for the terminal: one row per measure and phase.
std::string metricsTable(const Result& result);
/// A line about parking; empty when no park airport was loaded.
std::string parkingText(const ParkingMeasures& measures);

} // namespace kes::replay
