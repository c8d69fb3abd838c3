// The process: one instance, log, window, and one worker thread at a time. A run posts its end to the UI thread, which
// starts the next one or ends the process.
#pragma once

namespace kes {

/// The whole program. -1 for a second instance, otherwise the code that the window ended with; 1, with a reason on the
/// error stream, when the log or the user's data folder cannot be had. Without `window` the terminal stands in for it,
/// as it does where no display is to be had.
int runProcess(bool window);

/// Starts the next run, or ends the process after the user's close click. UI thread; a run posts it as its last act
/// when it is to be followed by another.
void startWorker();
/// What is left to be saved, then the end of the process. UI thread; a run posts it as its last act when none follows.
void closeProgram();

} // namespace kes
