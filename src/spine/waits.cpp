// SPDX-License-Identifier: MIT
#include "spine/waits.h"

#include "airports/user_stand.h"
#include "core/run_state.h"
#include "spine/control_rules.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <thread>

namespace kes {

namespace {

std::atomic<double> sleepScale{1.0};

} // namespace

void setRunSleepScale(double scale) {
    sleepScale = scale;
}

bool runSleep(std::int32_t ms, bool onlyUserClose) {
    using namespace std::chrono;
    const auto stop = [&] { return onlyUserClose ? userClosed.load() : stopWanted(); };
    const auto end =
        steady_clock::now() + duration_cast<steady_clock::duration>(duration<double, std::milli>(ms * sleepScale));
    for (;;) {
        applyControlChanges();
        followUserStand();
        if (stop())
            return false;
        const auto left = end - steady_clock::now();
        if (left <= steady_clock::duration::zero())
            return true;
        std::this_thread::sleep_for(std::min<steady_clock::duration>(left, milliseconds(50)));
    }
}

void runPause(std::int32_t ms) {
    std::this_thread::sleep_for(std::chrono::duration<double, std::milli>(ms * sleepScale));
}

} // namespace kes
