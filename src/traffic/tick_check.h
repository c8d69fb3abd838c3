// SPDX-License-Identifier: MIT
// What must hold after every tick, whatever the feed and the simulator sent. Looked at in debug builds. Worker.
#pragma once

#include <string>

namespace kes {

/// Empty, or the first violation, "{kind}: {which}". Kinds: "hexid twice" and "objectid twice" with the number, "not a
/// number", "heading out of range", "longitude out of range" and "ticks of a stream do not rise" with the aircraft.
std::string checkLiveTables();
/// Logs a violation as "! tick check: {}", each kind once per run.
void reportTickCheck();
void resetTickCheck(); ///< each kind may be logged again

} // namespace kes
