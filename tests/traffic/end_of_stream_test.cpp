// What happens when the reports of an aircraft end.
#include "airports/stands.h"
#include "traffic/harness.h"

namespace kes {
namespace {

using EndOfStreamTest = test::TrafficTest;
using test::firstHex;
using test::homeLat;
using test::homeLon;

struct Ending {
    std::vector<PositionSample> samples; ///< the invented ones
    bool removed = false;
};

/// Runs until the aircraft leaves or `ticks` have passed, and keeps each invented sample.
Ending follow(test::TrafficTest& t, int ticks) {
    Ending ending;
    std::int32_t lastTick = liveAircraft.at(0).stream.back().tick;
    for (int i = 0; i < ticks && !ending.removed; ++i) {
        t.tick();
        const LiveAircraft& a = liveAircraft.at(0);
        if (a.stream.back().tick > lastTick && a.extrapCount != 0) {
            lastTick = a.stream.back().tick;
            ending.samples.push_back(a.stream.back());
        }
        ending.removed = a.st == AircraftStatus::removingfromsim;
    }
    return ending;
}

TEST_F(EndOfStreamTest, InTheAirEightSlowerSamplesAndThenAway) {
    simAnswers = false;
    activeFlight(firstHex, {air(0, 5000, 300)});
    const std::int32_t start = tickCount;
    const Ending ending = follow(*this, 20000);
    ASSERT_EQ(ending.samples.size(), 8U);
    double gs = 300;
    double lat = homeLat;
    for (const PositionSample& s : ending.samples) {
        gs *= 0.95;
        lat += gs * 8 / 3600 / 60;
        EXPECT_NEAR(s.gs, gs, 1e-9);
        EXPECT_NEAR(s.lat, lat, 1e-6);
        EXPECT_EQ(s.alt, 8000);
    }
    EXPECT_TRUE(ending.removed);
    EXPECT_NEAR(tickCount - start, 8 * 800, 8 * 30) << "a leg takes the time of its mean speed";
    EXPECT_NEAR(liveAircraft.at(0).lat, lat, 1e-4);
}

TEST_F(EndOfStreamTest, WhoGetsInventedSamples) {
    struct Case {
        const char* what;
        double latOffset; ///< nautical miles
        AircraftCategory category;
        bool userKnown, parked, airborne;
        std::size_t samples;
    };
    const Case cases[] = {
        {"within range", 39.4, AircraftCategory::large, true, false, true, 1},
        {"half a mile short of the range", 39.6, AircraftCategory::large, true, false, true, 0},
        {"no user yet", 39.6, AircraftCategory::large, false, false, true, 1},
        {"a helicopter that is switched off", 0, AircraftCategory::rotorcraft, true, false, true, 0},
        {"also on the ground", 0, AircraftCategory::rotorcraft, true, true, false, 0},
        {"far away, but parked", 60, AircraftCategory::large, true, true, false, 1},
    };
    par::HELICOPTERS.value = false;
    for (const Case& c : cases) {
        resetLiveTraffic();
        LiveAircraft& a =
            activeFlight(firstHex, {c.airborne ? air(c.latOffset / 60, 5000) : ground(c.latOffset / 60, 5000)});
        a.category = c.category;
        if (c.parked)
            a.fs = FlightState::parked;
        userAircraft.lat = c.userKnown ? homeLat : 0;
        userAircraft.lon = c.userKnown ? homeLon : 0;
        EXPECT_EQ(endOfStream(a, motionNow()), c.samples == 1) << c.what;
        EXPECT_EQ(a.sz(), 1 + c.samples) << c.what;
    }
}

TEST_F(EndOfStreamTest, AnApproachSinksAndKeepsItsSpeedAtTheEnd) {
    LiveAircraft& a = activeFlight(firstHex, {air(0, 5000, 140, 500)});
    a.approach = true;
    std::vector<double> gs;
    std::vector<double> alt;
    while (endOfStream(a, motionNow())) {
        const PositionSample s = a.stream.back();
        gs.push_back(s.gs);
        alt.push_back(s.alt);
        EXPECT_EQ(s.vs, -667);
        EXPECT_EQ(s.airborne, s.alt > 0);
        a.stream.pop_front();
    }
    ASSERT_EQ(gs.size(), 8U);
    for (int i = 0; i < 8; ++i)
        EXPECT_NEAR(gs[static_cast<std::size_t>(i)], 140 * std::pow(0.9, std::min(i + 1, 5)), 1e-9) << i;
    EXPECT_NEAR(alt[0], 500 - 8 * 10.005, 1e-9);
    EXPECT_EQ(alt[6], 0) << "never below 0";
    EXPECT_EQ(a.extrapCount, -1);
    EXPECT_FALSE(endOfStream(a, motionNow())) << "and nothing more";
}

TEST_F(EndOfStreamTest, SpeedsOnTheGround) {
    struct Case {
        const char* what;
        bool departing, landingRoll, stopped;
        double gs, expected, vs;
    };
    const Case cases[] = {
        {"run", true, false, false, 30, 40, 77},     {"run", true, false, false, 60, 80, 77},
        {"run", true, false, false, 100, 110, 77},   {"run", true, false, false, 140, 150, 600},
        {"run", true, false, false, 160, 170, 1200}, {"run", true, false, false, 161, 180, 2400},
        {"roll", false, true, false, 140, 100, 0},   {"roll", false, true, false, 139, 80, 0},
        {"roll", false, true, false, 80, 60, 0},     {"roll", false, true, false, 60, 30, 0},
        {"roll", false, true, false, 59, 20, 0},     {"stands", true, false, true, 40, 0, 77},
    };
    for (const Case& c : cases) {
        resetLiveTraffic();
        LiveAircraft& a = activeFlight(firstHex, {ground(0, 5000, c.gs)});
        a.departing = c.departing;
        a.landingRoll = c.landingRoll;
        a.stream[0].stopped = c.stopped;
        a.stream[0].vs = 77;
        a.heading = pi / 2;
        ASSERT_TRUE(endOfStream(a, motionNow()));
        const PositionSample& s = a.stream.back();
        EXPECT_EQ(s.gs, c.expected) << c.what << c.gs;
        EXPECT_EQ(s.vs, c.vs) << c.what << c.gs;
        EXPECT_EQ(s.tick, 5300);
        EXPECT_EQ(s.stopped, c.expected == 0);
        EXPECT_NEAR(distanceNm({s.lat, s.lon}, a.position()), c.expected * 3 / 3600, 1e-9);
        EXPECT_NEAR(s.lat, homeLat, 1e-6) << "ahead is east";
        EXPECT_EQ(a.extrapCount, 10);
    }
}

TEST_F(EndOfStreamTest, TheFlareIsLeftToItsRows) {
    LiveAircraft& a = activeFlight(firstHex, {air(0, 5000, 0.5, 20)});
    a.approach = true;
    a.flareStage = 2;
    a.stream[0].vs = -300;
    ASSERT_TRUE(endOfStream(a, motionNow()));
    EXPECT_EQ(a.stream.back().vs, -300);
    EXPECT_EQ(a.stream.back().alt, 20);
    EXPECT_EQ(a.stream.back().gs, 1) << "nobody stands still in the air";
}

TEST_F(EndOfStreamTest, ATakeOffThatEndsClimbs) {
    LiveAircraft& a = activeFlight(firstHex, {air(0, 5000, 150, 600)});
    a.fs = FlightState::take_off;
    ASSERT_TRUE(endOfStream(a, motionNow()));
    EXPECT_EQ(a.stream.back().vs, 1500);
    EXPECT_EQ(a.stream.back().alt, 800);
}

TEST_F(EndOfStreamTest, ATaxiingAircraftHoldsUntilItsMinutesAreUp) {
    par::MAX_HOLDING_MINUTES.value = 2;
    simAnswers = false;
    activeFlight(firstHex, {ground(0, 5000, 10)});
    tick();
    EXPECT_TRUE(liveAircraft.at(0).holding);
    EXPECT_EQ(liveAircraft[0].holdStartTick, 5000);
    EXPECT_EQ(liveAircraft[0].stream.front().gs, 0);
    const double lat = liveAircraft[0].lat;
    ASSERT_TRUE(runUntil([] { return liveAircraft[0].st == AircraftStatus::removingfromsim; }));
    EXPECT_EQ(liveAircraft[0].lat, lat);
    EXPECT_EQ(tickCount, 5000 + 3 * 6000 + 1) << "more than two whole minutes";
}

TEST_F(EndOfStreamTest, WhoHoldsAndHow) {
    struct Case {
        FlightState fs;
        bool departing, landingRoll, holds;
    };
    using enum FlightState;
    for (const Case& c :
         {Case{taxi, false, false, true}, Case{pushed_back, false, false, true}, Case{taxi, true, false, false},
          Case{taxi, false, true, false}, Case{take_off, false, false, false}}) {
        resetLiveTraffic();
        LiveAircraft& a = activeFlight(firstHex, {ground(0, 5000, 10)});
        a.fs = c.fs;
        a.departing = c.departing;
        a.landingRoll = c.landingRoll;
        ASSERT_TRUE(endOfStream(a, motionNow())) << text(c.fs);
        EXPECT_EQ(a.holding, c.holds) << text(c.fs);
        EXPECT_EQ(a.extrapCount, c.holds ? 1 : 10) << text(c.fs);
        EXPECT_EQ(a.stream.back().tick, 5300) << text(c.fs);
        EXPECT_EQ(a.stream.back().stopped && a.stream.back().gs == 0, !c.departing && !c.landingRoll) << text(c.fs);
    }
}

TEST_F(EndOfStreamTest, NobodyHoldsBesideAnother) {
    struct Case {
        const char* what;
        double metres; ///< both have a half span of 17 m
        bool onGround;
        FlightState fs;
        AircraftStatus st;
        bool holds;
    };
    using enum FlightState;
    constexpr AircraftStatus active = AircraftStatus::active;
    for (const Case& c : {Case{"beside it", 40, true, taxi, active, false},
                          Case{"a fifth more than the spans", 41.5, true, taxi, active, true},
                          Case{"above it", 10, false, taxi, active, true},
                          Case{"only one that taxies is in the way", 10, true, parked, active, true},
                          Case{"not there yet", 10, true, taxi, AircraftStatus::adding2sim, true}}) {
        resetLiveTraffic();
        LiveAircraft& other = activeFlight(firstHex + 1, {ground(c.metres * test::metre, 1 << 28)});
        other.onGround = c.onGround;
        other.fs = c.fs;
        other.st = c.st;
        LiveAircraft& a = activeFlight(firstHex, {ground(0, 5000, 10)});
        a.holding = true;
        a.holdStartTick = 4000;
        EXPECT_EQ(endOfStream(a, motionNow()), c.holds) << c.what;
        EXPECT_EQ(a.holding, c.holds) << c.what;
        EXPECT_EQ(a.holdStartTick, 4000) << c.what;
    }
}

TEST_F(EndOfStreamTest, AParkedAircraftWaitsSevenDays) {
    stands.push_back({.id = "A1",
                      .lat = homeLat,
                      .lon = homeLon,
                      .heading = 0.0,
                      .radius = 30.0 / 1852,
                      .sid = 1,
                      .liveOnIt = true});
    LiveAircraft& a = activeFlight(firstHex, {ground(0, 5000)});
    a.fs = FlightState::parked;
    a.feedAtStand = true;
    a.sid = 1;
    run(1000);
    EXPECT_EQ(liveAircraft.at(0).extrapCount, 1);
    EXPECT_FALSE(stands[0].liveOnIt);
    ASSERT_EQ(liveAircraft.size(), 1U);
    EXPECT_EQ(liveAircraft[0].st, AircraftStatus::active);
    EXPECT_EQ(liveAircraft[0].stream.front().tick, 5000 + 7 * 24 * 360000);
    EXPECT_FALSE(liveAircraft[0].feedAtStand);
    EXPECT_EQ(liveAircraft[0].lat, homeLat);
}

TEST_F(EndOfStreamTest, AnAircraftComesIntoBeingAndGoesWithItsStream) {
    feedFlight(firstHex, 4);
    ASSERT_TRUE(runUntil([&] { return liveAircraft.empty(); }));
    EXPECT_EQ(created.size(), 1U);
    EXPECT_EQ(removed.size(), 1U);
}

} // namespace
} // namespace kes
