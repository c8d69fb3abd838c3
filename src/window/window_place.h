// SPDX-License-Identifier: MIT
// Where the window opens: as the user left it, as far as the screens of today allow. A pure function, any thread.
#pragma once

#include <span>

namespace kes {

/// Of a window or a screen, pixels of the desktop.
struct Area {
    int left = 0, top = 0, width = 0, height = 0;
    friend bool operator==(const Area&, const Area&) = default;
};

/// The window on the screen that shows the middle of its title, or else on the nearest one, moved as little as makes
/// all of it visible there. Its upper left corner stays in sight on a screen that is too small. At least one screen.
Area pulledBack(Area window, std::span<const Area> screens);

} // namespace kes
