// The window of a machine without a display: status and error lines and the counters, line by line on the terminal.
#pragma once

#include <cstdio>

namespace kes {

/// Installs the backend. Lines go to `out`, which stays open for the life of the process.
void useTerminalWindow(std::FILE* out);

} // namespace kes
