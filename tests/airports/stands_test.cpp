// SPDX-License-Identifier: MIT
// Neighbours of stands, quality of a list, and half-hours.
#include "airports/stands.h"

#include <algorithm>
#include <cmath>
#include <gtest/gtest.h>
#include <random>

namespace kes {
namespace {

TEST(Stands, NeighboursAreThoseOfAllPairs) {
    const struct {
        const char* where;
        double lat, lon, spread; ///< degrees
        double greatest;         ///< radius, metres
    } cases[] = {
        {"an airport", 51.47, -0.46, 0.03, 40},
        {"far north", 78.2, 15.4, 0.03, 40},
        {"across the date line", -18.0, 180.0, 0.005, 60},
        {"one place", 40, 10, 0, 30},
        {"at the pole", 90, 0, 0.01, 60},
        {"the whole world", 0, 0, 90, 900000},
    };
    std::mt19937 random(7);
    std::uniform_real_distribution<double> part(-1.0, 1.0);
    std::size_t pairs = 0;
    for (const auto& c : cases) {
        std::vector<Stand> list(300);
        for (Stand& s : list) {
            s.lat = std::min(c.lat + part(random) * c.spread, 90.0);
            s.lon = std::remainder(c.lon + part(random) * c.spread * 2, 360);
            s.radius = (part(random) + 1) / 2 * c.greatest / metresPerNm;
        }
        giveSids(list);
        findAdjacent(list);
        for (const Stand& a : list) {
            std::vector<std::uint32_t> expected;
            for (const Stand& b : list)
                if (a.sid != b.sid && a.radius + b.radius > distanceNm(a.position(), b.position()) * 1.1)
                    expected.push_back(b.sid);
            EXPECT_EQ(a.adjacent, expected) << c.where << ", stand " << a.sid;
            pairs += expected.size();
        }
    }
    EXPECT_GT(pairs, 1000U);
}

TEST(Stands, QualityTellsHowMuchIsKnown) {
    const auto option = [](int real, std::uint32_t day, std::uint64_t hours, std::int32_t index = 1) {
        return ParkPosOption{.hours = hours, .optIndex = index, .day = day, .real = real};
    };
    std::vector<Stand> list(1);
    EXPECT_EQ(qualityOf(list), (QualityPair{-1, -1}));
    EXPECT_EQ(qualityText(qualityOf(list)), "  ");
    list[0].options = {option(1, 1, 0b111), option(1, 1, 0b1), option(1, 2, 0b11), option(1, 9, 0),
                       option(1, 3, 0xffff, 0)};
    // 4 options in use, 2 days, 6 half-hours: 80 + 10000 + 200 + 12.
    EXPECT_EQ(qualityOf(list), (QualityPair{64, 0}));
    list.resize(4);
    EXPECT_EQ(qualityOf(list), (QualityPair{16, 0}));
    list[1].options.assign(500, option(0, 4, (std::uint64_t{1} << 48) - 1));
    // No more than 4000 for options and 1200 for half-hours: 15300 over four.
    EXPECT_EQ(qualityOf(list), (QualityPair{16, 24}));
    EXPECT_EQ(qualityText({44, 3}), "44/ 3");
    EXPECT_EQ(qualityText({45, 3}), "45");
    EXPECT_EQ(qualityText({-1, 0}), "-1/ 0");
    list.resize(1);
    list[0].options.assign(1000, option(1, 1, ~std::uint64_t{0} >> 16));
    for (std::uint32_t i = 0; i < 7; ++i)
        list[0].options[i].day = i + 1;
    EXPECT_EQ(qualityOf(list), (QualityPair{99, 0}));
}

TEST(Stands, HalfHoursAreReadAndWritten) {
    struct Case {
        const char* list;
        const char* good;
    };
    for (const Case& c : {Case{"14,15", "14,15"}, Case{"15,14,15", "14,15"}, Case{"3,99,4", "3,4"}, Case{"", ""},
                          Case{"0,47,48,-1", "0,47"}, Case{"x,,5x, 6", "5,6"}, Case{"7,", "7"}})
        EXPECT_EQ(hoursText(gf_hours2bitset(c.list)), c.good) << c.list;
}

} // namespace
} // namespace kes
