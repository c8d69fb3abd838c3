// SPDX-License-Identifier: MIT
#include "core/log.h"
#include "core/window.h"

#include <gtest/gtest.h>

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
    EXPECT_TRUE(readouts.live == 0 && readouts.qnh == 0 && readouts.minutesToRenewal == -1);
    EXPECT_TRUE(readouts.trafficLamp == Lamp::stopped && readouts.waiting);
    EXPECT_EQ(readoutText(Readout::foundObject), "");
    EXPECT_FALSE(windowRequests.parkAdjust || windowRequests.newSettings);
    EXPECT_EQ(readouts.liveries, 4711) << "they stay loaded";
    EXPECT_EQ(statusText(), "");
}

} // namespace
} // namespace kes
