// The process: one instance, log, window, message pump, and one worker thread at a time.
#pragma once

namespace kes {

/// The whole program. -1 for a second instance, otherwise the exit code of the message pump; 1 when no log can be
/// opened.
int runProcess();

} // namespace kes
