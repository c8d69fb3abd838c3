// SPDX-License-Identifier: MIT
#include "core/parameters.h"

#include "core/parameters_file.h"

#include <algorithm>

namespace kes {

namespace {

constexpr TextParameter text(std::string_view name, std::string_view start = {}) {
    return {{name}, start, {}, std::string(start)};
}
constexpr TextBox textBox(std::string_view name, std::uint16_t id, std::int32_t top) {
    return {{{name}, {}, {}, {}}, {id, top}};
}
constexpr BoolParameter boolean(std::string_view name, bool start) {
    return {{name}, start, start};
}
constexpr BoolBox boolBox(std::string_view name, bool start, std::uint16_t id, std::int32_t top) {
    return {{{name}, start, start}, {id, top}};
}
constexpr IntParameter integer(std::string_view name, std::int32_t start, std::int32_t least, std::int32_t most) {
    return {{name}, start, least, most, start};
}
constexpr IntBox intBox(std::string_view name, std::int32_t start, std::int32_t least, std::int32_t most,
                        std::uint16_t id, std::int32_t top) {
    return {{{name}, start, least, most, start}, {id, top}};
}

} // namespace

// Built at compile time, so that no order of start-up matters; for texts one of the compilers cannot be made to promise
// it.
namespace par {

TextParameter PROGRAM_VERSION = text("PROGRAM_VERSION");
TextParameter PROGRAM_INSTALL_PATH = text("PROGRAM_INSTALL_PATH");
TextParameter MSFS_INSTALL_PATH = text("MSFS_INSTALL_PATH");
TextParameter MSFS_2024_INSTALL_PATH = text("MSFS_2024_INSTALL_PATH");
TextBox ALL_INSTALL_PATH = textBox("ALL_INSTALL_PATH", 32788, 119);
constinit BoolBox MSFS_2020 = boolBox("MSFS_2020", true, 32790, 119);
TextParameter PORT_NUMBER = text("PORT_NUMBER", "10747");

constinit BoolBox LOG = boolBox("LOG", true, 32779, 147);
constinit BoolBox ALWAYS_ON_TOP = boolBox("ALWAYS_ON_TOP", false, 32771, 147);
constinit BoolBox SCAN_LIVERIES = boolBox("SCAN_LIVERIES", true, 32797, 147);
constinit BoolBox LIG_AUTOMATIC = boolBox("LIG_AUTOMATIC", true, 32798, 147);
constinit BoolBox LIG_PRIORITIZE = boolBox("LIG_PRIORITIZE", false, 32799, 147);
constinit IntBox AI_PACKAGE_ORDER = intBox("AI_PACKAGE_ORDER", 1, 1, 6, 32800, 147);
constinit BoolBox SUPPRESS_STUB = boolBox("SUPPRESS_STUB", true, 32801, 147);

constinit BoolBox SCAN_AIRPORTS = boolBox("SCAN_AIRPORTS", true, 32802, 175);
constinit BoolBox NAV_LIGHTS_WHILE_PARKED = boolBox("NAV_LIGHTS_WHILE_PARKED", true, 32778, 175);
constinit BoolBox LEARN_SOFT = boolBox("LEARN_SOFT", true, 32777, 175);

constinit IntBox MATCHING_DEPTH = intBox("MATCHING_DEPTH", 4, 1, 4, 32808, 203);
constinit BoolBox LIGHT_AIRCRAFT = boolBox("LIGHT_AIRCRAFT", true, 32809, 203);
constinit BoolBox HELICOPTERS = boolBox("HELICOPTERS", true, 32810, 203);
constinit BoolBox HIGH_PERF_AIRCRAFT = boolBox("HIGH_PERF_AIRCRAFT", true, 32811, 203);
constinit BoolBox AEROWINX = boolBox("AEROWINX", false, 32775, 203);
constinit BoolBox GUID_CHANGES = boolBox("GUID_CHANGES", true, 32773, 203);

constinit IntBox LATERAL_RANGE = intBox("LATERAL_RANGE", 40, 2, 100, 32818, 231);
constinit BoolBox AUTO_RANGE = boolBox("AUTO_RANGE", true, 32819, 231);
constinit IntBox AUTO_RANGE_ABOVE_HEIGHT = intBox("AUTO_RANGE_ABOVE_HEIGHT", 49000, 18000, 49000, 32820, 231);
constinit BoolBox CALLSIGN_OBJECTIDS = boolBox("CALLSIGN_OBJECTIDS", false, 32822, 231);

TextBox BLOCK_CALLSIGN = textBox("BLOCK_CALLSIGN", 32828, 259);
TextBox CALLSIGN_2_OBJECTID = textBox("CALLSIGN_2_OBJECTID", 32774, 259);
constinit BoolBox COLLISION_USER_AIR = boolBox("COLLISION_USER_AIR", true, 32833, 287);
constinit BoolBox COLLISION_USER_GND = boolBox("COLLISION_USER_GND", true, 32834, 287);
constinit BoolBox COLLISION_LIVE_PARKED_GND = boolBox("COLLISION_LIVE_PARKED_GND", false, 32835, 287);

constinit IntBox MAX_LIVE = intBox("MAX_LIVE", -1, -1, 300, 32821, 315);
constinit IntBox CUSTOM_MAX_PARK = intBox("CUSTOM_MAX_PARK", -1, -1, 500, 32865, 315);
constinit BoolBox STRAIGHT_PBS_ONLY = boolBox("STRAIGHT_PBS_ONLY", false, 32856, 315);

TextBox DESTINATION = textBox("DESTINATION", 32840, 343);
constinit IntBox AIRPORT_RANGE = intBox("AIRPORT_RANGE", 20, 8, 30, 32841, 343);
constinit IntBox AIRPORT_HEIGHT = intBox("AIRPORT_HEIGHT", 18000, 2000, 45000, 32842, 343);

constinit IntBox parking_percentage = intBox("parking_percentage", 30, 0, 100, 32848, 371);
constinit BoolBox INITIAL_LOAD_ONLY = boolBox("INITIAL_LOAD_ONLY", false, 32850, 371);
constinit BoolBox PARK_SOFT = boolBox("PARK_SOFT", true, 32851, 371);
constinit BoolBox PARK_FAKE = boolBox("PARK_FAKE", false, 32852, 371);
constinit IntBox MAX_FIT = intBox("MAX_FIT", 47, 0, 47, 32853, 371);
constinit BoolBox WEEK = boolBox("WEEK", false, 32854, 371);
constinit FloatBox MAX_FIT_FL{{{"MAX_FIT_FL"}, 24.0F, 0.5F, 24.0F, 24.0F}, {32855, 371}};

constinit BoolParameter RANDOM = boolean("RANDOM", true);
constinit IntParameter MAIN_WINDOW_X = integer("MAIN_WINDOW_X", 400, -30000, 30000);
constinit IntParameter MAIN_WINDOW_Y = integer("MAIN_WINDOW_Y", 20, -30000, 30000);
constinit IntParameter HOLDING_THRESHOLD_METERS = integer("HOLDING_THRESHOLD_METERS", 250, 10, 4000);
constinit IntParameter MAX_HOLDING_MINUTES = integer("MAX_HOLDING_MINUTES", 20, 1, 60);
constinit IntParameter CUSTOM_PARKING_PERCENTAGE = integer("CUSTOM_PARKING_PERCENTAGE", -1, -1, 100);
constinit IntParameter LAST_EPOCH_TIME = integer("LAST_EPOCH_TIME", 0, 0, 2147483647);
TextParameter MYSIMADDON24_VERSION = text("MYSIMADDON24_VERSION");
TextParameter lfolder[10] = {text("lfolder0"), text("lfolder1"), text("lfolder2"), text("lfolder3"), text("lfolder4"),
                             text("lfolder5"), text("lfolder6"), text("lfolder7"), text("lfolder8"), text("lfolder9")};

constinit Button flushStatic{{32858, 369}, "Flush static"};
constinit Button unblock{{32829, 257}, "Unblock"};
constinit Button reRead{{32838, 341}, "Re-read"};

} // namespace par

std::int32_t IntParameter::clamped(std::int64_t wanted) const {
    return static_cast<std::int32_t>(std::clamp<std::int64_t>(wanted, minValue, maxValue));
}

std::string TextParameter::get() const {
    const std::lock_guard lock(guard);
    return value;
}

void TextParameter::set(std::string_view wanted) {
    const std::lock_guard lock(guard);
    value = wanted;
}

bool TextParameter::empty() const {
    const std::lock_guard lock(guard);
    return value.empty();
}

void setParameterDefaults() {
    for (const StoredParameter& parameter : storedParameters())
        takeDefault(parameter);
    for (TextBox* shownOnly : {&par::ALL_INSTALL_PATH, &par::CALLSIGN_2_OBJECTID})
        shownOnly->set(shownOnly->defaultValue);
    par::parking_percentage.value = par::parking_percentage.defaultValue;
    par::MAX_FIT_FL.value = par::MAX_FIT_FL.defaultValue;
}

} // namespace kes
