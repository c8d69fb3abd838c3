// SPDX-License-Identifier: MIT
#include "core/hh_now.h"

#include <bit>

namespace kes {

namespace {
std::atomic<std::uint64_t> current{0};
}

HhNow hhOf(std::int64_t epochSeconds) {
    std::int64_t days = epochSeconds / 86400;
    std::int64_t second = epochSeconds % 86400;
    if (second < 0) {
        second += 86400;
        --days;
    }
    // 1 January 1970 was a Thursday, the fourth day of the week.
    const auto day = static_cast<std::int32_t>(((days + 3) % 7 + 7) % 7 + 1);
    const auto hour = static_cast<std::int32_t>(second / 3600);
    const std::int64_t inHour = second % 3600;
    const bool firstHalf = inHour < 29 * 60 + 30;
    return {day, (hour * 2 + (firstHalf ? 0 : 1)) % 48};
}

HhNow hhNow() {
    return std::bit_cast<HhNow>(current.load());
}
void setHhNow(HhNow value) {
    current = std::bit_cast<std::uint64_t>(value);
}

} // namespace kes
