// SPDX-License-Identifier: MIT
// The one wall clock of the logic. Tests and replay set it; nothing else in the logic reads a system clock.
#pragma once

#include <cstdint>

namespace kes {

/// UTC now, whole seconds since 1970. Any thread.
std::int64_t wallClock();
/// Monotonic milliseconds; follows the set clock when one is set.
std::int64_t monotonicMs();
/// Sets both clocks to a fixed time (milliseconds since 1970); a negative value gives the real clocks back.
void setWallClockMs(std::int64_t epochMs);

} // namespace kes
