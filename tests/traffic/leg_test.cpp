// SPDX-License-Identifier: MIT
// The change from one leg to the next.
#include "traffic/flight.h"
#include "traffic/leg.h"

namespace kes::test {
namespace {

using LegTest = FlightTest;

TEST_F(LegTest, InTheAirNobodyStopsButAHelicopter) {
    for (const bool helicopter : {false, true}) {
        std::vector<PositionSample> stream{air(0, 5000), air(0, 5100), air(0, 5200), air(0.1, 12200)};
        stream[1].stopped = stream[2].stopped = true;
        Flight f(stream, helicopter ? AircraftCategory::rotorcraft : AircraftCategory::large);
        f.tick(10);
        EXPECT_EQ(f.a.sz(), helicopter ? 3U : 1U);
        EXPECT_EQ(f.a.lat > homeLat, !helicopter);
        EXPECT_EQ(f.a.tasOut, helicopter ? 0 : 300);
    }
}

TEST_F(LegTest, ALegOnTheGroundSetsAttitudeAndSpeed) {
    for (const bool flaring : {false, true}) {
        Flight f({at(0, 0, 5000), at(30, 0, 5600), at(60, 0, 6200)});
        f.a.landingRoll = flaring;
        f.a.flareStage = flaring ? 3 : 0;
        f.a.staticPitch = 0.01;
        f.a.pitch = f.a.bank = f.a.pitchStep = f.a.bankStep = 0.2;
        f.leg();
        EXPECT_EQ(f.a.pitch, flaring ? 0.2 : 0.01);
        for (const double value : {f.a.bank, f.a.pitchStep, f.a.bankStep})
            EXPECT_EQ(value, flaring ? 0.2 : 0);
        EXPECT_EQ(f.a.tasLeg, 10);
        EXPECT_EQ(f.a.fs, FlightState::taxi);
    }
}

TEST_F(LegTest, TaxiTurnsAtItsRateAndHoldsItsAttitude) {
    for (const double side : {-1.0, 1.0}) {
        // 30 degrees off a leg of 222 m in 43.2 s: 245 ticks at the base rate, stretched by 17.6 * 30 m / 222 m.
        Flight f({ground(0, 5000), ground(0.002, 9320)});
        f.a.heading = normalizeAngle(30 * side * degToRad);
        f.a.staticPitch = 0.01;
        f.a.pitch = f.a.bank = 0.2;
        f.tick();
        EXPECT_TRUE(f.a.turning);
        const double rate = 0.07 / (4320 / 246.0 * 30 / 222.24) * degToRad;
        EXPECT_NEAR(f.a.turnRate, rate, rate / 100);
        int turned = 1;
        for (; degreesBetween(f.a.heading, 0) > 0.5 && turned < 3000; ++turned) {
            const double before = f.a.heading;
            f.tick();
            ASSERT_NEAR(angleDiff(before, f.a.heading), -side * f.a.turnRate, 1e-12) << "the shorter way, at one rate";
            ASSERT_EQ(f.a.bank, 0);
            ASSERT_EQ(f.a.pitch, f.a.staticPitch);
            f.a.staticPitch = 0.01 + turned * 1e-6; // the simulator may tell it at any time
        }
        EXPECT_NEAR(turned, 29.5 * degToRad / rate, 20);
        const double reached = f.a.heading;
        f.tick(500);
        EXPECT_EQ(f.a.heading, reached) << "half a degree is near enough";
        EXPECT_EQ(f.a.vsOut, 0);
    }
}

} // namespace
} // namespace kes::test
