// SPDX-License-Identifier: MIT
// The last seconds of a landing.
#include "traffic/flare.h"
#include "traffic/flight.h"

#include <tuple>

namespace kes::test {
namespace {

using FlareTest = FlightTest;

/// The first row goes by the lower of the two heights, the others by the simulator's alone.
TEST_F(FlareTest, EachStageHasItsHeightAndTheNoseComesDownAfterIt) {
    struct Stage {
        double height, altStep, vs;
    };
    const Stage stages[] = {{30, -0.1, -601}, {20, -0.075, -450}, {10, -0.05, -300}, {3, -0.025, -150}};
    for (const AircraftCategory category : everyCategory) {
        SCOPED_TRACE(text(category));
        const bool rotor = category == AircraftCategory::rotorcraft, reverse = category == AircraftCategory::heavy;
        Flight f({air(0, 5000, 140, 500), air(0.1, 20000, 140, 100)}, category);
        f.airport(100);
        f.a.approach = f.a.lowLights = true;
        f.a.staticCg = 10;
        f.a.staticPitch = 0.5 * degToRad;
        f.a.reverseThrust = reverse;
        f.a.throttleIndex = rotor ? 4 : 1;
        f.a.agl = 401;
        f.a.alt = 110;
        f.tick();
        EXPECT_EQ(f.a.flareStage, 0) << "too high, whatever the airport's elevation says";
        f.a.agl = 20;
        f.a.approach = false;
        f.tick();
        EXPECT_EQ(f.a.flareStage, 0) << "not landing";
        f.a.approach = true;
        for (int stage = 0; stage < 4; ++stage) {
            const Stage& row = stages[stage];
            f.a.agl = stage == 0 ? 200 : 10 + row.height + 0.01;
            f.a.alt = 100 + (stage == 0 ? 10 + row.height + 0.5 : 200);
            f.told();
            f.tick();
            ASSERT_EQ(f.a.flareStage, stage);
            if (stage == 0 && reverse)
                f.a.alt = 110 + row.height;
            else
                f.a.agl = 10 + row.height;
            f.tick();
            ASSERT_EQ(f.a.flareStage, stage + 1);
            EXPECT_EQ(f.a.altStep, row.altStep);
            EXPECT_EQ(f.a.stream.front().vs, row.vs);
            EXPECT_EQ(f.told(), stage == 2 && !rotor ? "throttle 0" : "");
            if (stage == 0) {
                EXPECT_NEAR(f.a.pitch + f.a.pitchStep * (f.a.flareTicks - 1), -4 * degToRad, 1e-12);
            }
            EXPECT_EQ(f.a.runwayElevation.has_value(), stage == 0);
        }
        const double bank = f.a.bank = 0.1;
        f.a.pitch = -0.06;
        f.a.heading = 0.3;
        f.a.headingStep = 0.0;
        applyGroundData(f.a, true, 100, 0, f.m);
        EXPECT_EQ(f.out.landings, std::vector{f.a.hexid});
        EXPECT_EQ(f.told(), rotor                                 ? ""
                            : category == AircraftCategory::light ? "spoilers 16383"
                            : reverse                             ? "controls 100 -100, spoilers 16383"
                                                                  : "controls 100 100, spoilers 16383");
        EXPECT_EQ(std::tuple(f.a.landingRoll, f.a.landedSearch, f.a.derotating, f.a.onGround, f.a.approach),
                  std::tuple(true, true, true, true, false));
        EXPECT_EQ(f.a.touchdownHeading, 0.3);
        f.tick(f.a.derotateTicks / 2);
        EXPECT_NEAR(f.a.bank, bank / 2, 0.001);
        EXPECT_NEAR(f.a.pitch, (f.a.staticPitch - 0.06) / 2, 0.001);
        f.tick(f.a.derotateTicks / 2 - 2);
        EXPECT_TRUE(f.a.derotating);
        f.tick(4);
        EXPECT_FALSE(f.a.derotating);
        EXPECT_EQ(f.a.pitch, f.a.staticPitch);
        EXPECT_EQ(std::tuple(f.a.flareStage, f.a.bank, f.a.pitchStep), std::tuple(0, 0, 0));
        EXPECT_EQ(f.told(), "");
    }
}

TEST_F(FlareTest, WhatCountsAsALanding) {
    struct Row {
        const char* name;
        FlightState fs = FlightState::flying;
        AircraftStatus st = AircraftStatus::active;
        std::int32_t rotationCount = 1, flareStage = 0;
        bool approach = false, landed = false, onGround = false;
    };
    const Row rows[] = {
        {.name = "a final without flare", .approach = true, .landed = true, .onGround = true},
        {.name = "a flare", .flareStage = 2, .landed = true, .onGround = true},
        {.name = "ground below a low flight", .onGround = true},
        {.name = "one that is taken away", .st = AircraftStatus::removingfromsim, .flareStage = 2, .approach = true},
        {.name = "a take-off", .fs = FlightState::take_off, .rotationCount = -50, .flareStage = 2, .approach = true},
        {.name = "a rotation", .rotationCount = 2, .flareStage = 2, .approach = true},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        Flight f({air(0, 5000, 140, 50), ground(0.02, 7000, 130)});
        f.a.fs = row.fs;
        f.a.st = row.st;
        f.a.rotationCount = row.rotationCount;
        f.a.flareStage = row.flareStage;
        f.a.approach = row.approach;
        f.a.altStep = -0.1;
        applyGroundData(f.a, true, 0, 3, f.m);
        EXPECT_EQ(f.told(), row.landed ? "controls 100 100, spoilers 16383" : "");
        EXPECT_EQ(f.a.landingRoll, row.landed);
        EXPECT_EQ(f.a.onGround, row.onGround);
        EXPECT_EQ(f.a.altStep, row.onGround ? 0 : -0.1);
        EXPECT_EQ(f.a.agl, 3);
    }
}

} // namespace
} // namespace kes::test
