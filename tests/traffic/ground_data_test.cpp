// SPDX-License-Identifier: MIT
// What the simulator knows better than the feed.
#include "support.h"
#include "traffic/flight.h"
#include "traffic/ground_data.h"

namespace kes::test {
namespace {

using GroundDataTest = FlightTest;

TEST_F(GroundDataTest, HeightOnTheGroundIsTheSimulators) {
    struct Row {
        const char* name;
        bool onGround;
        std::int32_t rotation;
        bool simOnGround;
        double alt;
        bool after;
    };
    for (const Row& row : {Row{"rolling", true, 1, true, 409, true}, Row{"on a bump", true, 1, false, 409, true},
                           Row{"rotating", false, 2, true, 409, false}, Row{"lifted off", false, 1, false, 77, false},
                           Row{"in the climb", false, -5, false, 77, false}}) {
        SCOPED_TRACE(row.name);
        Flight f({at(0, 0, 5000), at(30, 0, 5600)});
        f.a.onGround = row.onGround;
        f.a.rotationCount = row.rotation;
        f.a.fs = row.rotation == 1 ? FlightState::taxi : FlightState::take_off;
        f.a.alt = 77;
        f.a.staticCg = 9;
        applyGroundData(f.a, row.simOnGround, 400, 33, f.m);
        EXPECT_EQ(f.a.alt, row.alt);
        EXPECT_EQ(f.a.agl, 33);
        EXPECT_EQ(f.a.onGround, row.after);
    }
}

TEST_F(GroundDataTest, OddValuesOfTheStandingAircraftAreReplaced) {
    const ProgramFolder program;
    struct Row {
        double cg, pitchDegrees, expectedCg, expectedDegrees;
    };
    par::LOG.value = true;
    for (const Row& row : {Row{8.5, 0.5, 8.5, 0.5}, Row{1.0, 2.5, 1.0, 2.5}, Row{35.0, -0.99, 35.0, -0.99},
                           Row{0.5, -1.0, 7.0, 0.7}, Row{35.1, 2.6, 7.0, 0.7}, Row{NAN, NAN, 7.0, 0.7}}) {
        Flight f({at(0, 0, 5000), at(30, 0, 5600)});
        f.a.staticCg = 7;
        applyStaticData(f.a, row.cg, row.pitchDegrees * degToRad);
        EXPECT_EQ(f.a.staticCg, row.expectedCg) << row.cg;
        EXPECT_NEAR(f.a.staticPitch * radToDeg, row.expectedDegrees, 1e-9) << row.pitchDegrees;
    }
    EXPECT_EQ(program.logCount("static CG"), 3U);
    EXPECT_TRUE(program.logHas(": static CG 0.5ft wrong?"));
}

} // namespace
} // namespace kes::test
