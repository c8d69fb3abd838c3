// SPDX-License-Identifier: MIT
#include "core/log.h"
#include "core/window.h"

#include <gtest/gtest.h>
#include <tuple>

namespace kes {
namespace {

TEST(Window, ANewRunStartsWithFreshReadOuts) {
    readouts.live = 5;
    readouts.qnh = 1013;
    readouts.trafficLamp = Lamp::receiving;
    readouts.minutesToRenewal = 3;
    readouts.waiting = false;
    setReadout(Readout::foundObject, "text");
    windowRequests.parkAdjust = true;
    readouts.liveries = 4711;
    windowRequests.newSettings = true;
    showStatus("old", false);
    resetWindow();
    EXPECT_EQ((std::tuple<int, int, int>(readouts.live, readouts.qnh, readouts.minutesToRenewal)),
              std::tuple(0, 0, -1));
    EXPECT_EQ((std::tuple<Lamp, bool>(readouts.trafficLamp, readouts.waiting)), std::tuple(Lamp::stopped, true));
    EXPECT_EQ(readoutText(Readout::foundObject), "");
    EXPECT_EQ((std::tuple<bool, bool>(windowRequests.parkAdjust, windowRequests.newSettings)),
              std::tuple(false, false));
    EXPECT_EQ(readouts.liveries, 4711) << "they stay loaded";
    EXPECT_EQ(statusText(), "");
}

} // namespace
} // namespace kes
