// Whatever the feed says, an aircraft moves without a jump, within its category's limits, and stays a number.
#include "traffic/flight_phases.h"
#include "traffic/harness.h"
#include "traffic/tick_check.h"

#include <cmath>
#include <random>

namespace kes {
namespace {

struct MotionPropertyTest : test::TrafficTest {
    std::mt19937 random;
    double between(double a, double b) { return a + (b - a) * (static_cast<double>(random()) / 4294967296.0); }

    /// A flight that climbs, sinks, lands, stops and starts at random, with noise and slips.
    PositionSample nextReport(PositionSample s, double seconds) {
        static constexpr double speeds[] = {0, 0, 8, 15, 60, 140, 250, 450};
        if (random() % 4 == 0)
            s.gs = speeds[random() % 8] * between(0.8, 1.2);
        s.track = std::fmod(s.track + between(-25, 25) + 360, 360);
        if (random() % 20 == 0)
            s.track = between(0, 360);
        const double nm = s.gs * seconds / 3600;
        const LatLon to = destination(s.position(), s.track * degToRad, nm * feetPerNm);
        s.lat = to.lat + between(-2e-5, 2e-5);
        s.lon = to.lon + between(-2e-5, 2e-5);
        s.vs = s.gs > 100 ? between(-2500, 2500) : 0;
        s.alt = s.gs > 100 && random() % 8 != 0 ? std::max(s.alt + s.vs * seconds / 60, 0.0) : s.gs > 100 ? s.alt : 0.0;
        s.airborne = s.alt > 0;
        s.tas = s.gs;
        s.bankValid = random() % 2 == 0;
        s.bank = between(-0.5, 0.5);
        s.trueHeadingValid = s.adsbHeading = random() % 2 == 0;
        s.trueHeading = between(0, twoPi);
        return s;
    }
};

TEST_F(MotionPropertyTest, NothingJumpsWhateverComes) {
    static constexpr const char* models[] = {"C172", "C25A", "A320", "B77W", "F16", "EC35"};
    setAirportRef(AirportRef{"ZZZZ", "", test::homeLat, test::homeLon, 100});
    std::int64_t ticksSeen = 0;
    for (std::uint32_t seed = 0; seed < 60; ++seed) {
        random.seed(seed);
        resetLiveTraffic();
        tickCount = 5000;
        PositionSample s = seed % 2 == 0 ? air(0, 5000, 200, 1500) : ground(0, 5000, 12);
        if (seed % 7 == 0)
            s.lon = 179.999;
        PositionSample second = nextReport(s, 5);
        second.tick = 5500;
        LiveAircraft& flight = activeFlight(test::firstHex, {s, second}, models[seed % 6]);
        flight.staticCg = 9;
        double nextTime = 5500;
        double reach = 0; ///< nautical miles that a tick may move on this leg
        for (int i = 0; i < 12000 && !liveAircraft.empty() && liveAircraft[0].st == AircraftStatus::active; ++i) {
            LiveAircraft& a = liveAircraft[0];
            if (tickCount + 3000 > nextTime) {
                const double seconds = between(1, 12);
                nextTime += seconds * 100;
                s = nextReport(s, seconds);
                s.tick = static_cast<std::int32_t>(nextTime);
                decodeExisting(a, s, motionNow());
            }
            if (a.st != AircraftStatus::active)
                break;
            if (i % 20 == 0) {
                const double height = a.alt - 100;
                addSimReply(
                    reply(ReplyKind::ground, a.objectid, height <= a.staticCg + 0.5, 100, std::max(height, 0.0)));
                applySimReplies();
            }
            const bool newLeg = tickCount >= a.stream.front().tick;
            const LatLon before = a.position(), corner = a.stream[a.sz() > 1 ? 1 : 0].position();
            const double alt = a.alt, pitch = a.pitch;
            const bool wasOnGround = a.onGround;
            updateLiveAircraft();
            tickCount = tickCount + 1;
            ASSERT_EQ(checkLiveTables(), "") << "seed " << seed << " tick " << i;
            ++ticksSeen;
            if (newLeg && !a.stream.empty()) { // a curve leads round a corner, up to twice as fast as in the mean
                const LatLon target = a.stream[0].position();
                reach = 2.0 * (distanceNm(before, corner) + distanceNm(corner, target)) / 25;
            }
            ASSERT_LE(distanceNm(before, a.position()), reach + 1e-6) << "seed " << seed << " tick " << i;
            if (a.fs == FlightState::flying && !a.onGround && !wasOnGround) {
                ASSERT_LE(a.alt - alt, std::max(a.climbStepMax, a.altStep) + 1e-9) << "seed " << seed << " tick " << i;
                ASSERT_LE(std::fabs(a.pitch - pitch), 0.031 * degToRad) << "seed " << seed << " tick " << i;
            }
            if (a.onGround && a.flareStage == 0 && a.fs != FlightState::take_off) {
                ASSERT_EQ(a.bank, 0) << "seed " << seed << " tick " << i;
            }
        }
    }
    EXPECT_GT(ticksSeen, 200000) << "most flights must live long enough to try something";
}

} // namespace
} // namespace kes
