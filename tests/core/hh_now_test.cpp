// SPDX-License-Identifier: MIT
#include "core/hh_now.h"

#include <gtest/gtest.h>

namespace kes {
namespace {

TEST(HhNow, SlotsTurnAtTheHourAndHalfAMinuteBeforeTheHalf) {
    constexpr std::int64_t monday = 1764547200; // Mon Dec 01 2025
    const struct {
        std::int64_t time;
        HhNow expected;
    } cases[] = {
        {monday, {1, 0}},
        {monday + 29 * 60 + 29, {1, 0}},
        {monday + 29 * 60 + 30, {1, 1}},
        {monday + 3599, {1, 1}},
        {monday + 3600, {1, 2}},
        {monday + 86399, {1, 47}},
        {monday - 1, {7, 47}},
        {0, {4, 0}},
        {-1, {3, 47}},
    };
    for (const auto& row : cases)
        EXPECT_EQ(hhOf(row.time), row.expected) << row.time;
}

} // namespace
} // namespace kes
