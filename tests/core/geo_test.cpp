// SPDX-License-Identifier: MIT
#include "core/geo.h"

#include <cmath>
#include <gtest/gtest.h>

namespace kes {
namespace {

TEST(Geo, KnownDistancesAndBearings) {
    // One degree is 60 miles along the equator and along a meridian.
    EXPECT_NEAR(distanceNm({0, 0}, {0, 1}), 60.0, 1e-9);
    EXPECT_NEAR(distanceNm({52, 13}, {53, 13}), 60.0, 1e-9);
    EXPECT_NEAR(distanceNm({60, 0}, {60, 1}), 2 * std::asin(0.5 * std::sin(degToRad / 2)) * diameterNm / 2, 1e-9);
    EXPECT_NEAR(distanceNm({0, 179.5}, {0, -179.5}), 60.0, 1e-9) << "across the date line";
    EXPECT_NEAR(distanceNm({90, 0}, {-90, 77}), 180 * 60.0, 1e-6);
    EXPECT_NEAR(distanceNm({30, 10}, {-30, -170}), 180 * 60.0, 1e-3) << "antipodes";
    EXPECT_EQ(distanceNm({48.1, 11.5}, {48.1, 11.5}), 0.0);
    EXPECT_EQ(bearingRad({48.1, 11.5}, {48.1, 11.5}), 0.0);
    EXPECT_NEAR(bearingRad({10, 10}, {9, 10}), pi, 1e-12);
    EXPECT_NEAR(bearingRad({0, 10}, {0, 9}), 1.5 * pi, 1e-12);
    EXPECT_NEAR(bearingRad({0, 179.9}, {0, -179.9}), 0.5 * pi, 1e-12);
}

TEST(Geo, DestinationLeadsBackToDistanceAndBearing) {
    // feetPerNm and radiansPerFoot are rounded apart in the eighth digit.
    for (const double lat : {-85.0, -33.9, 0.0, 52.3, 89.0})
        for (const double lon : {-179.99, -0.1, 13.5, 179.99})
            for (double bearing = 0.1; bearing < twoPi; bearing += 0.7)
                for (const double nm : {0.01, 3.0, 100.0}) {
                    const LatLon from{lat, lon};
                    const LatLon to = destination(from, bearing, nm * feetPerNm);
                    EXPECT_NEAR(distanceNm(from, to) / nm, 1.0, 1e-6);
                    EXPECT_NEAR(angleDiff(bearing, bearingRad(from, to)), 0.0, 1e-6);
                    EXPECT_LE(std::fabs(to.lon), 180.0);
                }
    EXPECT_NEAR(destination({90, 0}, 0, 0).lat, 90.0, 1e-6) << "a hair above the pole must not turn into no number";
}

TEST(Geo, AnglesStayInTheirRange) {
    for (double a = -20; a < 20; a += 0.37)
        for (double b = -20; b < 20; b += 0.41) {
            const double d = angleDiff(a, b);
            EXPECT_LE(std::fabs(d), pi);
            EXPECT_NEAR(std::remainder(a + d - b, twoPi), 0.0, 1e-12);
        }
    for (const double a : {-1e-17, -twoPi, twoPi, 0.0, 3 * twoPi, -7.0, 1e6}) {
        const double n = normalizeAngle(a);
        EXPECT_GE(n, 0.0);
        EXPECT_LT(n, twoPi);
    }
    EXPECT_TRUE(inStartUpBox(0.0009, 0.05));
    EXPECT_FALSE(inStartUpBox(0.00091, 0.05));
    EXPECT_FALSE(inStartUpBox(-0.0001, 0.01));
}

} // namespace
} // namespace kes
