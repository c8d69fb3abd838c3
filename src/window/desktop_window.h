// SPDX-License-Identifier: MIT
// The window on a desktop, by wxWidgets: native controls, and the read-outs painted beside them.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace kes {

/// Starts the toolkit and installs the backend. False when this machine shows no window, or the program was built
/// without one; `reason` then tells why, and is empty where nobody expects a window: without any display. Main thread,
/// before others are started.
/// When the display goes away, the terminal stands in for the window: `runWindow` goes on, and at `quitWindow` ends the
/// process with its code instead of coming back.
bool useDesktopWindow(std::string& reason);

/// A control as it stands on the window, pixels of the screen; for tests. `neededWidth` is what a tick
/// box or button takes with the present font and theme; 0 for an edit box.
struct BoxOnWindow {
    std::uint16_t controlId = 0;
    std::int32_t left = 0, top = 0, width = 0, height = 0;
    std::int32_t neededWidth = 0;
};
std::vector<BoxOnWindow> boxesOnWindow(); ///< UI thread
/// How many texts and labels have been drawn so far, for tests. UI thread.
std::uint64_t drawnOnWindow();

} // namespace kes
