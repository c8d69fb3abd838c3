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
    struct Case {
        const char* what;
        PositionSample s1, s2;
        bool curve, midpoint;
    };
    const Case cases[] = {
        {"straight on", at(40, 0, 5800), at(80, 1, 6600), false, false},
        {"a bend", at(40, 0, 5800), at(80, 10, 6600), true, false},
        {"a right angle after a long leg", at(80, 0, 6600), at(80, 60, 7800), false, true},
        {"the same in a hurry", at(80, 0, 5590), at(80, 60, 6200), true, false},
        {"a U-turn", at(40, 0, 5800), at(0.5, 7, 6600), false, false},
        {"there and back", at(40, 0, 5800), at(0, 0, 6600), false, false},
        {"a change of speed over a long leg", at(120, 0, 8000, 16), at(240, 0, 9500, 16), false, true},
    };
    for (const Case& c : cases) {
        resetLiveTraffic();
        LiveAircraft& a = activeFlight(firstHex, {at(0, 0, 5000), c.s1, c.s2});
        nextPosGround(a);
        EXPECT_EQ(curveRuns(a), c.curve) << c.what;
        EXPECT_EQ(a.sz(), c.curve ? 2U : c.midpoint ? 4U : 3U) << c.what;
        const double next = metresOf(a.stream[1].position()).north, first = metresOf(c.s1.position()).north;
        EXPECT_TRUE(!c.midpoint || std::fabs(next - first / 2) < 0.01) << c.what;
    }
}

/// Parked with the nose to the north, the feed having shown the way out.
LiveAircraft& leavingFlight(GroundMotionTest& test, double north) {
    stands.clear();
    stands.push_back({"A1", homeLat, homeLon, 0.0, 20.0 / 1852, 1, true});
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
        double noseDegrees; ///< of a report during the push; -1 = none
        double heading;     ///< after the push, degrees
    };
    for (const Case& c : {Case{"nose to the right", false, 20, 90}, Case{"nose to the left", false, 340, -90},
                          Case{"nothing known", false, -1, 0}, Case{"straight only", true, 20, 0}}) {
        resetLiveTraffic();
        par::STRAIGHT_PBS_ONLY.value = c.straightOnly;
        leavingFlight(*this, -30);
        tick();
        LiveAircraft& a = liveAircraft[0];
        ASSERT_EQ(a.fs, FlightState::pushing_back) << c.what;
        ASSERT_EQ(a.tasOut, -a.taxiSpeed) << c.what;
        run(200);
        if (c.noseDegrees >= 0) {
            PositionSample n = at(-20, 0, 6000, 3);
            n.trueHeading = c.noseDegrees * degToRad;
            n.trueHeadingValid = true;
            decodeExisting(liveAircraft[0], n);
        }
        double north = 0;
        ASSERT_TRUE(runUntil([&] {
            const double now = metresOf(liveAircraft[0].position()).north;
            EXPECT_LT(now, north + 1e-6) << c.what << ": never forwards";
            north = now;
            return liveAircraft[0].fs == FlightState::pushed_back;
        })) << c.what;
        EXPECT_NEAR(angleDiff(c.heading * degToRad, liveAircraft[0].heading) * radToDeg, 0, 12) << c.what;
        EXPECT_NEAR(north, -50, 3) << c.what;
        const LatLon still = liveAircraft[0].position();
        run(400);
        EXPECT_EQ(liveAircraft[0].lat, still.lat) << c.what;
        EXPECT_TRUE(liveAircraft[0].holding) << c.what;
        decodeExisting(liveAircraft[0], at(-100, 120, tickCount + 3000, 12));
        EXPECT_EQ(liveAircraft[0].fs, FlightState::taxi) << c.what;
        EXPECT_EQ(liveAircraft[0].sid, 0U) << c.what;
    }
    par::STRAIGHT_PBS_ONLY.value = false;
}

TEST_F(GroundMotionTest, AnExitAheadIsDrivenAndAnUnknownStandKeeps) {
    leavingFlight(*this, 30);
    tick();
    EXPECT_EQ(liveAircraft[0].fs, FlightState::taxi);
    EXPECT_NEAR(metresOf(liveAircraft[0].stream.back().position()).north, 34, 0.5) << "twice the half span";
    resetLiveTraffic();
    leavingFlight(*this, -30).sid = 9;
    tick();
    EXPECT_EQ(liveAircraft[0].fs, FlightState::taxi);
    EXPECT_FALSE(curveRuns(liveAircraft[0]));
}

