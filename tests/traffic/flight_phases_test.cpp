// What becomes of a new sample at the back of a stream.
#include "airports/stands.h"
#include "traffic/flight_phases.h"
#include "traffic/harness.h"
#include "traffic/parking.h"

#include <limits>

namespace kes {
namespace {

using FlightPhasesTest = test::TrafficTest;
using test::firstHex;
using test::homeLat;
using test::homeLon;
using test::metre;

PositionSample northOf(PositionSample s, double metres, double gs, std::int32_t later = 500) {
    s.lat += metres * metre;
    s.gs = gs;
    s.tick += later;
    return s;
}

TEST_F(FlightPhasesTest, NoiseIsStandingStillOnTheGroundAndNothingInTheAir) {
    struct Case {
        const char* what;
        bool airborne, departing;
        double lastGs, gs, metres;
        bool taken, stopped;
        bool flies = false; ///< the aircraft itself, whatever the report says
        AircraftStatus st = AircraftStatus::active;
        double east = 0; ///< degrees
    };
    const Case cases[] = {
        {"no move in the air", true, false, 200, 200, 0, false, false},
        {"hardly a move in the air", true, false, 200, 200, 10, false, false},
        {"a move in the air", true, false, 200, 200, 100, true, false},
        {"no move on the ground", false, false, 10, 10, 0, true, true},
        {"jitter on the ground", false, false, 10, 10, 10, true, true},
        {"more than jitter", false, false, 10, 10, 18, true, false},
        {"a fast run that stands still is a slip", false, true, 30, 40, 0, false, false},
        {"a slow one may stop", false, true, 29, 20, 0, true, true},
        {"a fast run with jitter", false, true, 50, 60, 10, false, false},
        {"a slower one", false, true, 49, 40, 10, true, true},
        {"a stop far away", false, false, 90, 0, 100, true, false},
        {"speed 0 in the air, after 60", true, false, 60, 0, 100, false, false},
        {"and after 49", true, false, 49, 0, 100, true, false},
        {"speed 0 in a fast run", false, true, 50, 0, 100, false, false},
        {"no move by a slip of the ground bit", false, false, 10, 10, 0, false, false, true},
        {"hardly a move by one", false, false, 10, 10, 10, false, false, true},
        {"who is not driven yet does not fly", false, false, 10, 10, 10, true, true, true, AircraftStatus::adding2sim},
        {"a run that comes to a stop", false, true, 60, 0, 0, true, true},
        {"and one that trembles", false, true, 60, 0, 10, true, true},
        {"jitter to the east", false, false, 10, 10, 0, true, true, false, AircraftStatus::active, 0.000149},
        {"a move to the east", false, false, 10, 10, 0, true, false, false, AircraftStatus::active, 0.000151},
    };
    for (const Case& c : cases) {
        resetLiveTraffic();
        const PositionSample last = c.airborne ? air(0, 9000, c.lastGs) : ground(0, 9000, c.lastGs);
        LiveAircraft& a = activeFlight(firstHex, {last, last});
        a.departing = c.departing;
        a.st = c.st;
        if (c.flies)
            a.onGround = false;
        a.stream[0].tick = 8000;
        PositionSample n = northOf(last, c.metres, c.gs);
        n.lon += c.east;
        decodeExisting(a, n, motionNow());
        EXPECT_EQ(a.sz() == 3, c.taken) << c.what;
        if (!c.taken)
            continue;
        EXPECT_EQ(a.stream[2].stopped, c.stopped) << c.what;
        EXPECT_EQ(a.stream[2].gs, c.stopped ? 0.0 : c.gs) << c.what;
        const bool copied = (c.metres > 0 || c.east > 0) && c.stopped;
        EXPECT_EQ(a.stream[2].tick, copied ? 9001 : 9500) << c.what << ": a copy follows at once";
        EXPECT_EQ(a.stream[2].lat == last.lat, c.metres == 0 || copied) << c.what;
        EXPECT_EQ(a.stream[2].lon == last.lon, c.east == 0 || copied) << c.what;
    }
}

TEST_F(FlightPhasesTest, AHelicopterMayHover) {
    const PositionSample last = air(0, 9000, 5, 600);
    LiveAircraft& a = activeFlight(firstHex, {last, last}, "EC35");
    decodeExisting(a, northOf(last, 0, 0), motionNow());
    ASSERT_EQ(a.sz(), 3U);
    EXPECT_TRUE(a.stream[2].stopped);
}

TEST_F(FlightPhasesTest, ShortStopsAreTakenOut) {
    struct Case {
        const char* what;
        double seconds, metres;
        double jitter[3]; ///< metres off the stop, of its three reports
        bool kept;
    };
    for (const Case& c : {Case{"10 s at a line", 10, 60, {0, 0, 0}, false}, Case{"20 s", 20, 60, {0, 0, 0}, true},
                          Case{"15 s", 15, 60, {0, 0, 0}, true}, Case{"14.99 s", 14.99, 60, {0, 0, 0}, false},
                          Case{"a long one that leads nowhere", 60, 21, {0, 0, 0}, false},
                          // A copy for jitter has no time of its own, so a stop seen only through jitter is short.
                          Case{"60 s of jitter", 60, 60, {3, -4, 5}, false},
                          Case{"60 s with a clean report at the end", 60, 60, {3, -4, 0}, true}}) {
        resetLiveTraffic();
        const PositionSample rolling = ground(0, 9000);
        LiveAircraft& a = activeFlight(firstHex, {northOf(rolling, -100, 10, -1000), rolling});
        for (int i = 1; i <= 3; ++i) {
            const auto later = static_cast<std::int32_t>(std::lround(c.seconds * 100 / 3 * i));
            decodeExisting(a, northOf(rolling, c.jitter[i - 1], 0, later), motionNow());
            EXPECT_EQ(a.stream.back().tick, c.jitter[i - 1] == 0 ? 9000 + later : 9000 + i) << c.what;
            EXPECT_EQ(a.stream.back().lat, rolling.lat) << c.what;
        }
        ASSERT_EQ(a.sz(), 5U) << c.what;
        decodeExisting(a, northOf(rolling, c.metres, 10, 9000), motionNow());
        EXPECT_EQ(a.sz(), c.kept ? 6U : 3U) << c.what;
        EXPECT_FALSE(a.stream.back().stopped) << c.what;
        EXPECT_EQ(a.stream[1].tick, 9000) << c.what << ": the last moving sample stays";
    }
}

/// A stop of many samples: the search for its beginning goes five samples back and no farther.
TEST_F(FlightPhasesTest, OnlyTheLastFiveSamplesOfAStopAreLookedAt) {
    for (std::size_t stops = 1; stops <= 7; ++stops) {
        resetLiveTraffic();
        std::vector<PositionSample> stream{ground(-0.001, 8000), ground(0, 9000)};
        for (std::size_t i = 1; i <= stops; ++i) {
            stream.push_back(northOf(stream[1], 0, 0, static_cast<std::int32_t>(100 * i)));
            stream.back().stopped = true;
        }
        LiveAircraft& a = activeFlight(firstHex, stream);
        decodeExisting(a, northOf(stream[1], 60, 10, 2000), motionNow());
        EXPECT_EQ(a.sz(), stops <= 5 ? 3U : stops + 3) << stops;
    }
}

TEST_F(FlightPhasesTest, ALandingNeitherTurnsAroundNorSpeedsUp) {
    struct Case {
        const char* what;
        bool approach;
        double metres, gs, lastGs;
        std::size_t left;  ///< samples, the new one included when it was taken
        double expectedGs; ///< of the last one
    };
    const Case cases[] = {
        {"on it goes", true, 300, 130, 135, 4, 130},
        {"30 to 50 is held", false, 50, 50, 30, 4, 30},
        {"30 to 40 is not", false, 50, 40, 30, 4, 40},
        {"a slip behind the last one costs that one", true, -50, 130, 135, 3, 130},
        {"far behind it costs two", true, -150, 130, 135, 2, 130},
        {"nothing new", true, 0, 130, 135, 3, 135},
    };
    for (const Case& c : cases) {
        resetLiveTraffic();
        PositionSample s = air(0, 9000, c.lastGs, 300);
        LiveAircraft& a = activeFlight(firstHex, {s, northOf(s, 100, c.lastGs), northOf(s, 200, c.lastGs, 900)});
        a.approach = c.approach;
        a.landingRoll = !c.approach;
        a.heading = 0;
        decodeExisting(a, northOf(s, 200 + c.metres, c.gs, 1500), motionNow());
        EXPECT_EQ(a.sz(), c.left) << c.what;
        EXPECT_EQ(a.stream.back().gs, c.expectedGs) << c.what;
    }
}

PositionSample aside(PositionSample s, double metres, double degrees) {
    const LatLon to = destination(s.position(), degrees * degToRad, metres / metresPerNm * feetPerNm);
    s.lat = to.lat;
    s.lon = to.lon;
    s.tick += 1500;
    return s;
}

/// The heading is north.
TEST_F(FlightPhasesTest, HowFarASampleOfALandingMayLieAside) {
    struct Case {
        const char* what;
        bool approach;
        std::size_t samples; ///< 100 m apart
        double degrees;      ///< off the heading, of the new one
        std::int32_t extrapCount;
        std::size_t left;
        bool frontMoved;
    };
    const Case cases[] = {
        {"abeam costs nothing", true, 3, 89, 0, 4, false},
        {"behind that costs one", true, 3, 91, 0, 3, false},
        {"the last one before final ends", true, 1, 89, 0, 2, false},
        {"is not followed by one behind", true, 1, 91, 0, 1, false},
        {"on the runway it is", false, 1, 149, 0, 2, false},
        {"and far behind the way begins anew", false, 1, 151, 0, 2, true},
        {"but not on invented samples", false, 1, 151, 3, 1, false},
        {"which end otherwise", false, 1, 149, 3, 2, false},
        {"on final too", true, 1, 10, 3, 2, false},
    };
    for (const Case& c : cases) {
        resetLiveTraffic();
        PositionSample s = c.approach ? air(0, 9000, 130, 300) : ground(0, 9000, 90);
        std::vector<PositionSample> stream{s};
        for (std::size_t i = 1; i < c.samples; ++i)
            stream.push_back(northOf(stream.back(), 100, s.gs));
        LiveAircraft& a = activeFlight(firstHex, stream);
        a.approach = c.approach;
        a.landingRoll = !c.approach;
        a.departing = true;
        a.extrapCount = c.extrapCount;
        a.lat += 0.0001;
        a.lon += 0.0002;
        decodeExisting(a, aside(stream.back(), 200, c.degrees), motionNow());
        EXPECT_EQ(a.sz(), c.left) << c.what;
        EXPECT_EQ(a.stream[0].lat, c.frontMoved ? a.lat : s.lat) << c.what;
        EXPECT_EQ(a.stream[0].lon, c.frontMoved ? a.lon : s.lon) << c.what;
        EXPECT_EQ(a.stream[0].tick, c.frontMoved ? tickCount + 1 : 9000) << c.what;
        const bool resumed = c.extrapCount > 0 && c.left == 2;
        EXPECT_EQ(a.extrapCount, resumed ? 0 : c.extrapCount) << c.what;
        EXPECT_EQ(a.lateTicks, resumed ? 5000 : 1000) << c.what;
        EXPECT_EQ(a.earlyTicks, resumed ? 3000 : 1000) << c.what;
    }
}

TEST_F(FlightPhasesTest, AReportEndsTheInventedWayUnlessItLiesBehind) {
    struct Case {
        double degrees;
        bool onGround, departing, resumes;
    };
    for (const Case& c : {Case{99, false, false, true}, Case{101, false, false, false}, Case{101, true, false, true},
                          Case{180, true, false, true}, Case{10, false, true, true}}) {
        resetLiveTraffic();
        LiveAircraft& a = activeFlight(firstHex, {c.onGround ? ground(0, 9000) : air(0, 9000)});
        a.extrapCount = 5;
        a.departing = c.departing;
        a.holding = true;
        a.holdStartTick = 77;
        decodeExisting(a, aside(a.stream[0], 200, c.degrees), motionNow());
        EXPECT_EQ(a.sz(), c.resumes ? 2U : 1U) << c.degrees;
        EXPECT_EQ(a.extrapCount, c.resumes ? 0 : 5) << c.degrees;
        EXPECT_EQ(a.stream[0].tick, c.resumes ? tickCount + 1 : 9000) << c.degrees;
        EXPECT_EQ(a.lateTicks, !c.resumes ? 1000 : c.departing ? 5000 : 3000) << c.degrees;
        EXPECT_EQ(a.earlyTicks, c.resumes ? 3000 : 1000) << c.degrees;
        EXPECT_EQ(a.holding, !c.resumes) << c.degrees;
        EXPECT_EQ(a.holdStartTick, c.resumes ? 0 : 77) << c.degrees;
    }
}

TEST_F(FlightPhasesTest, ATakeOffRunBeginsWithTheSecondFastSample) {
    struct Case {
        const char* what;
        double lastGs, gs;
        bool airborne;
        FlightState fs;
        AircraftStatus st;
        bool begins;
    };
    using enum FlightState;
    constexpr AircraftStatus active = AircraftStatus::active;
    for (const Case& c : {Case{"two fast ones", 43, 43, false, taxi, active, true},
                          Case{"a slow one", 42.9, 50, false, taxi, active, false},
                          Case{"a second slow one", 50, 42.9, false, taxi, active, false},
                          Case{"airborne", 30, 80, true, taxi, active, true},
                          Case{"just come down", 50, 50, false, flying, active, false},
                          Case{"not in the simulator", 50, 50, false, taxi, AircraftStatus::adding2sim, false}}) {
        resetLiveTraffic();
        LiveAircraft& a = activeFlight(firstHex, {ground(0, 9000, c.lastGs)});
        a.fs = c.fs;
        a.st = c.st;
        PositionSample n = northOf(a.stream.back(), 400, c.gs);
        n.alt = c.airborne ? 100 : 0;
        n.airborne = c.airborne;
        decodeExisting(a, n, motionNow());
        EXPECT_EQ(a.departing, c.begins) << c.what;
        EXPECT_EQ(a.lateTicks, c.begins ? 5000 : 1000) << c.what;
    }
    resetLiveTraffic();
    LiveAircraft& b = activeFlight(firstHex, {ground(0, 9000, 90)});
    b.landingRoll = true;
    decodeExisting(b, air(0.002, 9500, 140, 100), motionNow());
    EXPECT_FALSE(b.departing) << "one airborne sample of a landing is noise";
    decodeExisting(b, air(0.004, 10000, 140, 300), motionNow());
    EXPECT_TRUE(b.departing) << "two are a go-around";
}

TEST_F(FlightPhasesTest, ThePushIsWatchedForItsSideWhileItRunsStraight) {
    struct Case {
        const char* what;
        bool straightOnly;
        std::int32_t step;
        bool headingValid;
        double headingDegrees, trackDegrees; ///< the aircraft's heading is 350
        int side;                            ///< 1 = right, -1 = left, 0 = not learnt
    };
    for (const Case& c :
         {Case{"by the heading", false, 2, true, 10, 300, 1}, Case{"to the left", false, 2, true, 340, 10, -1},
          Case{"by the track", false, 2, false, 340, 10, 1}, Case{"no track", false, 2, false, 10, 0, 0},
          Case{"a heading is enough", false, 2, true, 10, 0, 1}, Case{"in its curve", false, 1, true, 10, 10, 0},
          Case{"straight only", true, 2, true, 10, 10, 0}}) {
        resetLiveTraffic();
        par::STRAIGHT_PBS_ONLY.value = c.straightOnly;
        LiveAircraft& a = activeFlight(firstHex, {ground(0, 9000, 3)});
        a.fs = FlightState::pushing_back;
        a.pushbackStep = c.step;
        a.heading = 350 * degToRad;
        PositionSample n = northOf(a.stream[0], 30, 3);
        n.trueHeadingValid = c.headingValid;
        n.trueHeading = c.headingDegrees * degToRad;
        n.track = c.trackDegrees;
        decodeExisting(a, n, motionNow());
        EXPECT_EQ(a.pushbackTurnRight.has_value(), c.side != 0) << c.what;
        EXPECT_EQ(a.pushbackTurnRight.value_or(false), c.side > 0) << c.what;
        EXPECT_EQ(a.sz(), 1U) << c.what;
    }
}

TEST_F(FlightPhasesTest, APushedBackAircraftWaitsUntilItDrivesOff) {
    struct Case {
        double before, metres; ///< away from the aircraft: the last report, this one. Half the span is 17 m
        bool driven;
    };
    for (const Case& c : {Case{40, 46, false}, Case{40, 47.5, true}, Case{60, 50, false}, Case{1e6, 101, false},
                          Case{1e6, 103, true}}) {
        resetLiveTraffic();
        LiveAircraft& a = activeFlight(firstHex, {ground(0, 60000, 0)});
        a.fs = FlightState::pushed_back;
        a.lastAwayDist = c.before / metresPerNm;
        a.extrapCount = 1;
        a.pushbackTurnRight = true;
        a.pushbackStep = 1;
        a.sid = 5;
        a.standCargo = true;
        a.stream[0].stopped = true;
        a.holding = c.driven; // since an earlier report
        PositionSample n = northOf(a.stream[0], c.metres, 5);
        n.stopped = true;
        decodeExisting(a, n, motionNow());
        ASSERT_EQ(a.sz(), c.driven ? 2U : 1U) << c.metres;
        EXPECT_EQ(a.fs, c.driven ? FlightState::taxi : FlightState::pushed_back) << c.metres;
        EXPECT_EQ(a.pushbackTurnRight.has_value(), !c.driven) << c.metres;
        EXPECT_EQ(a.pushbackStep, c.driven ? 0 : 1) << c.metres;
        EXPECT_EQ(a.sid, c.driven ? 0U : 5U) << c.metres;
        EXPECT_EQ(a.standCargo, !c.driven) << c.metres;
        EXPECT_EQ(a.holding, !c.driven) << c.metres;
        EXPECT_EQ(a.holdStartTick, c.driven ? 0 : tickCount.load()) << c.metres;
        EXPECT_EQ(a.stream[0].tick, c.driven ? tickCount + 1 : 60000) << c.metres;
        EXPECT_EQ(a.extrapCount, c.driven ? 0 : 1) << c.metres;
        EXPECT_EQ(a.lateTicks, c.driven ? 3000 : 1000) << c.metres;
        EXPECT_EQ(a.stream.back().stopped, !c.driven) << c.metres;
        if (c.driven)
            continue;
        EXPECT_NEAR(a.lastAwayDist, c.metres / metresPerNm, 1e-4 / metresPerNm * c.metres) << c.metres;
        tickCount = tickCount + 10;
        decodeExisting(a, n, motionNow());
        EXPECT_EQ(a.holdStartTick, tickCount - 10) << "the hold goes on";
        tickCount = tickCount - 10;
    }
}

TEST_F(FlightPhasesTest, AStandingStreamStaysShort) {
    for (const FlightState fs : {FlightState::taxi, FlightState::birth}) {
        resetLiveTraffic();
        PositionSample s = ground(0, 9000, 7);
        s.stopped = true;
        LiveAircraft& a = activeFlight(firstHex, {s, northOf(s, 0, 0), northOf(s, 0, 0, 1000)});
        a.fs = fs;
        PositionSample n = northOf(s, 0, 0, 2000);
        n.gs = 0;
        decodeExisting(a, n, motionNow());
        const bool cut = fs == FlightState::taxi; // one that is not born yet keeps all
        EXPECT_EQ(a.sz(), cut ? 2U : 4U) << text(fs);
        EXPECT_EQ(a.stream[0].tick, cut ? tickCount + 1 : 9000) << text(fs);
        EXPECT_EQ(a.stream[0].gs, cut ? 0 : 7) << text(fs);
        EXPECT_EQ(a.stream.back().tick, 11000) << text(fs);
        a.stream.resize(1);
        a.stream[0].tick = 9000;
        decodeExisting(a, northOf(s, 0, 0, -500), motionNow());
        EXPECT_EQ(a.stream[0].tick, cut ? tickCount + 1 : 9000) << text(fs);
        EXPECT_EQ(a.stream[1].tick, 9001) << "ticks rise";
    }
    // What lifts off after a stop keeps the stop.
    resetLiveTraffic();
    LiveAircraft& a = activeFlight(firstHex, {ground(0, 8000), ground(0, 9000), ground(0, 9100)}, "EC35");
    a.stream[1].stopped = a.stream[2].stopped = true;
    a.onGround = true;
    decodeExisting(a, air(0.001, 9500, 20, 50), motionNow());
    EXPECT_EQ(a.sz(), 4U);
}

TEST_F(FlightPhasesTest, AHeldAircraftThatMovedFarAwayGoes) {
    for (const double metres : {240.0, 260.0}) {
        resetLiveTraffic();
        PositionSample s = ground(0, 9000, 0);
        s.stopped = true;
        LiveAircraft& a = activeFlight(firstHex, {s});
        a.holding = true;
        a.extrapCount = 1;
        decodeExisting(a, northOf(s, metres, 10), motionNow());
        EXPECT_EQ(a.st == AircraftStatus::removingfromsim, metres > 250) << metres;
        EXPECT_FALSE(a.holding) << metres;
    }
}

} // namespace
} // namespace kes
