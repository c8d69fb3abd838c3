// SPDX-License-Identifier: MIT
// Out of a stand: ahead under own power, or pushed back.
#include "support.h"
#include "traffic/departure.h"
#include "traffic/flight.h"
#include "traffic/ground_motion.h"
#include "traffic/push_back.h"

#include <tuple>

namespace kes::test {
namespace {

/// On its stand with the nose to the north, everything off, the feed having shown the way out.
struct LeavingFlight : Flight {
    explicit LeavingFlight(const PositionSample& exit, AircraftCategory category = AircraftCategory::large)
        : Flight({Samples::at(0, 0, 5000, 0), exit}, category) {
        stands.assign(1, standAt(0, 20));
        stands[0].liveOnIt = true;
        a.fs = FlightState::parked;
        a.sid = 1;
        a.standLat = homeLat;
        a.standLon = homeLon;
        a.pullOutDue = true;
        a.extrapCount = 1;
    }
};

struct PushBackTest : FlightTest {
    ProgramFolder program;
};

TEST_F(PushBackTest, GoesTailFirstAndSwingsAsTheFeedSays) {
    struct Row {
        const char* name;
        bool straightOnly;
        double noseDegrees;  ///< of a report during the push; -1 = none
        double trackDegrees; ///< likewise; 0 = none
        double heading;      ///< after the push, degrees
    };
    const Row rows[] = {
        {"nose to the right", false, 20, 340, 90}, {"nose to the left", false, 340, 20, -90},
        {"track to the right", false, -1, 20, 90}, {"track to the left", false, -1, 340, -90},
        {"nothing said", false, -1, 0, 0},         {"straight only", true, 20, 20, 0},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        par::STRAIGHT_PBS_ONLY.value = row.straightOnly;
        LeavingFlight f(at(-30, 0, 5500, 3));
        f.a.turning = true; // of its way in
        f.a.legTurn = 20;
        f.a.lastAwayDist = 0.01; // of an earlier push
        f.tick();
        ASSERT_EQ(f.a.fs, FlightState::pushing_back);
        ASSERT_EQ(f.a.tasOut, -f.a.taxiSpeed);
        EXPECT_FALSE(f.a.turning);
        EXPECT_EQ(f.a.extrapCount, 0);
        ASSERT_EQ(f.a.sz(), 3U);
        EXPECT_NEAR(north(f.a.stream[0].position()), -25, 0.1);
        EXPECT_NEAR(north(f.a.stream[1].position()), -50, 0.1) << "two and a half radii";
        EXPECT_NEAR(east(f.a.stream[2].position()), 34 / 2.0, 0.1) << "half a span aside";
        EXPECT_NEAR(east(f.a.pushbackTail.position()), -34 / 2.0, 0.1);
        EXPECT_NEAR(f.a.stream[1].tick - 5000, 50 * 360000 / 1852.0 / 4, 2) << "at 4 knots";
        EXPECT_NEAR(f.a.stream[2].tick - 5000, (25 + std::hypot(25, 17)) * 360000 / 1852.0 / 4, 2);
        f.tick(200);
        PositionSample n = at(-20, 0, 6000, 3);
        n.trueHeadingValid = row.noseDegrees >= 0;
        n.trueHeading = row.noseDegrees * degToRad;
        n.track = row.trackDegrees;
        f.report(n);
        double last = 0;
        ASSERT_TRUE(f.tickUntil([&] {
            EXPECT_LT(north(f.a.position()), last + 1e-6) << "never forwards";
            last = north(f.a.position());
            return f.a.fs == FlightState::pushed_back;
        }));
        EXPECT_NEAR(angleDiff(row.heading * degToRad, f.a.heading) * radToDeg, 0, 12);
        EXPECT_NEAR(last, -50, 3);
        EXPECT_EQ(f.a.lastAwayDist, 900);
        EXPECT_FALSE(f.a.pullOutDue);
        EXPECT_EQ(f.a.extrapCount, 0);
        EXPECT_EQ(f.a.targetHeading, f.a.heading);
        const LatLon still = f.a.position();
        f.tick(400);
        EXPECT_EQ(f.a.lat, still.lat);
        EXPECT_TRUE(f.a.holding);
        f.report(at(-100, 120, f.m.in.tick + 3000, 12));
        EXPECT_EQ(f.a.fs, FlightState::taxi);
        EXPECT_EQ(std::tuple(f.a.sid, f.a.standLat, f.a.standHeading), std::tuple(0, 0, 0));
    }
}

TEST_F(PushBackTest, AnExitAheadIsDrivenAndOneBehindIsPushed) {
    par::LOG.value = true;
    for (const double exit : {0.0, 60.0, 89.4, 89.6, 110.0, 180.0, 300.0, 250.0}) {
        SCOPED_TRACE(exit);
        LeavingFlight f(at(100 * std::cos(exit * degToRad), 100 * std::sin(exit * degToRad), 5500, 3));
        f.a.heading = 0.01; // as it came to stand
        f.tick();
        const bool ahead = exit < 89.5 || exit > 270;
        EXPECT_EQ(f.a.fs, ahead ? FlightState::taxi : FlightState::pushing_back);
        EXPECT_EQ(f.a.extrapCount, 0);
        EXPECT_EQ(f.a.pullOutDue, !ahead);
        EXPECT_EQ(f.a.earlyTicks, 2900) << "wide, and shrinking";
        if (!ahead)
            continue;
        ASSERT_EQ(f.a.sz(), 1U);
        EXPECT_NEAR(north(f.a.stream.back().position()), 34, 0.5) << "twice the half span";
        EXPECT_NEAR(f.a.stream.back().tick - 5000, 34 * 360000 / 1852.0 / 4, 9) << "at 4 knots";
        EXPECT_EQ(f.a.tasOut, 4);
    }
    EXPECT_TRUE(program.logHas("A1      : DLH304   pulling out"));
    LeavingFlight unknown(at(-30, 0, 5500, 3));
    unknown.a.sid = 9;
    unknown.tick();
    EXPECT_EQ(unknown.a.fs, FlightState::taxi) << "an unknown stand cannot be left tail first";
    EXPECT_FALSE(curveRuns(unknown.a));
    LeavingFlight waits(at(-30, 0, 5500, 3));
    waits.a.pullOutDue = false;
    for (const bool departing : {false, true}) {
        waits.a.departing = departing;
        nextPosGround(waits.a, waits.m);
        EXPECT_EQ(waits.a.fs, FlightState::parked);
        EXPECT_EQ(waits.a.earlyTicks, 3000);
        EXPECT_EQ(waits.a.lateTicks, departing ? 5000 : 3000);
    }
}

TEST_F(PushBackTest, EnginesStartWhenItDrivesOffOrThePushIsOver) {
    for (const AircraftCategory category : everyCategory) {
        SCOPED_TRACE(text(category));
        const bool rotor = category == AircraftCategory::rotorcraft;
        LeavingFlight driven(at(30, 0, 5500, 3), category);
        driven.tick();
        EXPECT_EQ(driven.told(), rotor ? "lights nb-t-o-, engines on, throttle 16383"
                                       : "lights nb-t-o-, engines on, throttle 0, flaps 3072");
        driven.report(at(300, 0, driven.m.in.tick + 6000, 12));
        driven.tick(3000);
        EXPECT_EQ(driven.told(), "") << "once";

        LeavingFlight pushed(at(-30, 0, 5500, 3), category);
        pushed.tick();
        EXPECT_EQ(pushed.told(), rotor ? "lights nb-t-o-, throttle 16383" : "lights nb-t-o-, throttle 0");
        pushed.tick(300);
        EXPECT_EQ(pushed.told(), "");
        ASSERT_TRUE(pushed.tickUntil([&] { return pushed.a.fs == FlightState::pushed_back; }));
        EXPECT_EQ(pushed.told(), rotor ? "engines on" : "engines on, flaps 3072");
        pushed.tick(400);
        for (const double metres : {-230.0, -255.0})
            pushed.report(at(metres, 0, pushed.m.in.tick + 6000, 12));
        pushed.tick(1000);
        EXPECT_EQ(pushed.a.fs, FlightState::taxi);
        EXPECT_EQ(pushed.told(), "") << "it drives off as it stands";
    }
    for (const double exit : {30.0, -30.0}) {
        LeavingFlight f(at(exit, 0, 5500, 3));
        f.a.objectid = 0; // the user's own aircraft
        f.leg();
        f.a.pushbackStep = 1;
        continuePushBack(f.a, f.m);
        startTakeOffRun(f.a, f.m);
        EXPECT_EQ(f.told(), "");
    }
}

} // namespace
} // namespace kes::test
