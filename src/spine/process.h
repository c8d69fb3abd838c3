// SPDX-License-Identifier: MIT
// The process: one instance, log, window, and one worker thread at a time. A run posts its end to the UI thread, which
// starts the next one or ends the process.
#pragma once

#include <filesystem>

namespace kes {

/// The whole program. -1 for a second instance, otherwise the code that the window ended with. 1, with a reason on the
/// error stream, when another one works in the folder, when the log or the data folder of the user cannot be had, and
/// on the terminal after a run that an error has ended. Without `window` the terminal stands in for it,
/// as it does where no display is to be had.
/// With a name in `recording` what the traffic source sends is kept in that file (see feed/recorder.h); SIGUSR1 begins
/// and ends a recording of its own in the program's folder.
int runProcess(bool window, const std::filesystem::path& recording);

/// Starts the next run, or ends the process after the user's close click. UI thread; a run posts it as its last act
/// when it is to be followed by another.
void startWorker();
/// What is left to be saved, then the end of the process. UI thread; a run posts it as its last act when none follows.
void closeProgram();

} // namespace kes
