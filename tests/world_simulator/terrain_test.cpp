// SPDX-License-Identifier: MIT
#include "world/simulator/terrain.h"

#include <algorithm>
#include <cmath>
#include <gtest/gtest.h>

namespace kes::world::test {
namespace {

TEST(Terrain, IsFlatOnAirfieldsAndSmoothAround) {
    Terrain terrain;
    terrain.hillFeet = 1000;
    terrain.airfields = {{50, 8, -11, 3}, {50.15, 8, 900, 3}};
    EXPECT_EQ(terrainFeet(terrain, 50, 8), -11);
    EXPECT_EQ(terrainFeet(terrain, 50.049, 8), -11);
    EXPECT_EQ(terrainFeet(terrain, 50.15, 8.01), 900);
    double lowest = 1e9, highest = -1e9;
    // Along both meridians of interest: across the fields, and across the date line.
    const auto walk = [&](auto at) {
        double before = at(0);
        for (int i = 1; i <= 20000; ++i) {
            const double ground = at(i);
            EXPECT_LT(std::abs(ground - before), 3.0) << "a step at " << i;
            before = ground;
            lowest = std::min(lowest, ground);
            highest = std::max(highest, ground);
        }
    };
    walk([&](int i) { return terrainFeet(terrain, 49.8 + i * 3e-5, 8); });
    walk([&](int i) {
        const double lon = 179.7 + i * 3e-5;
        return terrainFeet(terrain, 10.3, lon > 180 ? lon - 360 : lon);
    });
    EXPECT_GE(lowest, -11);
    EXPECT_LE(highest, 1000);
    EXPECT_GT(highest - lowest, 300);
}

TEST(Terrain, AirfieldTextsAreChecked) {
    Airfield airfield;
    EXPECT_TRUE(parseAirfield("50.03, 8.57,364,2.5", airfield));
    EXPECT_EQ(airfield.radiusNm, 2.5);
    EXPECT_TRUE(parseAirfield("52.3,4.76,-11", airfield));
    EXPECT_EQ(airfield.radiusNm, 3);
    for (const char* bad :
         {"", "50,8", "50,8,x", "91,8,0", "50,181,0", "50,8,1,0", "50,8,1,2,3", "50,8,nan", "50,8,1e999"})
        EXPECT_FALSE(parseAirfield(bad, airfield)) << bad;
}

} // namespace
} // namespace kes::world::test
