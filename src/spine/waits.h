// SPDX-License-Identifier: MIT
// The waits of a run. A worker that waits still takes what the user does to the controls and follows his stand, so
// every wait of some length goes through here. Worker only.
#pragma once

#include <cstdint>

namespace kes {

/// Waits `ms` milliseconds, in pieces of at most 50. Ends early, with false, when the run is to end or, with
/// `onlyUserClose`, when the user has closed.
bool runSleep(std::int32_t ms, bool onlyUserClose = false);
/// Waits the full time, whatever the flags say, and looks at nothing meanwhile.
void runPause(std::int32_t ms);
/// For tests, from any thread: 0.01 makes a second of these waits 10 ms.
void setRunSleepScale(double scale);

} // namespace kes
