// SPDX-License-Identifier: MIT
// The change from one leg to the next.
#include "traffic/flight.h"

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

} // namespace
} // namespace kes::test
