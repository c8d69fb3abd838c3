// SPDX-License-Identifier: MIT
// What the simulator knows better than the feed.
#include "support.h"
#include "traffic/flight.h"
#include "traffic/ground_data.h"

namespace kes::test {
namespace {

using GroundDataTest = FlightTest;

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
