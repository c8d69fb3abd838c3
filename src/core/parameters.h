// SPDX-License-Identifier: MIT
// Everything the user can set, and a few values the program remembers: typed objects with static lifetime.
// The file "parameters.xml" in the user's data folder holds the values; each change is saved at once.
// Read from every thread, texts under their own lock; written by the worker alone, by the UI thread when none runs.
#pragma once

#include <atomic>
#include <cstdint>
#include <mutex>
#include <string>
#include <string_view>

namespace kes {

struct Parameter {
    std::string_view name; ///< key in the file
};

/// What a parameter on the window adds: its control and its place.
struct Control {
    std::uint16_t controlId = 0; ///< 0 = not on the window
    std::int32_t top = 0;        ///< pixel row
};

struct BoolParameter : Parameter {
    bool defaultValue = false;
    std::atomic<bool> value{false};
    operator bool() const { return value.load(std::memory_order_relaxed); }
};

struct IntParameter : Parameter {
    std::int32_t defaultValue = 0, minValue = 0, maxValue = 0;
    std::atomic<std::int32_t> value{0};
    operator std::int32_t() const { return value.load(std::memory_order_relaxed); }
    std::int32_t clamped(std::int64_t wanted) const; ///< `minValue` to `maxValue`
};

struct FloatParameter : Parameter {
    float defaultValue = 0, minValue = 0, maxValue = 0;
    std::atomic<float> value{0};
    operator float() const { return value.load(std::memory_order_relaxed); }
};

/// A text crosses threads, so it is copied in and out under a lock of its own.
struct TextParameter : Parameter {
    std::string_view defaultValue;
    std::string get() const;         ///< any thread
    void set(std::string_view text); ///< for core/change.h and reading the file; see there
    bool empty() const;              ///< any thread

    mutable std::mutex guard;
    std::string value;
};

struct BoolBox : BoolParameter, Control {};
struct IntBox : IntParameter, Control {};
struct FloatBox : FloatParameter, Control {};
struct TextBox : TextParameter, Control {};
struct Button : Control {
    std::string_view caption;
};

/// The parameters, by the names they have in the file.
namespace par {
extern TextParameter PROGRAM_VERSION, PROGRAM_INSTALL_PATH, MSFS_INSTALL_PATH, MSFS_2024_INSTALL_PATH, PORT_NUMBER,
    MYSIMADDON24_VERSION;
extern TextBox ALL_INSTALL_PATH, BLOCK_CALLSIGN, CALLSIGN_2_OBJECTID, DESTINATION;
extern TextParameter lfolder[10]; ///< "lfolder0" to "lfolder9"
extern BoolParameter RANDOM;
extern BoolBox MSFS_2020, LOG, ALWAYS_ON_TOP, SCAN_LIVERIES, LIG_AUTOMATIC, LIG_PRIORITIZE, SUPPRESS_STUB,
    SCAN_AIRPORTS, NAV_LIGHTS_WHILE_PARKED, LEARN_SOFT, LIGHT_AIRCRAFT, HELICOPTERS, HIGH_PERF_AIRCRAFT, AEROWINX,
    GUID_CHANGES, AUTO_RANGE, CALLSIGN_OBJECTIDS, COLLISION_USER_AIR, COLLISION_USER_GND, COLLISION_LIVE_PARKED_GND,
    STRAIGHT_PBS_ONLY, INITIAL_LOAD_ONLY, PARK_SOFT, PARK_FAKE, WEEK;
extern IntParameter MAIN_WINDOW_X, MAIN_WINDOW_Y, HOLDING_THRESHOLD_METERS, MAX_HOLDING_MINUTES,
    CUSTOM_PARKING_PERCENTAGE, LAST_EPOCH_TIME;
extern IntBox AI_PACKAGE_ORDER, MATCHING_DEPTH, LATERAL_RANGE, AUTO_RANGE_ABOVE_HEIGHT, MAX_LIVE, CUSTOM_MAX_PARK,
    AIRPORT_RANGE, AIRPORT_HEIGHT, parking_percentage, MAX_FIT;
extern FloatBox MAX_FIT_FL;
extern Button flushStatic, unblock, reRead;
} // namespace par

/// Every parameter back to its default value in memory; the file is not touched. For tests.
void setParameterDefaults();

} // namespace kes
