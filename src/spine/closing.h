// SPDX-License-Identifier: MIT
// The end of a run: its threads stop, what is to be saved is saved, and the next run or the end of the process follows.
// Worker only.
#pragma once

namespace kes {

/// The last act of a run. Never throws: a failure is shown on the status line, and no run follows.
void lf_closingDown();
/// The seconds between a run and its restart, counted down on the status line. Ends early when the user closes.
void restartCountdown();
/// All state of a run back to its start values, after every other thread of the run has ended.
void resetRun();

} // namespace kes
