// What must hold after every tick, whatever the feed and the simulator sent. Worker.
#pragma once

#include <string>

namespace kes {

/// Empty, or the first violation: "{kind}: {aircraft}". Kinds: "hexid twice", "objectid twice", "not a number",
/// "heading out of range", "longitude out of range".
std::string checkLiveTables();
/// Logs a violation as "! tick check: {}", each kind once per run.
void reportTickCheck();
void resetTickCheck();

} // namespace kes
