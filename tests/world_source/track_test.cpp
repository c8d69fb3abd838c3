// SPDX-License-Identifier: MIT
#include "world/source/track.h"

#include <cmath>
#include <gtest/gtest.h>

using namespace kes;
using namespace kes::source;

TEST(Track, SpeedPlanHoldsLimitsAndStops) {
    // 1 km, a corner to the right, 1 km; a stop of 20 s in the first leg.
    Track t;
    appendRoute(t,
                {{.at = {0, 0}, .speed = 10, .accel = 0.5, .decel = 1.0},
                 {.at = {0, 1000}, .radius = 50, .speed = 10, .accel = 0.5, .decel = 1.0},
                 {.at = {1000, 1000}}},
                1.28);
    const double total = 950 + 50 * pi / 2 + 950;
    EXPECT_NEAR(pathLength(t), total, 1e-6);
    planSpeed(t, 0, 0, {{500, 20}});
    // Twice from rest to 10 m/s and back; the curve allows 8 m/s.
    const double arc = 50 * pi / 2;
    const double legOne = 500 / 10.0 + 10 / (2 * 0.5) + 10 / (2 * 1.0);
    const double slowing = (100 - 64) / (2 * 1.0), gaining = (100 - 64) / (2 * 0.5);
    const double legTwo = 20 + 2 / 1.0 + (450 - 100 - slowing) / 10.0;
    const double legThree = 2 / 0.5 + 10 + (950 - gaining - 50) / 10.0;
    EXPECT_NEAR(t.duration, legOne + 20 + legTwo + arc / 8.0 + legThree, 0.3);
    EXPECT_NEAR(timeAt(t, 500), legOne, 0.2);
    for (double at : {legOne + 1, legOne + 19}) {
        EXPECT_NEAR(stateAt(t, at).speed, 0, 0.2);
        EXPECT_NEAR(stateAt(t, at).at.y, 500, 1);
    }
    const TrackState inCurve = stateAt(t, timeAt(t, 950 + arc / 2));
    EXPECT_NEAR(inCurve.speed, 8, 1e-6);
    EXPECT_NEAR(inCurve.heading, pi / 4, 1e-6);
    EXPECT_NEAR(inCurve.at.x, 50 - 50 * std::cos(pi / 4), 1e-6);
    EXPECT_NEAR(stateAt(t, 1e9).at.x, 1000, 1e-6);
}

TEST(Track, CornersTooSharpForTheirLegsAreFlownTighter) {
    Track t;
    appendRoute(t, {{.at = {0, 0}, .speed = 10}, {.at = {0, 100}, .radius = 1000, .speed = 10}, {.at = {100, 100}}},
                1.0);
    planSpeed(t, 0, 0, {});
    Vec last{};
    for (double at = 0; at <= t.duration; at += 0.1) {
        const TrackState s = stateAt(t, at);
        ASSERT_LT(length(s.at - last), 1.1) << at;
        last = s.at;
    }
    EXPECT_NEAR(last.x, 100, 1.5);
}

TEST(Track, PlaneKeepsDistanceAndBearing) {
    const LatLon centre{48.35, 11.79};
    for (double bearing = 0.1; bearing < twoPi; bearing += 0.7) {
        const Vec at = unit(bearing) * 60000.0;
        const LatLon place = placeOf(centre, at);
        EXPECT_NEAR(distanceNm(centre, place) * metresPerNm, 60000.0, 5.0);
        EXPECT_NEAR(angleDiff(bearingRad(centre, place), bearing), 0, 1e-4);
        // A step on the plane, east or north, has the true bearing that the grid angle promises.
        const LatLon north = placeOf(centre, at + Vec{0, 500});
        EXPECT_NEAR(angleDiff(bearingRad(place, north), gridToTrue(centre, at)), 0, 2e-3);
    }
}
