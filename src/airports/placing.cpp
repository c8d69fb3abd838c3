// SPDX-License-Identifier: MIT
#include "airports/placing.h"

#include "core/hh_now.h"
#include "core/log.h"
#include "core/parameters.h"
#include "core/text.h"
#include "core/window.h"
#include "feed/traffic_reader.h"

#include <atomic>
#include <fmt/format.h>
#include <string_view>

namespace kes {

namespace {

constexpr std::int32_t minutesAfterPlacing = 19;

std::atomic<bool> placing{false};

std::string_view dayName(std::int32_t day) {
    static constexpr std::string_view names[] = {"Monday", "Tuesday",  "Wednesday", "Thursday",
                                                 "Friday", "Saturday", "Sunday"};
    return day >= 1 && day <= 7 ? names[day - 1] : "???";
}

} // namespace

void enableParkControls(bool on) {
    for (const Control* control : std::initializer_list<const Control*>{
             &par::CUSTOM_MAX_PARK, &par::PARK_FAKE, &par::WEEK, &par::PARK_SOFT, &par::parking_percentage,
             &par::INITIAL_LOAD_ONLY, &par::MAX_FIT, &par::MAX_FIT_FL})
        enableControl(*control, on);
}

void startPlacing() {
    placing = true;
    enableParkControls(false);
}

void endPlacing() {
    placing = false;
    enableParkControls(true);
    readouts.minutesToRenewal = minutesAfterPlacing;
    repaint();
}

bool placingGoesOn() {
    return placing;
}

void logTimeLine() {
    const HhNow now = hhNow();
    log(fmt::format("\n{} (utc) It is day {} ({}), {} hours", hhmmTime(trafficReader.timestamp), now.day,
                    dayName(now.day), shortest(now.slot * 0.5)));
}

} // namespace kes
