// SPDX-License-Identifier: MIT
// Corners on the ground.
#include "traffic/flight.h"

namespace kes::test {
namespace {

using GroundCurveTest = FlightTest;

/// On each tick the aircraft is on the curve of its three points, its nose along the tangent.
TEST_F(GroundCurveTest, ACornerIsABezierCurve) {
    std::mt19937 random(5);
    const auto between = [&](double low, double high) { return std::uniform_real_distribution(low, high)(random); };
    for (int round = 0; round < 40; ++round) {
        const bool pushed = round % 3 == 0;
        const double lon = round % 2 == 0 ? homeLon : 179.9998;
        const double corner = between(20, 45), endNorth = between(30, 70), endEast = between(-60, 60);
        std::vector<PositionSample> stream{at(0, 0, 5000, 8), at(corner, 0, 5500, 4), at(endNorth, endEast, 6100, 0)};
        for (PositionSample& s : stream)
            s.lon = std::remainder(s.lon - homeLon + lon, 360);
        Flight f(stream);
        if (pushed)
            f.a.fs = FlightState::pushing_back;
        f.a.turnRate = 4; // at once
        ASSERT_TRUE(setUpCurve(f.a, 60));
        EXPECT_EQ(f.a.stream[1].gs, 6) << "an end without a speed takes the mean of the others";
        ASSERT_EQ(f.a.sz(), 2U) << "the corner has gone into the curve";
        EXPECT_FALSE(setUpCurve(f.a, 60)) << "two samples make none";
        f.a.curveStep = 0.01;
        for (int i = 1; i <= 100; ++i) {
            advanceOnCurve(f.a);
            const double t = i / 100.0, w = 1 - t;
            const LatLon p{f.a.lat, std::remainder(f.a.lon - lon, 360) + homeLon};
            ASSERT_NEAR(north(p), 2 * w * t * corner + t * t * endNorth, 0.06) << round << " " << i;
            ASSERT_NEAR(east(p), t * t * endEast, 0.06) << round << " " << i;
            const double tangent = std::atan2(t * endEast, t * (endNorth - corner) + w * corner) + (pushed ? pi : 0);
            ASSERT_NEAR(angleDiff(tangent, f.a.heading) * radToDeg, 0, 0.8) << round << " " << i;
        }
    }
    Flight driven({at(0, 0, 5000), at(26, 0, 5505), at(26, 26, 6010), at(26, 60, 6700)});
    driven.tick();
    ASSERT_TRUE(curveRuns(driven.a));
    const std::int32_t ticks = driven.legTicks();
    driven.tick(ticks - 1);
    EXPECT_NEAR(north(driven.a.position()), 26, 0.2) << "the ticks of the leg lead to its end";
    EXPECT_NEAR(east(driven.a.position()), 26, 0.2);
    EXPECT_GT(driven.a.heading * radToDeg, 30);
    Flight late({at(0, 0, 5000), at(26, 0, 3000), at(26, 26, 3100)});
    late.leg();
    EXPECT_EQ(late.a.curveStep, 1 / 25.0) << "also where the data are long past";
}

} // namespace
} // namespace kes::test
