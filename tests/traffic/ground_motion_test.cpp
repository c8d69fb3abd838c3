// SPDX-License-Identifier: MIT
// Decisions at the start of a leg on the ground, and the way round its corners.
#include "traffic/flight.h"
#include "traffic/ground_motion.h"
#include "traffic/leg_timing.h"

namespace kes::test {
namespace {

using GroundMotionTest = FlightTest;

TEST_F(GroundMotionTest, WhichCornersGetACurve) {
    enum Does { nothing, midpoint, curve };
    struct Row {
        const char* name;
        PositionSample s1, s2;
        Does does;
        double gs0 = 10;
        double headingDegrees = 0;
    };
    const Row rows[] = {
        {"straight on", at(40, 0, 5800), at(80, 1.4, 6600), nothing},
        {"a bend of 4 degrees", at(40, 0, 5800), at(80, 2.8, 6600), curve},
        {"a bend", at(40, 0, 5800), at(80, 10, 6600), curve},
        {"50 degrees after a long leg", at(52, 0, 5600), at(92, 47.7, 7800), midpoint},
        {"after a shorter one", at(48, 0, 5600), at(88, 47.7, 7800), curve},
        {"in less than 6 s", at(52, 0, 5599), at(92, 47.7, 7800), curve},
        {"43 knots", at(52, 0, 5600, 43), at(92, 47.7, 7800, 43), midpoint, 43},
        {"faster than that", at(52, 0, 5600, 44), at(92, 47.7, 7800, 44), curve, 44},
        {"44 degrees after a long leg", at(52, 0, 5600), at(92, 38.6, 7800), curve},
        {"nearly back", at(40, 0, 5800), at(0.5, 17, 6600), curve},
        {"a U-turn", at(40, 0, 5800), at(0.5, 13, 6600), nothing},
        {"there and back", at(40, 0, 5800), at(0, 0, 6600), nothing},
        {"the same, out of a turn", at(40, 0, 5800), at(0, 0, 6600), nothing, 10, 40},
        {"a change of speed over a long leg", at(102, 0, 8000, 16), at(240, 0, 9500, 16), midpoint},
        {"a small one", at(102, 0, 8000, 15), at(240, 0, 9500, 16), nothing},
        {"over a short leg", at(98, 0, 8000, 16), at(240, 0, 9500, 16), nothing},
        {"before a stop", at(102, 0, 8000, 16), stopAt(240, 9500), midpoint},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        Flight f({at(0, 0, 5000, row.gs0), row.s1, row.s2});
        f.a.heading = row.headingDegrees * degToRad;
        f.a.turning = true; // what the leg before did
        nextPosGround(f.a, f.m);
        EXPECT_EQ(curveRuns(f.a), row.does == curve);
        EXPECT_EQ(f.a.turning, row.headingDegrees != 0);
        EXPECT_EQ(f.a.sz(), row.does == curve ? 2U : row.does == midpoint ? 4U : 3U);
        if (row.does == midpoint) {
            EXPECT_NEAR(north(f.a.stream[1].position()), north(row.s1.position()) / 2, 0.01);
        }
        if (row.does == curve) {
            EXPECT_NEAR(f.a.curveAngle, bearingRad(row.s1.position(), row.s2.position()) * radToDeg, 1e-9);
        }
    }
    for (const std::int32_t invented : {0, 1}) {
        Flight f({at(0, 0, 5000), at(102, 0, 8000, 16)});
        f.a.extrapCount = invented;
        nextPosGround(f.a, f.m);
        EXPECT_EQ(f.a.sz(), invented == 0 ? 3U : 2U) << "speed steps at the end of the stream unless it is invented";
    }
    for (const double off : {2.9, -3.1, 170.0}) {
        Flight f({at(0, 0, 5000), at(40, 0, 5800)});
        f.a.heading = normalizeAngle(off * degToRad);
        nextPosGround(f.a, f.m);
        EXPECT_EQ(f.a.turning, off != 2.9) << "a turn is more than three degrees";
        EXPECT_NEAR(f.a.legTurn, std::fabs(off), 1e-9);
    }
}

/// On each tick the aircraft is on the curve of its three points, its nose along the tangent.
TEST_F(GroundMotionTest, ACornerIsABezierCurve) {
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

TEST_F(GroundMotionTest, RotatesWhenTheSamplesAheadSayThatItFlies) {
    using enum AircraftCategory;
    enum Climb { none, asTheData, most, least };
    struct Row {
        const char* name;
        Climb climb; ///< none = it does not rotate
        double gs0, gs1 = gs0, gs2 = gs1;
        double vs = 0, alt1 = 120;
        AircraftCategory category = large;
    };
    const Row rows[] = {
        {.name = "climbing", .climb = asTheData, .gs0 = 120, .vs = 1500},
        {.name = "just a climb", .climb = asTheData, .gs0 = 120, .vs = 257},
        {.name = "no climb, too slow", .climb = none, .gs0 = 120, .vs = 256},
        {.name = "no climb in the feed, fast", .climb = most, .gs0 = 145, .gs1 = 140},
        {.name = "at first too slow", .climb = none, .gs0 = 145, .gs1 = 139, .gs2 = 145},
        {.name = "at last too slow", .climb = none, .gs0 = 145, .gs2 = 139},
        {.name = "still on the ground", .climb = none, .gs0 = 145, .alt1 = 0},
        {.name = "climbing off the ground", .climb = most, .gs0 = 145, .vs = 1500, .alt1 = 0},
        {.name = "climbing to where it is", .climb = least, .gs0 = 145, .vs = 1500, .alt1 = 5},
        {.name = "a helicopter", .climb = most, .gs0 = 60, .category = rotorcraft},
        {.name = "light", .climb = most, .gs0 = 90, .category = light},
        {.name = "light, slow", .climb = none, .gs0 = 89, .category = light},
        {.name = "business jet", .climb = most, .gs0 = 110, .category = buzjets},
        {.name = "business jet, slow", .climb = none, .gs0 = 109, .category = buzjets},
        {.name = "heavy", .climb = most, .gs0 = 150, .category = heavy},
        {.name = "heavy, slow", .climb = none, .gs0 = 149, .category = heavy},
        {.name = "fighter", .climb = most, .gs0 = 220, .category = highPerf},
        {.name = "fighter, slow", .climb = none, .gs0 = 219, .category = highPerf},
        {.name = "the run has hardly begun", .climb = asTheData, .gs0 = 43, .gs1 = 48, .vs = 1500},
        {.name = "not yet", .climb = none, .gs0 = 42, .gs1 = 47, .vs = 1500},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        Flight f({ground(0, 5000, row.gs0), air(0.003, 5500, row.gs1, row.alt1), air(0.006, 6000, row.gs2, 300)},
                 row.category);
        f.a.stream[1].vs = f.a.stream[2].vs = row.vs;
        f.a.departing = true;
        f.a.alt = 10;
        f.leg();
        ASSERT_EQ(f.a.fs == FlightState::take_off, row.climb != none);
        if (row.climb != none) {
            EXPECT_NEAR(f.a.altStep,
                        row.climb == most ? f.a.climbStepMax
                                          : (row.climb == least ? 0.1 : row.alt1 - 10) / ticksToGo(f.a.stream[0], f.m),
                        1e-9);
        }
    }
}

TEST_F(GroundMotionTest, TheRollOutEndsOffTheRunway) {
    struct Row {
        const char* name;
        double gs, turnedDegrees;
        const char *wings, *rotor;
        bool controls; ///< set to 0 on all but light ones
    };
    const char* const off = "flaps 0, throttle 0, spoilers 0, lights nb-t-oc";
    const char* const rotorOff = "throttle 16383, lights nb-t-oc";
    for (const Row& row :
         {Row{"still fast", 91, 0, "", "", false}, Row{"slow on the runway", 90, 0, "spoilers 0, flaps 3072", "", true},
          Row{"a little off its course", 40, -14.9, "spoilers 0, flaps 3072", "", true},
          Row{"off the runway", 60, 15.1, off, rotorOff, true}, Row{"to the left", 100, -15.1, off, rotorOff, true}}) {
        SCOPED_TRACE(row.name);
        for (const AircraftCategory category : everyCategory) {
            const bool rotor = category == AircraftCategory::rotorcraft;
            Flight f({at(0, 0, 5000, row.gs), at(60, 0, 5200, row.gs)}, category);
            f.a.landingRoll = true;
            f.a.flapsIndex = 3;
            f.a.touchdownHeading = 1.0;
            f.a.heading = 1.0 + row.turnedDegrees * degToRad;
            f.leg();
            const bool object = row.controls && category != AircraftCategory::light && !rotor;
            EXPECT_EQ(f.told(), std::string(object ? "controls 0 0, " : "") + (rotor ? row.rotor : row.wings));
            const bool left = std::fabs(row.turnedDegrees) > 15;
            EXPECT_EQ(f.a.landingRoll, !left);
            EXPECT_EQ(f.a.touchdownHeading, left ? 0.0 : 1.0);
            f.a.stream.push_back(at(120, 0, 6000, 10));
            if (left) {
                f.leg();
                EXPECT_EQ(f.told(), "") << "taxi in";
            }
        }
    }
}

} // namespace
} // namespace kes::test
