// The messages that drive the process, and the queue that carries them to the UI thread.
#pragma once

#include <cstdint>

namespace kes {

enum class AppMessage : std::uint32_t {
    closeClick = 0x0010,   ///< the window's close button, or the user's signal to end
    startWorker = 0x8001,  ///< start a run
    closeProgram = 0x8002, ///< the last run has closed down
    quit = 0x0012,
};

/// Any thread.
void postMessage(AppMessage message);
/// Waits for messages and hands each to `handle` until the quit message; returns the code given to `postQuit`. UI
/// thread.
int runMessagePump(void (*handle)(AppMessage));
void postQuit(int code);

} // namespace kes
