// SPDX-License-Identifier: MIT
// The parts of the live page that never change: what lies in page/, cut at the place of the data.
#pragma once

#include <string_view>

namespace kes::world {

/// Static, so not to be used before main() has begun.
extern const std::string_view livePageHead; ///< up to the place of the data
extern const std::string_view livePageTail; ///< from behind it

} // namespace kes::world
