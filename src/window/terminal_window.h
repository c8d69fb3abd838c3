// SPDX-License-Identifier: MIT
// The window of a machine without a display: status and error lines and the counters, line by line on the terminal.
#pragma once

#include "core/window.h"
#include "platform/output.h"

namespace kes {

/// The backend; one at a time. From its `open` on a thread of its own writes the lines: a terminal that does not read
/// holds nobody. What it misses beyond some hundred lines is left out, and a line tells how many once it reads again.
/// Error lines go to `errors`; all to `out` when that is not open.
WindowBackend terminalBackend(platform::Output out, platform::Output errors);
/// Waits until the lines so far are out, at most `ms` milliseconds, and takes no more. UI thread; `runWindow` ends
/// with it.
void closeTerminalWindow(int ms);

} // namespace kes