TEST_F(GroundMotionTest, RotatesWhenTheSamplesAheadSayThatItFlies) {
    struct Case {
        const char* what;
        const char* model;
        double gs, vs;
        bool lastOnGround, rotates;
    };
    const Case cases[] = {
        {"climbing", "A320", 120, 1500, false, true},
        {"no climb in the feed, fast", "A320", 145, 0, false, true},
        {"no climb in the feed, too slow", "A320", 135, 0, false, false},
        {"still on the ground", "A320", 145, 0, true, false},
        {"a helicopter", "EC35", 60, 0, false, true},
        {"a fighter needs 220", "F16", 210, 0, false, false},
        {"not yet fast", "A320", 42, 1500, false, false},
    };
    for (const Case& c : cases) {
        resetLiveTraffic();
        PositionSample s1 = air(0.003, 5500, c.gs, c.lastOnGround ? 0 : 120), s2 = air(0.006, 6000, c.gs, 300);
        s1.vs = s2.vs = c.vs;
        LiveAircraft& a = activeFlight(firstHex, {ground(0, 5000, c.gs), s1, s2}, c.model);
        a.departing = true;
        tick();
        EXPECT_EQ(a.fs == FlightState::take_off, c.rotates) << c.what;
    }
}

TEST_F(GroundMotionTest, ATakeOffIsOneRotationAndAGrowingClimb) {
    for (const char* model : {"C172", "C25A", "A320", "B77W", "F16"}) {
        resetLiveTraffic();
        std::vector<PositionSample> stream{ground(0, 5000, 170)};
        for (int i = 1; i <= 30; ++i) {
            stream.push_back(air(0.004 * i, 5000 + 500 * i, 230, 120 + 150.0 * i));
            stream.back().vs = 1800;
        }
        LiveAircraft& a = activeFlight(firstHex, stream, model);
        a.departing = true;
        a.staticCg = 10;
        a.alt = 10;
        a.staticPitch = a.pitch = 0.7 * degToRad;
        double pitch = a.pitch, step = 0;
        for (int i = 0; i < 6000 && liveAircraft[0].fs != FlightState::flying; ++i) {
            if (i % 20 == 0) {
                const double agl = liveAircraft[0].alt - 10, bump = i >= 60 ? 2 : 0;
                addSimReply(reply(ReplyKind::ground, liveAircraft[0].objectid, agl < 3, bump, agl));
            }
            const double alt = liveAircraft[0].alt;
            tick();
            const LiveAircraft& now = liveAircraft[0];
            if (now.rotationCount >= 2) {
                ASSERT_EQ(now.alt, i >= 60 ? 12 : 10) << model << ": while it rotates it rolls on the terrain";
            }
            ASSERT_LE(now.pitch, pitch + 1e-12) << model << ": the nose only comes up";
            ASSERT_GE(now.alt, alt - 1e-9) << model << ": it never sinks";
            ASSERT_LE(now.alt - alt, i == 60 ? 2 : now.climbStepMax + 1e-9) << model;
            pitch = now.pitch;
            step = now.alt - alt;
        }
        EXPECT_EQ(liveAircraft[0].fs, FlightState::flying) << model;
        EXPECT_FALSE(liveAircraft[0].onGround) << model;
        EXPECT_GT(step, 0.2) << model;
        EXPECT_NEAR(pitch, liveAircraft[0].climbPitch, 0.01) << model;
    }
}

TEST_F(GroundMotionTest, TheRollOutEndsOffTheRunway) {
    for (const double turned : {14.0, 16.0}) {
        resetLiveTraffic();
        LiveAircraft& a = activeFlight(firstHex, {ground(0, 5000, 60), ground(0.002, 5500, 50)});
        a.landingRoll = true;
        a.touchdownHeading = 1.0;
        a.heading = 1.0 + turned * degToRad;
        nextPosMain(a);
        EXPECT_EQ(a.landingRoll, turned < 15.0) << turned;
        EXPECT_EQ(a.flapsIndex, turned < 15.0 ? 1 : 0) << turned;
    }
}

} // namespace
} // namespace kes
