// SPDX-License-Identifier: MIT
// What becomes of a new sample at the back of a stream.
#include "traffic/flight.h"

namespace kes::test {
namespace {

using FlightPhasesTest = FlightTest;

PositionSample northOf(PositionSample s, double metres, double gs, std::int32_t later = 500) {
    s.lat += metres * metre;
    s.gs = gs;
    s.tick += later;
    return s;
}

TEST_F(FlightPhasesTest, NoiseIsStandingStillOnTheGroundAndNothingInTheAir) {
    struct Row {
        const char* name;
        bool airborne, departing;
        double lastGs, gs, metres;
        bool taken, stopped;
        bool flies = false; ///< the aircraft itself, whatever the report says
        AircraftStatus st = AircraftStatus::active;
        double east = 0; ///< degrees
    };
    const Row rows[] = {
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
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        const PositionSample last = row.airborne ? air(0, 9000, row.lastGs) : ground(0, 9000, row.lastGs);
        Flight f({last, last});
        f.a.departing = row.departing;
        f.a.st = row.st;
        if (row.flies)
            f.a.onGround = false;
        f.a.stream[0].tick = 8000;
        PositionSample n = northOf(last, row.metres, row.gs);
        n.lon += row.east;
        f.report(n);
        EXPECT_EQ(f.a.sz() == 3, row.taken);
        if (!row.taken)
            continue;
        EXPECT_EQ(f.a.stream[2].stopped, row.stopped);
        EXPECT_EQ(f.a.stream[2].gs, row.stopped ? 0.0 : row.gs);
        const bool copied = (row.metres > 0 || row.east > 0) && row.stopped;
        EXPECT_EQ(f.a.stream[2].tick, copied ? 9001 : 9500) << "a copy follows at once";
        EXPECT_EQ(f.a.stream[2].lat == last.lat, row.metres == 0 || copied);
        EXPECT_EQ(f.a.stream[2].lon == last.lon, row.east == 0 || copied);
    }
}

TEST_F(FlightPhasesTest, ShortStopsAreTakenOut) {
    struct Row {
        const char* name;
        double seconds, metres;
        double jitter[3]; ///< metres off the stop, of its three reports
        bool kept;
    };
    for (const Row& row : {Row{"10 s at a line", 10, 60, {0, 0, 0}, false}, Row{"20 s", 20, 60, {0, 0, 0}, true},
                           Row{"15 s", 15, 60, {0, 0, 0}, true}, Row{"14.99 s", 14.99, 60, {0, 0, 0}, false},
                           Row{"a long one that leads nowhere", 60, 21, {0, 0, 0}, false},
                           // A copy for jitter has no time of its own, so a stop seen only through jitter is short.
                           Row{"60 s of jitter", 60, 60, {3, -4, 5}, false},
                           Row{"60 s with a clean report at the end", 60, 60, {3, -4, 0}, true}}) {
        SCOPED_TRACE(row.name);
        const PositionSample rolling = ground(0, 9000);
        Flight f({northOf(rolling, -100, 10, -1000), rolling});
        for (int i = 1; i <= 3; ++i) {
            const auto later = static_cast<std::int32_t>(std::lround(row.seconds * 100 / 3 * i));
            f.report(northOf(rolling, row.jitter[i - 1], 0, later));
            EXPECT_EQ(f.a.stream.back().tick, row.jitter[i - 1] == 0 ? 9000 + later : 9000 + i);
            EXPECT_EQ(f.a.stream.back().lat, rolling.lat);
        }
        ASSERT_EQ(f.a.sz(), 5U);
        f.report(northOf(rolling, row.metres, 10, 9000));
        EXPECT_EQ(f.a.sz(), row.kept ? 6U : 3U);
        EXPECT_FALSE(f.a.stream.back().stopped);
        EXPECT_EQ(f.a.stream[1].tick, 9000) << "the last moving sample stays";
    }
}

TEST_F(FlightPhasesTest, ALandingNeitherTurnsAroundNorSpeedsUp) {
    struct Row {
        const char* name;
        bool approach;
        double metres, gs, lastGs;
        std::size_t left;  ///< samples, the new one included when it was taken
        double expectedGs; ///< of the last one
    };
    const Row rows[] = {
        {"on it goes", true, 300, 130, 135, 4, 130},
        {"30 to 50 is held", false, 50, 50, 30, 4, 30},
        {"30 to 40 is not", false, 50, 40, 30, 4, 40},
        {"a slip behind the last one costs that one", true, -50, 130, 135, 3, 130},
        {"far behind it costs two", true, -150, 130, 135, 2, 130},
        {"nothing new", true, 0, 130, 135, 3, 135},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        PositionSample s = air(0, 9000, row.lastGs, 300);
        Flight f({s, northOf(s, 100, row.lastGs), northOf(s, 200, row.lastGs, 900)});
        f.a.approach = row.approach;
        f.a.landingRoll = !row.approach;
        f.a.heading = 0;
        f.report(northOf(s, 200 + row.metres, row.gs, 1500));
        EXPECT_EQ(f.a.sz(), row.left);
        EXPECT_EQ(f.a.stream.back().gs, row.expectedGs);
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
    struct Row {
        const char* name;
        bool approach;
        std::size_t samples; ///< 100 m apart
        double degrees;      ///< off the heading, of the new one
        std::int32_t extrapCount;
        std::size_t left;
        bool frontMoved;
    };
    const Row rows[] = {
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
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        PositionSample s = row.approach ? air(0, 9000, 130, 300) : ground(0, 9000, 90);
        std::vector<PositionSample> stream{s};
        for (std::size_t i = 1; i < row.samples; ++i)
            stream.push_back(northOf(stream.back(), 100, s.gs));
        Flight f(stream);
        f.a.approach = row.approach;
        f.a.landingRoll = !row.approach;
        f.a.departing = true;
        f.a.extrapCount = row.extrapCount;
        f.a.lat += 0.0001;
        f.a.lon += 0.0002;
        f.report(aside(stream.back(), 200, row.degrees));
        EXPECT_EQ(f.a.sz(), row.left);
        EXPECT_EQ(f.a.stream[0].lat, row.frontMoved ? f.a.lat : s.lat);
        EXPECT_EQ(f.a.stream[0].lon, row.frontMoved ? f.a.lon : s.lon);
        EXPECT_EQ(f.a.stream[0].tick, row.frontMoved ? f.m.in.tick + 1 : 9000);
        const bool resumed = row.extrapCount > 0 && row.left == 2;
        EXPECT_EQ(f.a.extrapCount, resumed ? 0 : row.extrapCount);
        EXPECT_EQ(fmt::format("{} {}", f.a.lateTicks, f.a.earlyTicks), resumed ? "5000 3000" : "1000 1000");
    }
}

TEST_F(FlightPhasesTest, AReportEndsTheInventedWayUnlessItLiesBehind) {
    struct Row {
        double degrees;
        bool onGround, departing, resumes;
    };
    for (const Row& row : {Row{99, false, false, true}, Row{101, false, false, false}, Row{101, true, false, true},
                           Row{180, true, false, true}, Row{10, false, true, true}}) {
        Flight f({row.onGround ? ground(0, 9000) : air(0, 9000)});
        f.a.extrapCount = 5;
        f.a.departing = row.departing;
        f.a.holding = true;
        f.a.holdStartTick = 77;
        f.report(aside(f.a.stream[0], 200, row.degrees));
        EXPECT_EQ(fmt::format("{} samples from {}, invented {}, window {} {}, holding {} since {}", f.a.sz(),
                              f.a.stream[0].tick, f.a.extrapCount, f.a.lateTicks, f.a.earlyTicks, f.a.holding,
                              f.a.holdStartTick),
                  !row.resumes ? "1 samples from 9000, invented 5, window 1000 1000, holding true since 77"
                               : fmt::format("2 samples from 5001, invented 0, window {} 3000, holding false since 0",
                                             row.departing ? 5000 : 3000))
            << row.degrees;
    }
}

TEST_F(FlightPhasesTest, WhatATakeOffRunAndAGoAroundFromTheRunwayAreTold) {
    struct Row {
        const char* name;
        bool landingRoll, airborne;
        const char *wings, *rotor;
    };
    const char* const takeOff = "throttle 0, spoilers 0, flaps 3072, lights nbltso-";
    const char* const rotorTakeOff = "throttle 16383, lights nbltso-";
    for (const Row& row : {Row{"take-off run", false, false, takeOff, rotorTakeOff},
                           Row{"take-off, airborne at once", false, true, takeOff, rotorTakeOff},
                           Row{"landing roll", true, false, "", ""},
                           Row{"go-around", true, true, "throttle 11468, spoilers 16383, flaps 3072, lights nbltso-",
                               "throttle 11468, lights nbltso-"}}) {
        SCOPED_TRACE(row.name);
        for (const AircraftCategory category : everyCategory) {
            const double alt = row.airborne ? 200 : 0;
            Flight f({ground(0, 5000, 140)}, category);
            f.a.landingRoll = f.a.landedSearch = row.landingRoll;
            f.a.climbing = true;
            f.a.stream.push_back(ground(0.002, 9000, 140));
            f.report(air(0.003, 9250, 140, alt));
            EXPECT_EQ(f.a.departing, !row.landingRoll) << "one airborne sample of a landing is noise";
            f.report(air(0.004, 9500, 140, alt));
            const std::string told = category == AircraftCategory::rotorcraft ? row.rotor : row.wings;
            EXPECT_EQ(f.told(), told);
            EXPECT_EQ(f.a.departing, !told.empty());
            EXPECT_EQ(f.a.climbing, told.empty());
            EXPECT_EQ(f.a.landedSearch, told.empty() && row.landingRoll);
            EXPECT_EQ(fmt::format("{} {}", f.a.lateTicks, f.a.earlyTicks), told.empty() ? "1000 1000" : "5000 3000");
            EXPECT_EQ(f.a.fs, FlightState::taxi);
        }
    }
}

TEST_F(FlightPhasesTest, AStandingStreamStaysShort) {
    for (const FlightState fs : {FlightState::taxi, FlightState::birth}) {
        PositionSample s = ground(0, 9000, 7);
        s.stopped = true;
        Flight f({s, northOf(s, 0, 0), northOf(s, 0, 0, 1000)});
        f.a.fs = fs;
        PositionSample n = northOf(s, 0, 0, 2000);
        n.gs = 0;
        f.report(n);
        const bool cut = fs == FlightState::taxi; // one that is not born yet keeps all
        EXPECT_EQ(f.a.sz(), cut ? 2U : 4U) << text(fs);
        EXPECT_EQ(f.a.stream[0].tick, cut ? f.m.in.tick + 1 : 9000) << text(fs);
        EXPECT_EQ(f.a.stream[0].gs, cut ? 0 : 7) << text(fs);
        EXPECT_EQ(f.a.stream.back().tick, 11000) << text(fs);
        f.a.stream.resize(1);
        f.a.stream[0].tick = 9000;
        f.report(northOf(s, 0, 0, -500));
        EXPECT_EQ(f.a.stream[0].tick, cut ? f.m.in.tick + 1 : 9000) << text(fs);
        EXPECT_EQ(f.a.stream[1].tick, 9001) << "ticks rise";
    }
    // What lifts off after a stop keeps the stop.
    Flight f({ground(0, 8000), ground(0, 9000), ground(0, 9100)}, AircraftCategory::rotorcraft);
    f.a.stream[1].stopped = f.a.stream[2].stopped = true;
    f.a.onGround = true;
    f.report(air(0.001, 9500, 20, 50));
    EXPECT_EQ(f.a.sz(), 4U);
}

TEST_F(FlightPhasesTest, AHeldAircraftThatMovedFarAwayGoes) {
    for (const double metres : {240.0, 260.0}) {
        PositionSample s = ground(0, 9000, 0);
        s.stopped = true;
        Flight f({s});
        f.a.holding = true;
        f.a.extrapCount = 1;
        f.report(northOf(s, metres, 10));
        EXPECT_EQ(f.a.st == AircraftStatus::removingfromsim, metres > 250) << metres;
        EXPECT_FALSE(f.a.holding) << metres;
    }
}

} // namespace
} // namespace kes::test
