// Legs in the air and on the ground.
#include "feed/qnh_reader.h"
#include "traffic/air_motion.h"
#include "traffic/flight_phases.h"
#include "traffic/ground_motion.h"
#include "traffic/harness.h"

namespace kes {
namespace {

struct MotionTest : test::TrafficTest {
    LiveAircraft& onlyTaxi(const std::vector<PositionSample>& stream, double degreesOff) {
        resetLiveTraffic();
        tickCount = stream.front().tick;
        LiveAircraft& a = activeFlight(test::firstHex, stream);
        a.heading = normalizeAngle(degreesOff * degToRad);
        return a;
    }
};
using test::firstHex;
using test::homeLat;
using test::homeLon;

TEST_F(MotionTest, TicksAddUpToTheLeg) {
    std::vector<PositionSample> stream{air(0, 5000, 360, 8000), air(0.1, 11000, 360, 9000), air(0.2, 17000, 360, 9000)};
    stream[1].lon += 0.05;
    stream[1].vs = 1000;
    stream[1].bank = 0.3;
    stream[1].bankValid = true;
    stream[1].tas = 350;
    activeFlight(firstHex, stream);
    run(6302); // 6.3 nm at 360 kts
    const LiveAircraft& a = liveAircraft.at(0);
    EXPECT_NEAR(a.stream.front().tick - 5000, 6302, 1);
    EXPECT_NEAR(a.lat, homeLat + 0.1, 1e-4);
    EXPECT_NEAR(a.lon, homeLon + 0.05, 1e-4);
    EXPECT_NEAR(a.alt, 9000, 1);
    EXPECT_NEAR(angleDiff(a.heading, bearingRad({homeLat + 0.1, homeLon + 0.05}, {homeLat + 0.2, homeLon})), 0, 1e-4)
        << "it stands on the next course already";
    EXPECT_NEAR(a.bank, 0.3, 1e-3);
    EXPECT_NEAR(a.pitch, (-3 - 1000 / 600.0 * 2.2) * degToRad, 1e-3);
    EXPECT_NEAR(a.vsOut, 1000 / 60.0, 1e-9);
    EXPECT_EQ(a.tasOut, 350);
}

TEST_F(MotionTest, ArrivalTicksStayWithinTheWindow) {
    struct Case {
        const char* what;
        double miles, gs0, gs1;
        std::int32_t due, extrap; ///< ticks from now
        std::int32_t arrives;
    };
    const Case cases[] = {
        {"at the mean speed", 5, 200, 400, 6000, 0, 6000},
        {"ahead of its time", 5, 300, 300, 6900, 0, 6000},
        {"at most ten seconds ahead", 5, 300, 300, 9000, 0, 8000},
        {"at most ten seconds late", 5, 300, 300, 3000, 0, 4000},
        {"an invented sample keeps to its speed", 5, 300, 300, 3000, 2, 6000},
        {"without speeds in its own time", 5, 0, 0, 6500, 0, 6500},
        {"without speeds, but not for ever", 0.01, 0, 0, 6000, 2, 3600},
        {"in the past: hurry", 0.01, 300, 300, -500, 0, 25},
        {"long past: at once", 1, 300, 300, -5000, 0, 0},
    };
    for (const Case& c : cases) {
        resetLiveTraffic();
        LiveAircraft& a =
            activeFlight(firstHex, {air(0, 5000, c.gs0), air(c.miles / 60, 5000 + c.due, c.gs1), air(1, 1 << 28)});
        a.extrapCount = c.extrap;
        nextPosAir(a, motionNow());
        EXPECT_NEAR(a.stream[1].tick - 5000, c.arrives, 1) << c.what;
        nextPosMain(a, motionNow());
        EXPECT_TRUE(std::isfinite(a.latStep)) << c.what;
        EXPECT_LE(std::fabs(a.latStep), c.miles / 60 / 25 + 1e-12) << c.what << ": no leg is shorter than 25 ticks";
    }
}

TEST_F(MotionTest, TheLegToTheGroundTakesTheSpeedItBeginsWith) {
    struct Case {
        bool approach, lands;
        double gs0, gs1;
        std::int32_t ticks; ///< for 5 nm
    };
    for (const Case& c : {Case{true, true, 150, 100, 12000}, Case{true, false, 150, 100, 14400},
                          Case{false, true, 150, 100, 14400}, Case{true, true, 0, 120, 18000}}) {
        resetLiveTraffic();
        LiveAircraft& a = activeFlight(
            firstHex, {air(0, 5000, c.gs0), c.lands ? ground(5 / 60.0, 9000, c.gs1) : air(5 / 60.0, 9000, c.gs1)});
        a.approach = c.approach;
        a.extrapCount = 2; // no window
        nextPosAir(a, motionNow());
        EXPECT_NEAR(a.stream[1].tick - 5000, c.ticks, 1) << c.gs0;
    }
    // A hover that is long over ends as late as the window allows, and everybody else's is left alone.
    for (const bool helicopter : {true, false}) {
        resetLiveTraffic();
        LiveAircraft& a = activeFlight(firstHex, {air(0, 4000, 0), air(0, 4010, 0)}, helicopter ? "EC35" : "A320");
        a.stream[1].stopped = true;
        nextPosAir(a, motionNow());
        EXPECT_EQ(a.stream[1].tick, helicopter ? 5010 : 4010);
    }
}

TEST_F(MotionTest, WhatATickDoesWithHeadingAndPlace) {
    using enum FlightState;
    struct Case {
        FlightState fs;
        bool turning;
        double turn; ///< of this tick; by the leg's step 0.001, towards the target 0.002
        bool moves;
    };
    for (const Case& c :
         {Case{flying, true, 0.001, true}, Case{take_off, true, 0.001, true}, Case{parked, true, 0.001, true},
          Case{birth, true, 0.001, true}, Case{taxi, false, 0, true}, Case{taxi, true, 0.002, true},
          Case{parking, false, 0.002, true}, Case{pushing_back, false, 0, true}, Case{pushing_back, true, 0.002, true},
          Case{pushed_back, false, 0, false}, Case{pushed_back, true, 0.002, false}}) {
        for (const double side : {1.0, -1.0}) {
            resetLiveTraffic();
            LiveAircraft& a = activeFlight(firstHex, {air(0, 5000)});
            a.fs = c.fs;
            a.turning = c.turning;
            // Over north and over the date line, to either side.
            a.heading = side > 0 ? twoPi - 0.0001 : 0.0001;
            a.headingStep = 0.001 * side;
            a.targetHeading = normalizeAngle(a.heading + 0.5 * side);
            a.turnRate = 0.002;
            a.lon = 179.9999 * side;
            a.latStep = 0.001;
            a.lonStep = 0.001 * side;
            const double heading = normalizeAngle(a.heading + c.turn * side);
            advancePosition(a, motionNow());
            EXPECT_NEAR(a.heading, heading, 1e-12) << text(c.fs) << side;
            EXPECT_NEAR(a.lat, homeLat + (c.moves ? 0.001 : 0), 1e-12) << text(c.fs) << side;
            EXPECT_NEAR(a.lon, c.moves ? -179.9991 * side : 179.9999 * side, 1e-9) << text(c.fs) << side;
        }
    }
}

TEST_F(MotionTest, ALegInTheFlareLeavesTheDescentAlone) {
    LiveAircraft& a = activeFlight(firstHex, {air(0, 5000, 140, 30), air(0.01, 6500, 140, 30)});
    a.approach = true;
    a.agl = 20;
    a.flareStage = 2;
    a.altStep = -0.05;
    a.pitchStep = -0.0001;
    a.stream[1].vs = -700;
    nextPosMain(a, motionNow());
    EXPECT_EQ(a.altStep, -0.05);
    EXPECT_EQ(a.pitchStep, -0.0001);
    EXPECT_EQ(a.vsFpm, -700);
}

TEST_F(MotionTest, CrossesTheDateLineTheShortWay) {
    std::vector<PositionSample> stream{air(0, 5000, 300), air(0, 9000, 300), air(0, 13000, 300)};
    stream[0].lon = 179.95;
    stream[1].lon = -179.95;
    stream[2].lon = -179.85;
    stream[0].trueHeadingValid = true;
    stream[0].trueHeading = pi / 2;
    activeFlight(firstHex, stream);
    double travelled = 0;
    for (int i = 0; i < 4600; ++i) {
        const LatLon before = liveAircraft.at(0).position();
        tick();
        travelled += distanceNm(before, liveAircraft.at(0).position());
    }
    EXPECT_LT(liveAircraft[0].lon, -179.9);
    EXPECT_NEAR(travelled, 300 * 46 / 3600.0, 0.1);
}

TEST_F(MotionTest, InTheAirNobodyStops) {
    std::vector<PositionSample> stream{air(0, 5000), air(0, 5100), air(0, 5200), air(0.1, 12200)};
    stream[1].stopped = stream[2].stopped = true;
    activeFlight(firstHex, stream);
    tick();
    EXPECT_EQ(liveAircraft.at(0).sz(), 1U);
    EXPECT_GT(liveAircraft[0].latStep, 0);
    resetLiveTraffic();
    activeFlight(firstHex, stream).category = AircraftCategory::rotorcraft;
    run(10);
    EXPECT_EQ(liveAircraft.at(0).sz(), 3U) << "but a helicopter hovers";
    EXPECT_EQ(liveAircraft[0].lat, homeLat);
    EXPECT_EQ(liveAircraft[0].tasOut, 0);
}

TEST_F(MotionTest, LandsWhereTheGroundIs) {
    struct Case {
        const char* what;
        bool airportKnown;
        std::int32_t qnh;
        double altStep, vs; ///< expected; vs 0 = that of the data
    };
    // 1000 ft, 400 ft above the airport, 2 nm before the sample on the ground: 4800 ticks.
    for (const Case& c :
         {Case{"airport known", true, 1013, -400 / 4800.0, 0}, Case{"not known", false, 1013, -601 / 6000.0, -601},
          Case{"high pressure", true, 1023, -860 / 6000.0, -860}}) {
        resetLiveTraffic();
        setAirportRef(c.airportKnown ? std::optional(AirportRef{"EDDF", "FRA", homeLat, homeLon, 600}) : std::nullopt);
        currentQnh = c.qnh;
        std::vector<PositionSample> stream{air(0, 5000, 150, 1000), ground(2 / 60.0, 9800, 150),
                                           ground(0.05, 12000, 150)};
        stream[0].vs = stream[1].vs = -800;
        LiveAircraft& a = activeFlight(firstHex, stream);
        nextPosMain(a, motionNow());
        EXPECT_NEAR(a.altStep, c.altStep, 1e-4) << c.what;
        EXPECT_EQ(a.stream.front().vs, c.vs == 0 ? -800 : c.vs) << c.what;
        a.staticCg = 10;
        addSimReply(reply(ReplyKind::ground, a.objectid, 0, 600, 200));
        applySimReplies();
        EXPECT_FALSE(a.onGround) << c.what;
        EXPECT_EQ(a.agl, 200) << c.what;
        EXPECT_EQ(a.alt, 1000) << c.what;
        addSimReply(reply(ReplyKind::ground, a.objectid, 1, 600, 0));
        applySimReplies();
        EXPECT_TRUE(a.onGround) << c.what;
        EXPECT_EQ(a.altStep, 0) << c.what;
        EXPECT_EQ(a.alt, 610) << "on the ground it rests on the simulator's terrain: " << c.what;
        tickCount = a.stream.front().tick;
        nextPosMain(a, motionNow());
        EXPECT_EQ(a.fs, FlightState::taxi) << c.what;
        EXPECT_EQ(a.tasLeg, 150) << c.what;
        tickCount = 5000;
    }
    currentQnh = 1013;
}

TEST_F(MotionTest, TaxiTurnsAtItsRateAndHoldsItsAttitude) {
    for (const double side : {-1.0, 1.0}) {
        // 30 degrees off a leg of 222 m in 43.2 s: 245 ticks at the base rate, stretched by 17.6 * 30 m / 222 m.
        const LiveAircraft& a = onlyTaxi({ground(0, 5000, 10), ground(0.002, 9320, 10)}, 30 * side);
        liveAircraft[0].staticPitch = 0.01;
        liveAircraft[0].pitch = liveAircraft[0].bank = 0.2;
        tick();
        EXPECT_TRUE(a.turning);
        const double rate = 0.07 / (4320 / 246.0 * 30 / 222.24) * degToRad;
        EXPECT_NEAR(a.turnRate, rate, rate / 100);
        int turned = 1;
        for (; degreesBetween(a.heading, 0) > 0.5 && turned < 3000; ++turned) {
            const double before = a.heading;
            tick();
            ASSERT_NEAR(angleDiff(before, a.heading), -side * a.turnRate, 1e-12) << "the shorter way, at one rate";
            ASSERT_EQ(a.bank, 0);
            ASSERT_EQ(a.pitch, a.staticPitch);
            liveAircraft[0].staticPitch = 0.01 + turned * 1e-6; // the simulator may tell it at any time
        }
        EXPECT_NEAR(turned, 29.5 * degToRad / rate, 20);
        const double reached = a.heading;
        run(500);
        EXPECT_EQ(a.heading, reached) << "half a degree is near enough";
        EXPECT_EQ(a.vsOut, 0);
    }
}

TEST_F(MotionTest, StaticDataOfTheModel) {
    struct Case {
        double cg, pitchDegrees, expectedCg, expectedDegrees;
    };
    par::LOG.value = true;
    for (const Case& c : {Case{8.5, 0.5, 8.5, 0.5}, Case{1.0, 2.5, 1.0, 2.5}, Case{35.0, -0.99, 35.0, -0.99},
                          Case{0.5, -1.0, 7.0, 0.7}, Case{35.1, 2.6, 7.0, 0.7}}) {
        resetLiveTraffic();
        LiveAircraft& a = activeFlight(firstHex, {ground(0, 5000), ground(0.01, 6000)});
        a.staticCg = 7;
        addSimReply(reply(ReplyKind::staticData, a.objectid, 0, c.cg, c.pitchDegrees * degToRad));
        applySimReplies();
        EXPECT_EQ(a.staticCg, c.expectedCg) << c.cg;
        EXPECT_NEAR(a.staticPitch * radToDeg, c.expectedDegrees, 1e-9) << c.pitchDegrees;
    }
    EXPECT_EQ(program.logCount("static CG"), 2U);
    EXPECT_TRUE(program.logHas(": static CG 0.5ft wrong?"));
}

TEST_F(MotionTest, TheSameReportsGiveTheSameFlight) {
    const auto fly = [&] {
        TearDown();
        SetUp();
        std::vector<double> trace;
        for (std::uint32_t h = 0; h < 20; ++h) {
            for (int i = 0; i < 4; ++i)
                push(report(firstHex + h, i * 10.0, h * 0.01));
        }
        for (int i = 0; i < 8000; ++i) {
            tick();
            for (const LiveAircraft& a : liveAircraft)
                trace.insert(trace.end(), {a.lat, a.lon, a.alt, a.heading, a.pitch, a.bank});
        }
        return trace;
    };
    const auto first = fly();
    EXPECT_GT(first.size(), 100000U);
    EXPECT_EQ(first, fly());
}

} // namespace
} // namespace kes
