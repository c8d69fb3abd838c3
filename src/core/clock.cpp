// SPDX-License-Identifier: MIT
#include "core/clock.h"

#include <atomic>
#include <chrono>

namespace kes {

namespace {
std::atomic<std::int64_t> fixedMs{-1};
}

std::int64_t wallClock() {
    const std::int64_t fixed = fixedMs;
    if (fixed >= 0)
        return fixed / 1000;
    using namespace std::chrono;
    return duration_cast<seconds>(system_clock::now().time_since_epoch()).count();
}

std::int64_t monotonicMs() {
    const std::int64_t fixed = fixedMs;
    if (fixed >= 0)
        return fixed;
    using namespace std::chrono;
    return duration_cast<milliseconds>(steady_clock::now().time_since_epoch()).count();
}

void setWallClockMs(std::int64_t epochMs) {
    fixedMs = epochMs;
}

} // namespace kes
