// SPDX-License-Identifier: MIT
#include "core/run_state.h"

#include <atomic>
#include <gtest/gtest.h>
#include <thread>
#include <vector>

namespace kes {
namespace {

TEST(RequestExit, TheFirstReasonWinsWithItsDelay) {
    for (int round = 0; round < 200; ++round) {
        resetRunFlags();
        std::atomic<int> winners{0};
        std::atomic<bool> torn{false};
        std::vector<std::thread> threads;
        for (int i = 1; i <= 4; ++i)
            threads.emplace_back([&, i] { winners += requestExit(static_cast<ExitReason>(i), i * 11) ? 1 : 0; });
        threads.emplace_back([&] {
            while (!exitRequested)
                std::this_thread::yield();
            torn = restartDelay() != static_cast<std::int32_t>(exitReason()) * 11;
        });
        for (std::thread& thread : threads)
            thread.join();
        EXPECT_EQ(winners, 1);
        EXPECT_FALSE(torn) << "who sees the flag sees the reason and its own delay";
    }
    setExitReason(ExitReason::systemError);
    EXPECT_EQ(exitReason(), ExitReason::systemError);
    EXPECT_EQ(restartDelay() % 11, 0) << "only the reason is written over";
    resetRunFlags();
}

TEST(RequestExit, AReasonWrittenAloneKeepsNoRequestOut) {
    resetRunFlags();
    setExitReason(ExitReason::systemError);
    EXPECT_FALSE(exitRequested);
    EXPECT_TRUE(requestExit(ExitReason::newSettings, 3)) << "a path typed after the error that asked for it";
    EXPECT_EQ(exitReason(), ExitReason::newSettings);
    EXPECT_EQ(restartDelay(), 3);
    EXPECT_FALSE(requestExit(ExitReason::newFlight, 45));
    resetRunFlags();
    EXPECT_EQ(exitReason(), ExitReason::notYetSet);
    EXPECT_TRUE(requestExit(ExitReason::newFlight, -1)) << "the next run starts anew";
    EXPECT_EQ(restartDelay(), -1);
    exitRequested = false;
    resetRunFlags();
}

} // namespace
} // namespace kes
