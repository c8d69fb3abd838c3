// The process: one instance, log, window, message pump, and one worker thread at a time.
#pragma once

namespace kes {

/// The whole program. -1 for a second instance, otherwise the exit code of the message pump; 1, with a reason on the
/// error stream, when the log or the user's data folder cannot be had.
int runProcess();

} // namespace kes
