// SPDX-License-Identifier: MIT
// For a build without the toolkit.
#include "window/desktop_window.h"

namespace kes {

bool useDesktopWindow(std::string& reason) {
    reason.clear();
    return false;
}

std::vector<BoxOnWindow> boxesOnWindow() {
    return {};
}

std::uint64_t drawnOnWindow() {
    return 0;
}

} // namespace kes
