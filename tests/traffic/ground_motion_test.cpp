// SPDX-License-Identifier: MIT
// Decisions at the start of a leg on the ground.
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

TEST_F(GroundMotionTest, ThrottleGrowsOverTheTakeOffRun) {
    struct Row {
        const char* name;
        double from, to;
        bool departing;
        const char* wings;
    };
    const Row rows[] = {
        {"taxiing fast", 30, 30, false, "throttle 0"},       {"lining up", 14, 19, true, "throttle 0"},
        {"the run begins", 15, 10, true, "throttle 4914"},   {"about to", 10, 20, true, "throttle 4914"},
        {"faster", 20, 10, true, "throttle 8191"},           {"about to be faster", 10, 25, true, "throttle 8191"},
        {"just below", 24, 29, true, "throttle 8191"},       {"full", 25, 10, true, "throttle 16383"},
        {"about to be full", 10, 30, true, "throttle 16383"}};
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        for (const AircraftCategory category : everyCategory) {
            Flight f({at(0, 0, 5000, row.from), at(60, 0, 5600, row.to)}, category);
            f.a.departing = row.departing;
            f.leg();
            EXPECT_EQ(f.told(), category == AircraftCategory::rotorcraft ? "throttle 16383" : row.wings);
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
