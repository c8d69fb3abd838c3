// SPDX-License-Identifier: MIT
// The step of one tick, and where the ticks of a leg lead.
#include "traffic/advance.h"
#include "traffic/flight.h"

namespace kes::test {
namespace {

using AdvanceTest = FlightTest;

/// On each tick the aircraft is where the leg's share says, by the shorter way round the world and the compass.
TEST_F(AdvanceTest, TheTicksOfALegAddUpToIt) {
    for (const double lon : {homeLon, 179.99}) {
        std::vector<PositionSample> stream{air(0, 5000), air(0.04, 8000, 300, 8500), air(0.04, 11000, 300, 8500)};
        for (std::size_t i = 0; i < 3; ++i)
            stream[i].lon = std::remainder(lon + 0.02 * static_cast<double>(i), 360);
        stream[1].bankValid = true;
        stream[1].bank = 0.1;
        const double turn = angleDiff(6, bearingRad(stream[1].position(), stream[2].position()));
        Flight f(stream);
        f.a.heading = 6;
        f.tick();
        const std::int32_t ticks = f.legTicks() + 1;
        for (std::int32_t i = 1; i <= ticks; ++i, f.tick()) {
            const double part = static_cast<double>(i) / ticks;
            ASSERT_NEAR(f.a.lat, homeLat + 0.04 * part, 1e-9) << i;
            ASSERT_NEAR(std::remainder(f.a.lon - lon, 360), 0.02 * part, 1e-9) << i;
            ASSERT_NEAR(f.a.alt, 8000 + 500 * part, 1e-6) << i;
            ASSERT_NEAR(f.a.bank, 0.1 * part, 1e-9) << i;
            ASSERT_NEAR(angleDiff(6 + turn * part, f.a.heading), 0, 1e-9) << "it ends on the next course";
            ASSERT_EQ(f.a.heading, normalizeAngle(f.a.heading));
            ASSERT_LE(std::fabs(f.a.lon), 180);
        }
    }
}

/// Whatever the feed says, an aircraft moves without a jump, within its category's limits, and stays a number.
TEST_F(AdvanceTest, NothingJumpsWhateverComes) {
    int ticksSeen = 0;
    for (std::uint32_t seed = 0; seed < 60; ++seed) {
        RandomFlight f(seed);
        double reach = 0; ///< nautical miles that a tick may move on this leg
        for (;; ++ticksSeen) {
            const LiveAircraft before = f.a;
            if (!f.fly())
                break;
            SCOPED_TRACE(fmt::format("seed {} tick {}", seed, f.m.in.tick));
            const LiveAircraft& a = f.a;
            for (const double value : {a.lat, a.alt, a.pitch, a.bank, a.heading})
                ASSERT_TRUE(std::isfinite(value));
            ASSERT_EQ(a.heading, normalizeAngle(a.heading));
            ASSERT_LE(std::fabs(a.lon), 180);
            if (f.m.in.tick > before.stream.front().tick && !a.stream.empty()) {
                // A curve leads round a corner, up to twice as fast as in the mean.
                const LatLon corner = before.stream[before.sz() > 1 ? 1 : 0].position();
                reach = (distanceNm(before.position(), corner) + distanceNm(corner, a.stream[0].position())) * 2 / 25;
            }
            ASSERT_LE(distanceNm(before.position(), a.position()), reach + 1e-6);
            if (a.fs == FlightState::flying && !a.onGround && !before.onGround) {
                ASSERT_LE(a.alt - before.alt, std::max(a.climbStepMax, a.altStep) + 1e-9);
                ASSERT_LE(std::fabs(a.pitch - before.pitch), 0.031 * degToRad);
            }
            if (a.onGround && a.flareStage == 0 && a.fs != FlightState::take_off) {
                ASSERT_EQ(a.bank, 0);
            }
        }
    }
    EXPECT_GT(ticksSeen, 200000) << "most flights must live long enough to try something";
}

} // namespace
} // namespace kes::test
