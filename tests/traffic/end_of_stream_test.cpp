// SPDX-License-Identifier: MIT
// What happens when the reports of an aircraft end.
#include "core/run_state.h"
#include "core/user_aircraft.h"
#include "traffic/end_of_stream.h"
#include "traffic/flight.h"

namespace kes::test {
namespace {

struct EndOfStreamTest : FlightTest {
    EndOfStreamTest() { setRange(40); }
    ~EndOfStreamTest() override { resetUserAircraft(); }
};

TEST_F(EndOfStreamTest, InTheAirEightSlowerSamplesAndThenAway) {
    Flight f({air(0, 5000, 300)});
    std::vector<PositionSample> invented;
    ASSERT_TRUE(f.tickUntil([&] {
        if (f.a.extrapCount > 0 && (invented.empty() || f.a.stream.back().tick > invented.back().tick + 100))
            invented.push_back(f.a.stream.back());
        return f.a.st == AircraftStatus::removingfromsim;
    }));
    ASSERT_EQ(invented.size(), 8U);
    double gs = 300, lat = homeLat;
    for (const PositionSample& s : invented) {
        gs *= 0.95;
        lat += gs * 8 / 3600 / 60;
        EXPECT_NEAR(s.gs, gs, 1e-9);
        EXPECT_NEAR(s.lat, lat, 1e-6);
        EXPECT_EQ(s.alt, 8000);
    }
    EXPECT_NEAR(f.m.in.tick - 5000, 8 * 800, 8 * 30) << "a leg takes the time of its mean speed";
    EXPECT_NEAR(f.a.lat, lat, 1e-4);
}

TEST_F(EndOfStreamTest, WhoGetsInventedSamples) {
    struct Row {
        const char* name;
        double latOffset; ///< nautical miles
        AircraftCategory category;
        bool userKnown, parked, airborne;
        std::size_t samples;
    };
    const Row rows[] = {
        {"within range", 39.4, AircraftCategory::large, true, false, true, 1},
        {"half a mile short of the range", 39.6, AircraftCategory::large, true, false, true, 0},
        {"no user yet", 39.6, AircraftCategory::large, false, false, true, 1},
        {"a helicopter that is switched off", 0, AircraftCategory::rotorcraft, true, false, true, 0},
        {"also on the ground", 0, AircraftCategory::rotorcraft, true, true, false, 0},
        {"far away, but parked", 60, AircraftCategory::large, true, true, false, 1},
    };
    par::HELICOPTERS.value = false;
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        Flight f({row.airborne ? air(row.latOffset / 60, 5000) : ground(row.latOffset / 60, 5000)});
        f.a.category = row.category;
        if (row.parked)
            f.a.fs = FlightState::parked;
        userAircraft.lat = row.userKnown ? homeLat : 0;
        userAircraft.lon = row.userKnown ? homeLon : 0;
        EXPECT_EQ(endOfStream(f.a, f.m), row.samples == 1);
        EXPECT_EQ(f.a.sz(), 1 + row.samples);
    }
}

TEST_F(EndOfStreamTest, AnApproachSinksAndKeepsItsSpeedAtTheEnd) {
    Flight f({air(0, 5000, 140, 500)});
    f.a.approach = true;
    for (int i = 1; i <= 8; ++i) {
        ASSERT_TRUE(endOfStream(f.a, f.m)) << i;
        const PositionSample s = f.a.stream.back();
        EXPECT_NEAR(s.gs, 140 * std::pow(0.9, std::min(i, 5)), 1e-9) << i;
        EXPECT_NEAR(s.alt, std::max(500 - i * 8 * 10.005, 0.0), 1e-9) << "never below 0";
        EXPECT_EQ(s.vs, -667);
        EXPECT_EQ(s.airborne, s.alt > 0);
        f.a.stream.pop_front();
    }
    EXPECT_FALSE(endOfStream(f.a, f.m));
    EXPECT_EQ(f.a.extrapCount, -1);
    EXPECT_FALSE(endOfStream(f.a, f.m)) << "and nothing more";
}

TEST_F(EndOfStreamTest, SpeedsOnTheGround) {
    struct Row {
        const char* name;
        bool departing, landingRoll, stopped;
        double gs, expected, vs;
    };
    const Row rows[] = {
        {"run", true, false, false, 30, 40, 77},     {"run", true, false, false, 60, 80, 77},
        {"run", true, false, false, 100, 110, 77},   {"run", true, false, false, 140, 150, 600},
        {"run", true, false, false, 160, 170, 1200}, {"run", true, false, false, 161, 180, 2400},
        {"roll", false, true, false, 140, 100, 0},   {"roll", false, true, false, 139, 80, 0},
        {"roll", false, true, false, 80, 60, 0},     {"roll", false, true, false, 60, 30, 0},
        {"roll", false, true, false, 59, 20, 0},     {"stands", true, false, true, 40, 0, 77},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        Flight f({ground(0, 5000, row.gs)});
        f.a.departing = row.departing;
        f.a.landingRoll = row.landingRoll;
        f.a.stream[0].stopped = row.stopped;
        f.a.stream[0].vs = 77;
        f.a.heading = pi / 2;
        ASSERT_TRUE(endOfStream(f.a, f.m));
        const PositionSample& s = f.a.stream.back();
        EXPECT_EQ(fmt::format("{} {} {} {}", s.gs, s.vs, s.tick, s.stopped),
                  fmt::format("{} {} 5300 {}", row.expected, row.vs, row.expected == 0));
        EXPECT_NEAR(distanceNm({s.lat, s.lon}, f.a.position()), row.expected * 3 / 3600, 1e-9);
        EXPECT_NEAR(s.lat, homeLat, 1e-6) << "ahead is east";
        EXPECT_EQ(f.a.extrapCount, 10);
    }
}

TEST_F(EndOfStreamTest, ATaxiingAircraftHoldsUntilItsMinutesAreUp) {
    par::MAX_HOLDING_MINUTES.value = 2;
    Flight f({ground(0, 5000, 10)});
    f.tick();
    EXPECT_TRUE(f.a.holding);
    EXPECT_EQ(f.a.holdStartTick, 5000);
    EXPECT_EQ(f.a.stream.front().gs, 0);
    ASSERT_TRUE(f.tickUntil([&] { return f.a.st == AircraftStatus::removingfromsim; }));
    EXPECT_EQ(f.a.lat, homeLat);
    EXPECT_EQ(f.m.in.tick, 5000 + 3 * 6000 + 1) << "more than two whole minutes";
}

TEST_F(EndOfStreamTest, NobodyHoldsBesideAnother) {
    struct Row {
        const char* name;
        double metres; ///< both have a half span of 17 m
        bool onGround;
        FlightState fs;
        AircraftStatus st;
        bool holds;
    };
    using enum FlightState;
    constexpr AircraftStatus active = AircraftStatus::active;
    for (const Row& row : {Row{"beside it", 40, true, taxi, active, false},
                           Row{"a fifth more than the spans", 41.5, true, taxi, active, true},
                           Row{"above it", 10, false, taxi, active, true},
                           Row{"only one that taxies is in the way", 10, true, parked, active, true},
                           Row{"not there yet", 10, true, taxi, AircraftStatus::adding2sim, true}}) {
        SCOPED_TRACE(row.name);
        liveAircraft.assign(1, Flight({at(row.metres, 0, 1 << 28)}).a);
        liveAircraft[0].objectid = 101;
        liveAircraft[0].onGround = row.onGround;
        liveAircraft[0].fs = row.fs;
        liveAircraft[0].st = row.st;
        Flight f({ground(0, 5000, 10)});
        f.a.holding = true;
        f.a.holdStartTick = 4000;
        EXPECT_EQ(endOfStream(f.a, f.m), row.holds);
        EXPECT_EQ(f.a.holding, row.holds);
        EXPECT_EQ(f.a.holdStartTick, 4000);
    }
}

TEST_F(EndOfStreamTest, AParkedAircraftWaitsSevenDays) {
    stands.assign(1, standAt(0, 30));
    stands[0].liveOnIt = true;
    Flight f({ground(0, 5000)});
    f.a.fs = FlightState::parked;
    f.a.feedAtStand = true;
    f.a.sid = 1;
    f.tick(1000);
    EXPECT_EQ(f.a.extrapCount, 1);
    EXPECT_FALSE(stands[0].liveOnIt);
    EXPECT_EQ(f.a.st, AircraftStatus::active);
    EXPECT_EQ(f.a.stream.front().tick, 5000 + 7 * 24 * 360000);
    EXPECT_FALSE(f.a.feedAtStand);
    EXPECT_EQ(f.a.lat, homeLat);
}

} // namespace
} // namespace kes::test
