// SPDX-License-Identifier: MIT
#include "window/window_place.h"

#include <algorithm>
#include <cstdint>

namespace kes {

namespace {

constexpr int titleMiddle = 10; ///< of its height

/// From `at` to the nearest of the pixels from `begin` on; 64 bits, since positions come from a file.
std::int64_t apart(std::int64_t at, int begin, int length) {
    return std::max({begin - at, at - (static_cast<std::int64_t>(begin) + length - 1), std::int64_t{0}});
}

int moved(int at, int length, int begin, int room) {
    return std::max(begin, std::min(at, begin + room - length));
}

} // namespace

Area pulledBack(Area window, std::span<const Area> screens) {
    const auto distance = [&](const Area& screen) {
        const std::int64_t x = apart(std::int64_t{window.left} + window.width / 2, screen.left, screen.width);
        const std::int64_t y = apart(std::int64_t{window.top} + titleMiddle, screen.top, screen.height);
        return x * x + y * y;
    };
    const Area screen = *std::ranges::min_element(screens, {}, distance);
    window.left = moved(window.left, window.width, screen.left, screen.width);
    window.top = moved(window.top, window.height, screen.top, screen.height);
    return window;
}

} // namespace kes
