// SPDX-License-Identifier: MIT
// The parts of the page that never change: what lies in page/, put together when the program is built (map.html tells
// the order) and cut at the place of the data.
#pragma once

#include <string_view>

namespace kes::replay {

/// Static, so not to be used before main() has begun.
extern const std::string_view mapPageHead; ///< up to the place of the data
extern const std::string_view mapPageTail; ///< from behind it: the visible elements and the program

} // namespace kes::replay
