// SPDX-License-Identifier: MIT
// The step of one tick, and where the ticks of a leg lead.
#include "traffic/advance.h"
#include "traffic/flight.h"

namespace kes::test {
namespace {

using AdvanceTest = FlightTest;

/// On each tick the aircraft is where the leg's share says, by the shorter way round the world and the compass.
TEST_F(AdvanceTest, TheTicksOfALegAddUpToIt) {
    std::mt19937 random(3);
    const auto between = [&](double low, double high) { return std::uniform_real_distribution(low, high)(random); };
    for (int round = 0; round < 200; ++round) {
        std::vector<PositionSample> stream;
        for (int i = 0; i < 3; ++i) {
            PositionSample s = air(between(-0.05, 0.05), 5000 + 3000 * i, between(250, 400), between(7000, 9000));
            s.lon = std::remainder((round % 2 == 0 ? homeLon : 180) + between(-0.1, 0.1), 360);
            s.vs = between(-2000, 2000);
            s.bank = between(-0.1, 0.1);
            s.bankValid = round % 3 != 0;
            stream.push_back(s);
        }
        Flight f(stream);
        f.a.heading = between(0, twoPi);
        const double heading = f.a.heading;
        f.tick();
        const std::int32_t ticks = f.legTicks() + 1;
        const PositionSample &from = stream[0], &to = stream[1];
        for (std::int32_t i = 1;; ++i) {
            const double part = static_cast<double>(i) / ticks;
            ASSERT_NEAR(f.a.lat, std::lerp(from.lat, to.lat, part), 1e-9) << round;
            ASSERT_NEAR(std::remainder(f.a.lon - from.lon, 360), std::remainder(to.lon - from.lon, 360) * part, 1e-9);
            ASSERT_LE(std::fabs(f.a.lon), 180) << round;
            if (std::fabs(to.alt - from.alt) < 0.59 * ticks) {
                ASSERT_NEAR(f.a.alt, std::lerp(from.alt, to.alt, part), 1e-6) << round;
            }
            const double turn = angleDiff(heading, bearingRad(to.position(), stream[2].position()));
            ASSERT_NEAR(angleDiff(heading + turn * part, f.a.heading), 0, 1e-9) << "it ends on the next course";
            ASSERT_EQ(f.a.heading, normalizeAngle(f.a.heading));
            if (to.bankValid) {
                ASSERT_NEAR(f.a.bank, to.bank * part, 1e-9) << round;
            }
            if (i == ticks)
                break;
            f.tick();
        }
        const double atMeanSpeed = distanceNm(from.position(), to.position()) * 720000 / (from.gs + to.gs);
        EXPECT_NEAR(ticks, std::clamp(atMeanSpeed, 2000.0, 4000.0), 1) << "ten seconds about its time";
        EXPECT_NEAR(f.a.vsOut, to.vs / 60, 1e-9);
        EXPECT_EQ(f.a.tasOut, to.tas);
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
            ASSERT_TRUE(a.heading >= 0 && a.heading < twoPi && std::fabs(a.lon) <= 180);
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
