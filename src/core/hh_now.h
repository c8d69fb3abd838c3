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

/// The present half-hour; written by the worker (`computeHhNow` of the main tick), read anywhere, never torn.
HhNow hhNow();
void setHhNow(HhNow value);

} // namespace kes
