// SPDX-License-Identifier: MIT
// From the take-off run to the climb.
#include "traffic/flight.h"

namespace kes::test {
namespace {

using DepartureTest = FlightTest;

TEST_F(DepartureTest, ATakeOffIsOneRotationAndAGrowingClimb) {
    constexpr std::pair<int, int> rotateAndClimbOutTicks[] = {{100, 200}, {200, 250}, {200, 300},
                                                              {250, 400}, {100, 200}, {100, 100}};
    for (const AircraftCategory category : everyCategory) {
        SCOPED_TRACE(text(category));
        const auto& [rotateTicks, climbOutTicks] = rotateAndClimbOutTicks[static_cast<std::size_t>(category)];
        Flight f({ground(0, 5000, 200), air(200 / 3600.0, 11000, 200, 3010)}, category); // a minute, all in one leg
        LiveAircraft& a = f.a;
        a.stream[1].vs = 1800;
        a.departing = true;
        a.staticCg = a.alt = 10;
        a.staticPitch = a.pitch = 0.7 * degToRad;
        a.bank = a.bankStep = 0.1;
        a.headingStep = 0.01;
        const double pitchStep = (a.rotatePitch - a.pitch) / rotateTicks;
        const double climbPitchStep = (a.climbPitch - a.rotatePitch) / climbOutTicks;
        for (int i = 1; i < 6000 && a.fs != FlightState::flying; ++i) {
            const double bump = i < 60 ? 0 : 2, alt = a.alt, pitch = a.pitch;
            const double agl = i < rotateTicks ? 0 : a.alt - 10;
            applyGroundData(a, agl < 3, bump, agl, f.m);
            f.tick();
            EXPECT_FALSE(a.onGround);
            ASSERT_EQ(a.bank, 0) << i;
            ASSERT_EQ(a.heading, 0) << i;
            const int climb = i - rotateTicks; // ticks since the lift-off
            if (climb < 0) {
                ASSERT_EQ(a.alt, 10 + bump) << "while it rotates it rolls on the terrain";
                ASSERT_NEAR(a.pitch - pitch, pitchStep, 1e-12) << i;
                continue;
            }
            const double part = climb == 0 ? 0 : climb < 100 ? 0.1 : climb < 200 ? 0.2 : climb < 300 ? 0.5 : 1;
            ASSERT_NEAR(a.alt - alt, part * 0.5, 0.001) << climb;
            ASSERT_NEAR(a.pitch - pitch, pitch > a.climbPitch ? climbPitchStep : 0, 1e-12) << climb;
            ASSERT_EQ(a.fs == FlightState::flying, agl >= 800 && pitch <= a.climbPitch) << agl;
        }
        EXPECT_EQ(a.fs, FlightState::flying);
        EXPECT_EQ(a.rotationCount, 1);
        EXPECT_EQ(a.pitchStep, 0);
    }
}

/// From the taxiway into the climb, with the reports and the ground data of a simulator on level terrain.
TEST_F(DepartureTest, WhatIsToldFromTheTaxiwayToTheClimb) {
    for (const AircraftCategory category : everyCategory) {
        SCOPED_TRACE(text(category));
        const bool rotor = category == AircraftCategory::rotorcraft;
        Flight f({at(0, 0, 5000, 12), at(60, 0, 5600, 12)}, category);
        f.a.staticCg = f.a.alt = 8;
        f.tick();
        EXPECT_EQ(f.told(), rotor ? "throttle 16383" : "throttle 0") << "taxi out";
        f.report(at(200, 0, 6600, 43));
        EXPECT_EQ(f.told(), "") << "a fast taxi";
        f.report(at(450, 0, 7400, 60));
        EXPECT_EQ(f.told(), rotor ? "lights nbltso-" : "spoilers 0, flaps 3072, lights nbltso-") << "line-up";
        for (int i = 0; i < 25; ++i) {
            PositionSample s = air((1000 + 600.0 * i) * metre, 8400 + 500 * i, 230, 100 + 150.0 * i);
            s.vs = 1800;
            f.report(s);
        }
        EXPECT_EQ(f.told(), "");
        std::string all, last; // since the line before, and of the last tick
        const auto until = [&](const auto& condition) {
            all.clear();
            return f.tickUntil([&] {
                last = f.told();
                all += (all.empty() || last.empty() ? "" : ", ") + last;
                if (f.m.in.tick % 20 == 0)
                    applyGroundData(f.a, f.a.alt - 8 < 3, 0, f.a.alt - 8, f.m);
                return condition();
            });
        };
        ASSERT_TRUE(until([&] { return f.a.fs == FlightState::take_off; }));
        EXPECT_EQ(all, rotor ? "" : "throttle 8191, throttle 16383") << "the run";
        ASSERT_TRUE(until([&] { return f.a.rotationCount == 0; }));
        EXPECT_EQ(last, "") << "lift-off";
        ASSERT_TRUE(until([&] { return f.a.rotationCount == -300; }));
        EXPECT_EQ(last, rotor ? "" : "gear 0") << "three seconds later";
        ASSERT_TRUE(until([&] { return f.a.fs == FlightState::flying; }));
        const bool airliner = category >= AircraftCategory::buzjets && category <= AircraftCategory::heavy;
        EXPECT_EQ(last, airliner ? "throttle 11468" : "") << "the others are higher than their low set reaches";
        EXPECT_EQ(f.a.throttleIndex, rotor ? 4 : 3);
        EXPECT_NEAR(f.a.agl, 805, 15);
    }
}

} // namespace
} // namespace kes::test
