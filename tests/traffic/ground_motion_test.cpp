// Corners, push-backs, take-offs and landings on the ground.
#include "airports/stands.h"
#include "traffic/air_motion.h"
#include "traffic/flight_phases.h"
#include "traffic/harness.h"
#include "traffic/parking.h"

#include <cmath>

namespace kes {
namespace {

using GroundMotionTest = test::TrafficTest;
using test::firstHex;
using test::homeLat;
using test::homeLon;
using test::metre;

/// A ground sample so many metres north and east of home.
PositionSample at(double north, double east, std::int32_t tick, double gs = 10) {
    PositionSample s = GroundMotionTest::ground(north * metre, tick, gs);
    s.lon += east * metre / std::cos(homeLat * degToRad);
    return s;
}

struct Metres {
    double north, east;
};
Metres metresOf(LatLon p) {
    return {(p.lat - homeLat) / metre, (p.lon - homeLon) / metre * std::cos(homeLat * degToRad)};
}

TEST_F(GroundMotionTest, ACornerIsABezierCurve) {
    // 26 m at 10 knots take 5 s: closer than 50 m, so no midpoint. The curve bends at the second sample.
    LiveAircraft& a = activeFlight(firstHex, {at(0, 0, 5000), at(26, 0, 5505), at(26, 26, 6010), at(26, 60, 6700)});
    tick();
    ASSERT_TRUE(curveRuns(a));
    ASSERT_EQ(a.sz(), 2U) << "the corner has gone into the curve";
    const std::int32_t ticks = a.stream.front().tick - 5000;
    double closest = 1e9, lastHeading = 0;
    for (int i = 1; i < ticks; ++i) {
        const double t = static_cast<double>(i) / ticks, w = 1 - t;
        const Metres m = metresOf(liveAircraft[0].position());
        ASSERT_NEAR(m.north, 2 * w * t * 26 + t * t * 26, 0.05) << i;
        ASSERT_NEAR(m.east, t * t * 26, 0.05) << i;
        closest = std::min(closest, std::hypot(m.north - 26, m.east));
        ASSERT_GE(liveAircraft[0].heading, lastHeading - 1e-9) << "it turns right all along";
        lastHeading = liveAircraft[0].heading;
        tick();
    }
    EXPECT_GT(closest, 5) << "not through the corner";
    EXPECT_GT(lastHeading * radToDeg, 30);
}

TEST_F(GroundMotionTest, WhichCornersGetACurve) {
    enum Does { nothing, midpoint, curve };
    struct Case {
        const char* what;
        PositionSample s1, s2;
        Does does;
        double gs0 = 10;
        double headingDegrees = 0;
    };
    PositionSample stop = at(240, 0, 9500, 0);
    stop.stopped = true;
    const Case cases[] = {
        {"straight on", at(40, 0, 5800), at(80, 1.4, 6600), nothing},
        {"a bend of 4 degrees", at(40, 0, 5800), at(80, 2.8, 6600), curve},
        {"a bend", at(40, 0, 5800), at(80, 10, 6600), curve},
        {"50 degrees after a long leg", at(52, 0, 5600), at(92, 47.7, 7800), midpoint},
        {"after a shorter one", at(48, 0, 5600), at(88, 47.7, 7800), curve},
        {"in less than 6 s", at(52, 0, 5599), at(92, 47.7, 7800), curve},
        {"43 knots", at(52, 0, 5600, 43), at(92, 47.7, 7800, 43), midpoint, 43},
        {"faster than that", at(52, 0, 5600, 44), at(92, 47.7, 7800, 44), curve, 44},
        {"44 degrees after a long leg", at(52, 0, 5600), at(92, 38.6, 7800), curve},
        {"nearly back", at(40, 0, 5800), at(0.5, 17, 6600), curve},
        {"a U-turn", at(40, 0, 5800), at(0.5, 13, 6600), nothing},
        {"there and back", at(40, 0, 5800), at(0, 0, 6600), nothing},
        {"the same, out of a turn", at(40, 0, 5800), at(0, 0, 6600), nothing, 10, 40},
        {"a change of speed over a long leg", at(102, 0, 8000, 16), at(240, 0, 9500, 16), midpoint},
        {"a small one", at(102, 0, 8000, 15), at(240, 0, 9500, 16), nothing},
        {"over a short leg", at(98, 0, 8000, 16), at(240, 0, 9500, 16), nothing},
        {"before a stop", at(102, 0, 8000, 16), stop, midpoint},
    };
    for (const Case& c : cases) {
        resetLiveTraffic();
        LiveAircraft& a = activeFlight(firstHex, {at(0, 0, 5000, c.gs0), c.s1, c.s2});
        a.heading = c.headingDegrees * degToRad;
        a.turning = true; // what the leg before did
        nextPosGround(a, motionNow());
        EXPECT_EQ(curveRuns(a), c.does == curve) << c.what;
        EXPECT_EQ(a.turning, c.headingDegrees != 0) << c.what;
        EXPECT_EQ(a.sz(), c.does == curve ? 2U : c.does == midpoint ? 4U : 3U) << c.what;
        const double next = metresOf(a.stream[1].position()).north, first = metresOf(c.s1.position()).north;
        EXPECT_TRUE(c.does != midpoint || std::fabs(next - first / 2) < 0.01) << c.what;
        if (c.does == curve) {
            EXPECT_NEAR(a.curveAngle, bearingRad(c.s1.position(), c.s2.position()) * radToDeg, 1e-9) << c.what;
        }
    }
}

TEST_F(GroundMotionTest, ALegTurnsByMoreThanThreeDegrees) {
    for (const double off : {2.9, -3.1, 170.0}) {
        LiveAircraft& a = activeFlight(firstHex, {at(0, 0, 5000), at(40, 0, 5800)});
        a.heading = normalizeAngle(off * degToRad);
        nextPosGround(a, motionNow());
        EXPECT_EQ(a.turning, off != 2.9) << off;
        EXPECT_NEAR(a.legTurn, std::fabs(off), 1e-9);
    }
}

TEST_F(GroundMotionTest, SpeedStepsAtTheEndOfTheStreamUnlessItIsInvented) {
    for (const std::int32_t invented : {0, 1}) {
        resetLiveTraffic();
        LiveAircraft& a = activeFlight(firstHex, {at(0, 0, 5000), at(102, 0, 8000, 16)});
        a.extrapCount = invented;
        nextPosGround(a, motionNow());
        EXPECT_EQ(a.sz(), invented == 0 ? 3U : 2U);
    }
}

TEST_F(GroundMotionTest, AMidpointIsTheMeanAndMoves) {
    struct Case {
        double lon0, lon1, lon, alt0, alt1, alt;
    };
    for (const Case& c : {Case{8, 8.2, 8.1, 0, 0, 0}, Case{8.2, 8, 8.1, 100, 300, 200},
                          Case{179.9, -179.7, 180.1, 0, -50, 0}, Case{-179.9, 179.7, -180.1, 0, 50, 25}}) {
        resetLiveTraffic();
        PositionSample s0 = at(0, 0, 5000, 10), s1 = at(100, 0, 6001, 20);
        s0.lon = c.lon0;
        s1.lon = c.lon1;
        s0.alt = c.alt0;
        s1.alt = c.alt1;
        s0.stopped = true;
        LiveAircraft& a = activeFlight(firstHex, {s0, s1});
        insertMidpoint(a);
        ASSERT_EQ(a.sz(), 3U);
        const PositionSample& m = a.stream[1];
        EXPECT_NEAR(m.lon, c.lon, 1e-9);
        EXPECT_NEAR(metresOf(m.position()).north, 50, 1e-6);
        EXPECT_EQ(m.alt, c.alt);
        EXPECT_EQ(m.airborne, c.alt > 0);
        EXPECT_EQ(m.gs, 15);
        EXPECT_EQ(m.tick, 5500);
        EXPECT_FALSE(m.stopped);
    }
}

TEST_F(GroundMotionTest, TheTurnRateFitsTheLeg) {
    struct Case {
        const char* what;
        double degrees, metres; ///< at 10 knots
        double times;           ///< the base rate
        std::int32_t window = 1000;
    };
    // An A320 is given 164 ticks for 20 degrees, 65 for 8, 737 for 90; a metre takes 19.44 ticks.
    const Case cases[] = {
        {"a short leg turns faster", 20, 5, 164 / 97.0},
        {"just under a fifth longer", 20, 10, 164 / 194.0},
        {"a longer one: part for part of 10 degrees", 20, 20, 1 / (389 / 164.0 * 10 / 20)},
        {"a small turn over a long leg: part of 30 m", 8, 60, 1 / (1166 / 65.0 * 30 / 60)},
        {"over the leg", 8, 20, 65 / 389.0},
        {"45 degrees", 45, 20, 1 / (389 / 368.0)},
        {"sharp and short: slower", 60, 20, 389 / 491.0},
        {"sharp and long: faster, within its bound", 60, 100, 2},
        {"hardly sharp", 46, 100, 46 / 30.0},
        {"not yet a full corner", 89, 100, 1944 / 728.0},
        {"a full corner", 90, 100, 1944 / 737.0, 2000},
        {"more than that", 135, 300, 3, 2000},
        {"no turn", 0, 100, 1},
    };
    for (const bool curve : {false, true}) {
        for (const Case& c : cases) {
            resetLiveTraffic();
            LiveAircraft& a = activeFlight(firstHex, {at(0, 0, 5000), at(c.metres, 0, 5000)});
            (curve ? a.curveAngle : a.legTurn) = c.degrees;
            (curve ? a.legTurn : a.curveAngle) = 33;
            a.turning = !curve;
            if (curve)
                a.curve.fill(1.0);
            a.turnRate = 9; // of the leg before
            setLegTiming(a, motionNow());
            EXPECT_NEAR(a.turnRate / a.turnRateBase, c.times, 0.003 * c.times) << c.what;
            EXPECT_EQ(a.earlyTicks, c.window) << c.what;
            EXPECT_EQ(a.lateTicks, c.window) << c.what;
        }
    }
    LiveAircraft& a = activeFlight(firstHex + 1, {at(0, 0, 5000), at(100, 0, 5000)});
    a.legTurn = 135;
    a.earlyTicks = a.lateTicks = 3000;
    a.turning = true;
    setLegTiming(a, motionNow());
    EXPECT_EQ(a.earlyTicks + a.lateTicks, 6000) << "a wider window stays";
    a.turning = false;
    setLegTiming(a, motionNow());
    EXPECT_EQ(a.turnRate, a.turnRateBase);
}

TEST_F(GroundMotionTest, AStopTakesItsTimeFromTheSampleBefore) {
    struct Case {
        const char* what;
        std::int32_t from, to, extrap, arrives; ///< ticks from now
    };
    for (const Case& c :
         {Case{"in time", 0, 500, 0, 500}, Case{"late", -100, 500, 0, 500}, Case{"its time is up", -100, -90, 0, 25},
          Case{"early", 300, 900, 0, 900}, Case{"a stop before its sample", 100, 50, 0, 125},
          Case{"no longer than the window", -3000, -2000, 0, 0}, Case{"invented", -3000, -2000, 1, 25}}) {
        resetLiveTraffic();
        PositionSample stop = at(0, 0, 5000 + c.to, 0);
        stop.stopped = true;
        LiveAircraft& a = activeFlight(firstHex, {at(0, 0, 5000 + c.from, 0), stop});
        a.extrapCount = c.extrap;
        setLegTiming(a, motionNow());
        EXPECT_EQ(a.stream[1].tick - 5000, c.arrives) << c.what;
    }
}

TEST_F(GroundMotionTest, ACurveLeadsTheNoseAlongItsTangent) {
    for (const bool pushed : {false, true}) {
        for (const double lon : {homeLon, 179.9998}) {
            resetLiveTraffic();
            std::vector<PositionSample> stream{at(0, 0, 5000, 8), at(26, 0, 5500, 4), at(40, 60, 6100, 0)};
            for (PositionSample& s : stream)
                s.lon = std::remainder(s.lon - homeLon + lon, 360);
            LiveAircraft& a = activeFlight(firstHex, stream);
            if (pushed)
                a.fs = FlightState::pushing_back;
            a.turnRate = 4; // at once
            ASSERT_TRUE(setUpCurve(a, 60));
            EXPECT_EQ(a.stream[1].gs, 6) << "an end without a speed takes the mean of the others";
            a.curveStep = 0.01;
            for (int i = 1; i <= 100; ++i) {
                advanceOnCurve(a);
                const double t = i / 100.0, w = 1 - t;
                const Metres m = metresOf({a.lat, std::remainder(a.lon - lon, 360) + homeLon});
                ASSERT_NEAR(m.north, 2 * w * t * 26 + t * t * 40, 0.05) << i;
                ASSERT_NEAR(m.east, t * t * 60, 0.05) << i;
                const double tangent = std::atan2(t * 60, t * 14 + w * 26) + (pushed ? pi : 0);
                ASSERT_NEAR(angleDiff(tangent, a.heading) * radToDeg, 0, 0.6) << i;
            }
        }
    }
    LiveAircraft& a = liveAircraft[0];
    a.stream.resize(2);
    EXPECT_FALSE(setUpCurve(a, 60));
    EXPECT_EQ(a.sz(), 2U);
}

TEST_F(GroundMotionTest, TurnsTheShorterWayAtTheRateAndNoFinerThanHalfADegree) {
    LiveAircraft& a = activeFlight(firstHex, {at(0, 0, 5000), at(9, 0, 6000)});
    a.turnRate = 2 * degToRad;
    struct Case {
        double from, to, reached; ///< degrees
    };
    for (const Case& c : {Case{10, 30, 12}, Case{30, 10, 28}, Case{350, 20, 352}, Case{10, 340, 8}, Case{10, 11, 11},
                          Case{10, 10.4, 10}, Case{10, 9.6, 10}, Case{10, 10.6, 10.6}}) {
        a.heading = c.from * degToRad;
        turnTowards(a, c.to * degToRad);
        EXPECT_NEAR(a.heading * radToDeg, c.reached, 1e-9) << c.from << " to " << c.to;
    }
}

TEST_F(GroundMotionTest, ALegOnTheGroundSetsAttitudeWindowAndSpeed) {
    struct Case {
        const char* what;
        bool departing, landingRoll;
        int flareStage;
        std::int32_t window; ///< of 1500
    };
    for (const Case& c : {Case{"taxiing", false, false, 0, 1400}, Case{"departing", true, false, 0, 1500},
                          Case{"rolling out", false, true, 3, 1500}}) {
        resetLiveTraffic();
        LiveAircraft& a = activeFlight(firstHex, {at(0, 0, 5000), at(30, 0, 5600), at(60, 0, 6200)});
        a.departing = c.departing;
        a.landingRoll = c.landingRoll;
        a.flareStage = c.flareStage;
        a.earlyTicks = a.lateTicks = 1500;
        a.staticPitch = 0.01;
        a.pitch = a.bank = a.pitchStep = a.bankStep = 0.2;
        nextPosMain(a, motionNow());
        EXPECT_EQ(a.earlyTicks, c.window) << c.what;
        EXPECT_EQ(a.lateTicks, c.window) << c.what;
        EXPECT_EQ(a.pitch, c.flareStage == 0 ? 0.01 : 0.2) << c.what;
        for (const double value : {a.bank, a.pitchStep, a.bankStep})
            EXPECT_EQ(value, c.flareStage == 0 ? 0 : 0.2) << c.what;
        EXPECT_EQ(a.tasLeg, 10) << c.what;
    }
    resetLiveTraffic();
    LiveAircraft& a = activeFlight(firstHex, {at(0, 0, 5000), at(26, 0, 3000), at(26, 26, 3100)});
    nextPosMain(a, motionNow());
    ASSERT_TRUE(curveRuns(a));
    EXPECT_EQ(a.curveStep, 1 / 25.0) << "also where the data are long past";
}

TEST_F(GroundMotionTest, HeightAndPitchOnTheGroundAreTheSimulators) {
    struct Ground {
        const char* what;
        bool onGround;
        std::int32_t rotation;
        bool simOnGround;
        double alt;
        bool after;
    };
    for (const Ground& c :
         {Ground{"rolling", true, 1, true, 409, true}, Ground{"on a bump", true, 1, false, 409, true},
          Ground{"rotating", false, 2, true, 409, false}, Ground{"lifted off", false, 1, false, 77, false},
          Ground{"in the climb", false, -5, false, 77, false}}) {
        resetLiveTraffic();
        LiveAircraft& a = activeFlight(firstHex, {at(0, 0, 5000), at(30, 0, 5600)});
        a.onGround = c.onGround;
        a.rotationCount = c.rotation;
        a.fs = c.rotation == 1 ? FlightState::taxi : FlightState::take_off;
        a.alt = 77;
        a.staticCg = 9;
        applyGroundData(a, c.simOnGround, 400, 33, motionNow());
        EXPECT_EQ(a.alt, c.alt) << c.what;
        EXPECT_EQ(a.agl, 33) << c.what;
        EXPECT_EQ(a.onGround, c.after) << c.what;
    }
    liveAircraft[0].staticCg = 9;
    applyStaticData(liveAircraft[0], NAN, NAN);
    EXPECT_EQ(liveAircraft[0].staticCg, 9);
    EXPECT_NEAR(liveAircraft[0].staticPitch * radToDeg, 0.7, 1e-9) << "what is no number is doubtful";
}

/// Parked with the nose to the north, the feed having shown the way out.
LiveAircraft& leavingFlight(GroundMotionTest& test, double north) {
    stands.clear();
    stands.push_back({.id = "A1",
                      .lat = homeLat,
                      .lon = homeLon,
                      .heading = 0.0,
                      .radius = 20.0 / 1852,
                      .sid = 1,
                      .liveOnIt = true});
    LiveAircraft& a = test.activeFlight(firstHex, {at(0, 0, 5000, 0), at(north, 0, 5500, 3)});
    a.fs = FlightState::parked;
    a.sid = 1;
    a.standLat = homeLat;
    a.standLon = homeLon;
    a.pullOutDue = true;
    return a;
}

TEST_F(GroundMotionTest, APushBackGoesTailFirstAndSwingsAsTheFeedSays) {
    struct Case {
        const char* what;
        bool straightOnly;
        double noseDegrees;  ///< of a report during the push; -1 = none
        double trackDegrees; ///< likewise; 0 = none
        double heading;      ///< after the push, degrees
    };
    const Case cases[] = {
        {"nose to the right", false, 20, 340, 90}, {"nose to the left", false, 340, 20, -90},
        {"track to the right", false, -1, 20, 90}, {"track to the left", false, -1, 340, -90},
        {"nothing said", false, -1, 0, 0},         {"straight only", true, 20, 20, 0},
    };
    par::LOG.value = true;
    for (const Case& c : cases) {
        resetLiveTraffic();
        tickCount = 5000;
        par::STRAIGHT_PBS_ONLY.value = c.straightOnly;
        LiveAircraft& a = leavingFlight(*this, -30);
        a.turning = true; // of its way in
        a.legTurn = 20;
        a.extrapCount = 1;
        a.lastAwayDist = 0.01; // of an earlier push
        tick();
        ASSERT_EQ(a.fs, FlightState::pushing_back) << c.what;
        ASSERT_EQ(a.tasOut, -a.taxiSpeed) << c.what;
        EXPECT_FALSE(a.turning) << c.what;
        EXPECT_EQ(a.extrapCount, 0) << c.what;
        ASSERT_EQ(a.sz(), 3U) << c.what;
        const Metres halfWay = metresOf(a.stream[0].position()), right = metresOf(a.pushbackTail.position());
        const Metres behind = metresOf(a.stream[1].position()), left = metresOf(a.stream[2].position());
        EXPECT_NEAR(halfWay.north, -25, 0.1) << c.what;
        EXPECT_NEAR(behind.north, -50, 0.1) << c.what << ": two and a half radii";
        EXPECT_NEAR(left.east, 34 / 2.0, 0.1) << c.what << ": half a span aside";
        EXPECT_NEAR(right.east, -34 / 2.0, 0.1) << c.what;
        EXPECT_NEAR(a.stream[1].tick - 5000, 50 * 360000 / 1852.0 / 4, 2) << c.what << ": at 4 knots";
        EXPECT_NEAR(a.stream[2].tick - 5000, (25 + std::hypot(25, 17)) * 360000 / 1852.0 / 4, 2) << c.what;
        run(200);
        PositionSample n = at(-20, 0, 6000, 3);
        n.trueHeadingValid = c.noseDegrees >= 0;
        n.trueHeading = c.noseDegrees * degToRad;
        n.track = c.trackDegrees;
        decodeExisting(liveAircraft[0], n, motionNow());
        double north = 0;
        ASSERT_TRUE(runUntil([&] {
            const double now = metresOf(liveAircraft[0].position()).north;
            EXPECT_LT(now, north + 1e-6) << c.what << ": never forwards";
            north = now;
            return liveAircraft[0].fs == FlightState::pushed_back;
        })) << c.what;
        EXPECT_NEAR(angleDiff(c.heading * degToRad, a.heading) * radToDeg, 0, 12) << c.what;
        EXPECT_NEAR(north, -50, 3) << c.what;
        EXPECT_EQ(a.lastAwayDist, 900) << c.what;
        EXPECT_FALSE(a.pullOutDue) << c.what;
        EXPECT_EQ(a.extrapCount, 0) << c.what;
        EXPECT_EQ(a.targetHeading, a.heading) << c.what;
        const LatLon still = a.position();
        run(400);
        EXPECT_EQ(a.lat, still.lat) << c.what;
        EXPECT_TRUE(a.holding) << c.what;
        decodeExisting(a, at(-100, 120, tickCount + 3000, 12), motionNow());
        EXPECT_EQ(a.fs, FlightState::taxi) << c.what;
        EXPECT_EQ(a.sid, 0U) << c.what;
        EXPECT_EQ(a.standLat, 0) << c.what;
        EXPECT_EQ(a.standHeading, 0) << c.what;
    }
    par::STRAIGHT_PBS_ONLY.value = false;
}

TEST_F(GroundMotionTest, AnExitAheadIsDrivenAndOneBehindIsPushed) {
    for (const double exit : {0.0, 60.0, 89.4, 89.6, 110.0, 180.0, 300.0, 250.0}) {
        resetLiveTraffic();
        LiveAircraft& a = leavingFlight(*this, 0);
        a.heading = 0.01; // as it came to stand
        a.stream[1] = at(100 * std::cos(exit * degToRad), 100 * std::sin(exit * degToRad), 5500, 3);
        a.extrapCount = 1;
        par::LOG.value = true;
        tick();
        const bool ahead = exit < 89.5 || exit > 270;
        EXPECT_EQ(a.fs, ahead ? FlightState::taxi : FlightState::pushing_back) << exit;
        EXPECT_EQ(a.extrapCount, 0) << exit;
        EXPECT_EQ(a.pullOutDue, !ahead) << exit;
        EXPECT_EQ(a.earlyTicks, 2900) << exit << ": wide, and shrinking";
        if (!ahead)
            continue;
        ASSERT_EQ(a.sz(), 1U);
        EXPECT_NEAR(metresOf(a.stream.back().position()).north, 34, 0.5) << "twice the half span";
        EXPECT_NEAR(a.stream.back().tick - 5000, 34 * 360000 / 1852.0 / 4, 9) << "at 4 knots";
        EXPECT_EQ(a.tasOut, 4);
    }
    EXPECT_TRUE(program.logHas("A1      : DLH304   pulling out"));
    resetLiveTraffic();
    leavingFlight(*this, -30).sid = 9;
    tick();
    EXPECT_EQ(liveAircraft[0].fs, FlightState::taxi) << "an unknown stand cannot be left tail first";
    EXPECT_FALSE(curveRuns(liveAircraft[0]));
    resetLiveTraffic();
    LiveAircraft& waits = leavingFlight(*this, -30);
    waits.pullOutDue = false;
    for (const bool departing : {false, true}) {
        waits.departing = departing;
        nextPosGround(waits, motionNow());
        EXPECT_EQ(waits.fs, FlightState::parked);
        EXPECT_EQ(waits.earlyTicks, 3000);
        EXPECT_EQ(waits.lateTicks, departing ? 5000 : 3000);
    }
}

TEST_F(GroundMotionTest, RotatesWhenTheSamplesAheadSayThatItFlies) {
    enum Climb { none, asTheData, most, least };
    struct Case {
        const char* what;
        const char* model;
        double gs0, gs1, gs2, vs, alt1, alt2;
        Climb climb; ///< none = it does not rotate
    };
    const Case cases[] = {
        {"climbing", "A320", 120, 120, 120, 1500, 120, 300, asTheData},
        {"just a climb", "A320", 120, 120, 120, 257, 120, 300, asTheData},
        {"no climb, too slow", "A320", 120, 120, 120, 256, 120, 300, none},
        {"no climb in the feed, fast", "A320", 145, 140, 140, 0, 120, 300, most},
        {"no climb in the feed, at first too slow", "A320", 145, 139, 145, 0, 120, 300, none},
        {"at last too slow", "A320", 145, 145, 139, 0, 120, 300, none},
        {"still on the ground", "A320", 145, 145, 145, 0, 0, 300, none},
        {"climbing off the ground", "A320", 145, 145, 145, 1500, 0, 300, most},
        {"climbing to where it is", "A320", 145, 145, 145, 1500, 5, 300, least},
        {"a helicopter", "EC35", 60, 60, 60, 0, 120, 300, most},
        {"Light", "C172", 90, 90, 90, 0, 120, 300, most},
        {"Light, slow", "C172", 89, 89, 89, 0, 120, 300, none},
        {"Buzjets", "C25A", 110, 110, 110, 0, 120, 300, most},
        {"Buzjets, slow", "C25A", 109, 109, 109, 0, 120, 300, none},
        {"Heavy", "B77W", 150, 150, 150, 0, 120, 300, most},
        {"Heavy, slow", "B77W", 149, 149, 149, 0, 120, 300, none},
        {"HighPerf", "F16", 220, 220, 220, 0, 120, 300, most},
        {"HighPerf, slow", "F16", 219, 219, 219, 0, 120, 300, none},
        {"the run has hardly begun", "A320", 43, 48, 48, 1500, 120, 300, asTheData},
        {"not yet", "A320", 42, 47, 47, 1500, 120, 300, none},
    };
    for (const Case& c : cases) {
        resetLiveTraffic();
        PositionSample s1 = air(0.003, 5500, c.gs1, c.alt1), s2 = air(0.006, 6000, c.gs2, c.alt2);
        s1.vs = s2.vs = c.vs;
        LiveAircraft& a = activeFlight(firstHex, {ground(0, 5000, c.gs0), s1, s2}, c.model);
        a.departing = true;
        a.alt = 10;
        nextPosMain(a, motionNow());
        ASSERT_EQ(a.fs == FlightState::take_off, c.climb != none) << c.what;
        const double ticks = ticksToGo(a.stream.front(), motionNow());
        if (c.climb != none) {
            EXPECT_NEAR(a.altStep, c.climb == most ? a.climbStepMax : (c.climb == least ? 0.1 : c.alt1 - 10) / ticks,
                        1e-9)
                << c.what;
        }
    }
}

TEST_F(GroundMotionTest, ATakeOffIsOneRotationAndAGrowingClimb) {
    struct Case {
        const char* model;
        int rotateTicks, climbOutTicks;
    };
    for (const Case& c : {Case{"C172", 100, 200}, Case{"C25A", 200, 250}, Case{"A320", 200, 300},
                          Case{"B77W", 250, 400}, Case{"F16", 100, 200}, Case{"EC35", 100, 100}}) {
        resetLiveTraffic();
        tickCount = 5000;
        PositionSample up = air(200 / 3600.0, 11000, 200, 3010); // a minute, all of it in one leg
        up.vs = 1800;
        activeFlight(firstHex, {ground(0, 5000, 200), up}, c.model);
        LiveAircraft& a = liveAircraft[0];
        a.departing = true;
        a.staticCg = a.alt = 10;
        a.staticPitch = a.pitch = 0.7 * degToRad;
        a.bank = a.bankStep = 0.1;
        a.headingStep = 0.01;
        const double pitchStep = (a.rotatePitch - a.pitch) / c.rotateTicks;
        const double climbPitchStep = (a.climbPitch - a.rotatePitch) / c.climbOutTicks;
        for (int i = 1; i < 6000 && liveAircraft.at(0).fs != FlightState::flying; ++i) {
            const double bump = i < 60 ? 0 : 2, alt = a.alt, pitch = a.pitch;
            const double agl = i < c.rotateTicks ? 0 : a.alt - 10;
            addSimReply(reply(ReplyKind::ground, a.objectid, agl < 3, bump, agl));
            tick();
            EXPECT_FALSE(a.onGround);
            ASSERT_EQ(a.bank, 0) << c.model << i;
            ASSERT_EQ(a.heading, 0) << c.model << i;
            const int climb = i - c.rotateTicks; // ticks since the lift-off
            if (climb < 0) {
                ASSERT_EQ(a.alt, 10 + bump) << c.model << ": while it rotates it rolls on the terrain";
                ASSERT_NEAR(a.pitch - pitch, pitchStep, 1e-12) << c.model << i;
                continue;
            }
            const double part = climb == 0 ? 0 : climb < 100 ? 0.1 : climb < 200 ? 0.2 : climb < 300 ? 0.5 : 1;
            ASSERT_NEAR(a.alt - alt, part * 0.5, 0.001) << c.model << climb;
            ASSERT_NEAR(a.pitch - pitch, pitch > a.climbPitch ? climbPitchStep : 0, 1e-12) << c.model << climb;
            ASSERT_EQ(a.fs == FlightState::flying, agl >= 800 && pitch <= a.climbPitch) << c.model << agl;
        }
        EXPECT_EQ(a.fs, FlightState::flying) << c.model;
        EXPECT_EQ(a.rotationCount, 1) << c.model;
        EXPECT_EQ(a.pitchStep, 0) << c.model;
    }
}

TEST_F(GroundMotionTest, ARotationEndsTurnAndBank) {
    LiveAircraft& a = activeFlight(firstHex, {at(0, 0, 5000, 100), at(60, 0, 5600, 100)});
    a.curve.fill(1.0);
    a.bank = a.bankStep = a.headingStep = 0.1;
    beginRotation(a, motionNow());
    EXPECT_FALSE(curveRuns(a));
    EXPECT_EQ(a.bank + a.bankStep + a.headingStep, 0);
}

} // namespace
} // namespace kes
