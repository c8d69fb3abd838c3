// SPDX-License-Identifier: MIT
// Day of the week and half-hour of the day, by which the use of stands is counted.
#pragma once

#include <atomic>
#include <cstdint>

namespace kes {

struct HhNow {
    std::int32_t day = 0;  ///< 1 = Monday to 7 = Sunday, UTC; 0 = not set
    std::int32_t slot = 0; ///< half-hour of the day, 0 to 47
    friend bool operator==(HhNow, HhNow) = default;
};

/// The half-hour that a UTC time (seconds since 1970) belongs to. Slots turn at minute 29:30 and at the full hour.
HhNow hhOf(std::int64_t epochSeconds);

inline constexpr std::int32_t slotsPerDay = 48;
inline constexpr std::int32_t slotsPerWeek = 7 * slotsPerDay;
/// Half-hours since Monday 00:00, 0 to 335.
constexpr std::int32_t slotOfWeek(HhNow time) {
    return (time.day - 1) * slotsPerDay + time.slot;
}
/// The half-hour `count` later, or earlier when it is negative; Sunday is followed by Monday.
constexpr HhNow later(HhNow time, std::int32_t count) {
    const std::int32_t slot = ((slotOfWeek(time) + count) % slotsPerWeek + slotsPerWeek) % slotsPerWeek;
    return {slot / slotsPerDay + 1, slot % slotsPerDay};
}
/// How many half-hours lie between, within the week before `now`: 0 to 335.
constexpr std::int32_t halfHoursSince(HhNow time, HhNow now) {
    return (slotOfWeek(now) - slotOfWeek(time) + slotsPerWeek) % slotsPerWeek;
}

/// The present half-hour; written by the worker (`computeHhNow` of the main tick), read anywhere, never torn.
HhNow hhNow();
/// Worker; tests.
void setHhNow(HhNow value);

} // namespace kes
