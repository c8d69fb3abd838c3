// SPDX-License-Identifier: MIT
// The table of controls against the parameters that have one, and against itself.
#include "window/window_layout.h"
#include "window/window_place.h"

#include <gtest/gtest.h>
#include <map>
#include <set>

namespace kes::test {
namespace {

TEST(WindowLayout, EveryControlHasItsPlaceAndNoTwoOverlap) {
    std::set<std::uint16_t> ids;
    for (const PlacedControl& one : placedControls()) {
        const Control& base = one.base();
        EXPECT_TRUE(ids.insert(base.controlId).second) << base.controlId;
        EXPECT_GE(one.x, 0);
        EXPECT_LE(one.x + one.width, windowWidth) << one.label;
        EXPECT_LE(base.top + rowHeight, messageRow) << one.label;
        EXPECT_FALSE(one.tip.empty()) << one.label;
        for (const PlacedControl& other : placedControls()) {
            const bool sameRow = std::abs(base.top - other.base().top) < rowHeight;
            if (&one != &other && sameRow && one.x <= other.x) {
                EXPECT_LE(one.x + one.width, other.x) << one.label << " and " << other.label;
            }
        }
    }
    // 25 tick boxes, ten boxes of whole numbers, one of a decimal one, four of text, three buttons.
    EXPECT_EQ(ids.size(), 43u);
    for (const Control* needed :
         std::initializer_list<const Control*>{&par::MSFS_2020, &par::ALL_INSTALL_PATH, &par::MAX_FIT_FL, &par::unblock,
                                               &par::reRead, &par::flushStatic, &par::parking_percentage, &par::WEEK}) {
        EXPECT_TRUE(ids.contains(needed->controlId)) << needed->controlId;
    }
}

TEST(WindowLayout, TabGoesByRowsAndAccessKeysAreNotShared) {
    std::map<char, std::string> keys;
    int row = 0, x = 0;
    for (const PlacedControl& one : placedControls()) {
        const int top = one.base().top;
        // A button stands two pixels higher than its row.
        EXPECT_TRUE(top > row + 2 || (top >= row - 2 && one.x > x)) << one.label;
        row = top;
        x = one.x;
        const std::size_t mark = one.label.find('&');
        if (mark == std::string_view::npos)
            continue;
        const auto key = static_cast<char>(std::tolower(one.label[mark + 1]));
        EXPECT_TRUE(keys.emplace(key, one.label).second) << one.label << " and " << keys[key];
    }
    EXPECT_GT(keys.size(), 15u);
}

TEST(WindowLayout, TipsTellTheLimitsOfNumbers) {
    std::map<std::uint16_t, std::string> tips;
    for (const PlacedControl& one : placedControls())
        tips[one.base().controlId] = one.wholeTip();
    EXPECT_TRUE(tips[par::MAX_LIVE.controlId].ends_with(" (-1 to 300)")) << tips[par::MAX_LIVE.controlId];
    EXPECT_TRUE(tips[par::MAX_FIT_FL.controlId].ends_with(" (0.5 to 24.0)")) << tips[par::MAX_FIT_FL.controlId];
    EXPECT_EQ(tips[par::LOG.controlId], "Writes details into Log.txt");
}

TEST(WindowPlace, IsPulledBackOntoTheNearestScreenThereIs) {
    const Area left{0, 0, 1920, 1040}, right{1920, 200, 1280, 1000}, small{0, 0, 800, 480};
    const struct {
        const char* name;
        int x, y;
        std::vector<Area> screens;
        Area expected;
    } rows[] = {
        {"where it was", 400, 20, {left}, {400, 20, 890, 550}},
        {"on the second screen", 2000, 300, {left, right}, {2000, 300, 890, 550}},
        {"that is no longer there", 2000, 300, {left}, {1030, 300, 890, 550}},
        {"above and left of all", -30000, -30000, {left, right}, {0, 0, 890, 550}},
        {"right of all", 30000, 700, {left, right}, {2310, 650, 890, 550}},
        {"between two screens, most of it on the right", 1600, 250, {left, right}, {1920, 250, 890, 550}},
        {"a step below", 100, 900, {left, right}, {100, 490, 890, 550}},
        {"on a screen of hand size", 100, 100, {small}, {0, 0, 890, 550}},
    };
    for (const auto& row : rows)
        EXPECT_EQ(pulledBack({row.x, row.y, 890, 550}, row.screens), row.expected) << row.name;
}

} // namespace
} // namespace kes::test
