// What an aircraft is told on the ground, from its stand to the climb and from the runway to the taxiway.
#include "airports/stands.h"
#include "traffic/event_table.h"
#include "traffic/flight_phases.h"
#include "traffic/parking.h"

namespace kes {
namespace {

using test::firstHex;
using test::homeLat;
using test::homeLon;
using test::metre;
using test::modelOfCategory;
using test::rotorcraftIndex;

struct GroundEventsTest : test::EventTest {
    /// One line for all that have wings and one for the helicopter.
    static std::string forCategory(std::size_t category, const char* wings, const char* rotor) {
        return category == rotorcraftIndex ? rotor : wings;
    }
    static PositionSample metresNorth(double metres, std::int32_t tick, double gs) {
        return ground(metres * metre, tick, gs);
    }

    /// On its stand with the nose to the north, everything off, and the feed shows the way out.
    LiveAircraft& leavingFlight(std::size_t category, double exitMetres) {
        stands.clear();
        stands.push_back({.id = "A1",
                          .lat = homeLat,
                          .lon = homeLon,
                          .heading = 0.0,
                          .radius = 20.0 / 1852,
                          .sid = 1,
                          .liveOnIt = true});
        LiveAircraft& a =
            onlyFlight({metresNorth(0, 5000, 0), metresNorth(exitMetres, 5500, 3)}, modelOfCategory[category]);
        a.fs = FlightState::parked;
        a.sid = 1;
        a.standLat = homeLat;
        a.standLon = homeLon;
        a.pullOutDue = true;
        return a;
    }
};

TEST_F(GroundEventsTest, PullingOutStartsTheEnginesAtOnce) {
    for (std::size_t category = 0; category < std::size(modelOfCategory); ++category) {
        for (const bool towed : {false, true}) { // a tow shows the same
            leavingFlight(category, 30).towed = towed;
            fly(1);
            EXPECT_EQ(liveAircraft.at(0).fs, FlightState::taxi) << modelOfCategory[category];
            EXPECT_EQ(sent(), forCategory(category, "lights nb-t-o-, engines on, throttle 0, flaps 3072",
                                          "lights nb-t-o-, engines on, throttle 16383"))
                << modelOfCategory[category];
            decodeExisting(liveAircraft[0], metresNorth(300, tickCount + 6000, 12), motionNow());
            fly(3000);
            EXPECT_EQ(sent(), "") << modelOfCategory[category] << ": once";
        }
    }
}

TEST_F(GroundEventsTest, APushBackIsSilentUntilItsEndAndThenStartsTheEngines) {
    par::LIGHT_AIRCRAFT.value = par::HIGH_PERF_AIRCRAFT.value = par::HELICOPTERS.value = true;
    for (std::size_t category = 0; category < std::size(modelOfCategory); ++category) {
        const char* model = modelOfCategory[category];
        leavingFlight(category, -30);
        fly(1);
        EXPECT_EQ(sent(), forCategory(category, "lights nb-t-o-, throttle 0", "lights nb-t-o-, throttle 16383"))
            << model;
        fly(300);
        EXPECT_EQ(liveAircraft.at(0).fs, FlightState::pushing_back) << model;
        EXPECT_EQ(sent(), "") << model;
        ASSERT_TRUE(flyUntil([] { return liveAircraft.at(0).fs == FlightState::pushed_back; })) << model;
        EXPECT_EQ(sent(), forCategory(category, "engines on, flaps 3072", "engines on")) << model;
        fly(400);
        for (const double metres : {-230.0, -255.0})
            decodeExisting(liveAircraft[0], metresNorth(metres, tickCount + 6000, 12), motionNow());
        fly(1000);
        EXPECT_EQ(liveAircraft[0].fs, FlightState::taxi) << model;
        EXPECT_EQ(sent(), "") << model << ": it drives off as it stands";
    }
}

TEST_F(GroundEventsTest, WithoutAnObjectNothingIsSaid) {
    for (const double exit : {30.0, -30.0}) {
        leavingFlight(2, exit).objectid = 0;
        nextPosMain(liveAircraft[0], motionNow());
        liveAircraft[0].pushbackStep = 1;
        continuePushBack(liveAircraft[0], motionNow());
        startTakeOffRun(liveAircraft[0], motionNow());
        EXPECT_EQ(sent(), "") << "object 0 is the user's own aircraft";
    }
}

TEST_F(GroundEventsTest, ThrottleGrowsOverTheTakeOffRun) {
    struct Case {
        const char* what;
        double from, to;
        bool departing;
        const char* wings;
    };
    const Case cases[] = {
        {"taxiing fast", 30, 30, false, "throttle 0"},
        {"lining up", 14, 19, true, "throttle 0"},
        {"the run begins", 15, 10, true, "throttle 4914"},
        {"about to", 10, 20, true, "throttle 4914"},
        {"faster", 20, 10, true, "throttle 8191"},
        {"about to be faster", 10, 25, true, "throttle 8191"},
        {"just below", 24, 29, true, "throttle 8191"},
        {"full", 25, 10, true, "throttle 16383"},
        {"about to be full", 10, 30, true, "throttle 16383"},
    };
    for (const Case& c : cases) {
        for (std::size_t category = 0; category < std::size(modelOfCategory); ++category) {
            LiveAircraft& a =
                onlyFlight({metresNorth(0, 5000, c.from), metresNorth(60, 5600, c.to)}, modelOfCategory[category]);
            a.departing = c.departing;
            fly(1);
            EXPECT_EQ(sent(), forCategory(category, c.wings, "throttle 16383")) << c.what << " " << a.model;
        }
    }
}

/// From the taxiway into the climb, with the reports and the ground data of a simulator on level terrain.
TEST_F(GroundEventsTest, ATakeOffFromTheTaxiwayToTheClimb) {
    for (std::size_t category = 0; category < std::size(modelOfCategory); ++category) {
        const char* model = modelOfCategory[category];
        LiveAircraft& first = onlyFlight({metresNorth(0, 5000, 12), metresNorth(60, 5600, 12)}, model);
        first.staticCg = first.alt = 8;
        fly(1);
        EXPECT_EQ(sent(), forCategory(category, "throttle 0", "throttle 16383")) << model << ": taxi out";
        first.stream.front().gs = 12;
        decodeExisting(first, metresNorth(200, 6600, 43), motionNow());
        EXPECT_EQ(sent(), "") << model << ": a fast taxi";
        decodeExisting(first, metresNorth(450, 7400, 60), motionNow());
        EXPECT_EQ(sent(), forCategory(category, "spoilers 0, flaps 3072, lights nbltso-", "lights nbltso-"))
            << model << ": line-up";
        for (int i = 0; i < 25; ++i) {
            PositionSample s = air((1000 + 600.0 * i) * metre, 8400 + 500 * i, 230, 100 + 150.0 * i);
            s.vs = 1800;
            decodeExisting(first, s, motionNow());
        }
        EXPECT_EQ(sent(), "") << model;
        std::string all, last; // since the line before, and of the last tick
        const auto until = [&](const std::function<bool(const LiveAircraft&)>& condition) {
            all.clear();
            for (int i = 0; i < 20000 && !condition(liveAircraft.at(0)) && !HasFatalFailure(); ++i) {
                const double agl = liveAircraft[0].alt - 8;
                if (tickCount % 20 == 0)
                    addSimReply(reply(ReplyKind::ground, liveAircraft[0].objectid, agl < 3, 0, agl));
                fly(1);
                last = sent();
                all += (all.empty() || last.empty() ? "" : ", ") + last;
            }
            return condition(liveAircraft[0]);
        };
        ASSERT_TRUE(until([](const auto& a) { return a.fs == FlightState::take_off; })) << model;
        EXPECT_EQ(all, forCategory(category, "throttle 8191, throttle 16383", "")) << model << ": the run";
        ASSERT_TRUE(until([](const auto& a) { return a.rotationCount == 0; })) << model;
        EXPECT_EQ(last, "") << model << ": lift-off";
        ASSERT_TRUE(until([](const auto& a) { return a.rotationCount == -300; })) << model;
        EXPECT_EQ(last, forCategory(category, "gear 0", "")) << model << ": three seconds later";
        ASSERT_TRUE(until([](const auto& a) { return a.fs == FlightState::flying; })) << model;
        const bool airliner = category >= 1 && category <= 3; // the others are higher than their low set reaches
        EXPECT_EQ(last, airliner ? "throttle 11468" : "") << model << ": the climb";
        EXPECT_EQ(liveAircraft[0].throttleIndex, category == rotorcraftIndex ? 4 : 3) << model;
        EXPECT_NEAR(liveAircraft[0].agl, 805, 15) << model;
    }
}

TEST_F(GroundEventsTest, ARotationTakesWhatIsMissingForTheTakeOff) {
    for (std::size_t category = 0; category < std::size(modelOfCategory); ++category) {
        LiveAircraft& a =
            onlyFlight({metresNorth(0, 5000, 100), metresNorth(60, 5600, 100)}, modelOfCategory[category]);
        a.approach = a.landedSearch = a.climbing = true;
        a.earlyTicks = a.lateTicks = 1000;
        beginRotation(a, motionNow());
        EXPECT_EQ(sent(), forCategory(category, "throttle 0, spoilers 0, flaps 3072, lights nbltso-",
                                      "throttle 16383, lights nbltso-"))
            << a.model;
        EXPECT_TRUE(a.departing && !a.approach && !a.landedSearch && !a.climbing) << a.model;
        EXPECT_EQ(a.lateTicks, 5000) << a.model;
        EXPECT_EQ(a.earlyTicks, 3000) << a.model;
        // A touch-and-go: the go-around has been told of the departure, the rotation ends the landing.
        a.landingRoll = a.approach = a.landedSearch = true;
        a.flapsIndex = 3;
        a.throttleIndex = category == rotorcraftIndex ? 4 : 3;
        beginRotation(a, motionNow());
        EXPECT_EQ(sent(), forCategory(category, "throttle 16383, spoilers 16383, flaps 3072", "")) << a.model;
        EXPECT_FALSE(a.landingRoll || a.approach || a.landedSearch) << a.model;
    }
}

TEST_F(GroundEventsTest, ATowThatTakesOffIsTold) {
    LiveAircraft& a = onlyFlight({metresNorth(0, 5000, 100), metresNorth(60, 5600, 100)});
    startTakeOffRun(a, motionNow());
    EXPECT_FALSE(program.logHas("towed"));
    a.towed = true;
    startTakeOffRun(a, motionNow());
    EXPECT_TRUE(program.logHas("towed aircraft takes-off? " + longLabel(a)));
}

TEST_F(GroundEventsTest, TheRollOutEndsOffTheRunway) {
    struct Case {
        const char* what;
        double gs, turnedDegrees;
        const char* wings;
        const char* rotor;
        bool controls; ///< set to 0 on all but Light
    };
    const Case cases[] = {
        {"still fast", 91, 0, "", "", false},
        {"slow on the runway", 90, 0, "spoilers 0, flaps 3072", "", true},
        {"a little off its course", 40, -14.9, "spoilers 0, flaps 3072", "", true},
        {"off the runway", 60, 15.1, "flaps 0, throttle 0, spoilers 0, lights nb-t-oc",
         "throttle 16383, lights nb-t-oc", true},
        {"to the left", 100, -15.1, "flaps 0, throttle 0, spoilers 0, lights nb-t-oc", "throttle 16383, lights nb-t-oc",
         true},
    };
    for (const Case& c : cases) {
        for (std::size_t category = 0; category < std::size(modelOfCategory); ++category) {
            LiveAircraft& a =
                onlyFlight({metresNorth(0, 5000, c.gs), metresNorth(60, 5200, c.gs)}, modelOfCategory[category]);
            a.landingRoll = true;
            a.flapsIndex = 3;
            a.touchdownHeading = 1.0;
            a.heading = 1.0 + c.turnedDegrees * degToRad;
            nextPosMain(a, motionNow());
            const bool object = c.controls && category != 0 && category != rotorcraftIndex;
            EXPECT_EQ(sent(), (object ? "controls 0 0, " : "") + forCategory(category, c.wings, c.rotor))
                << c.what << " " << a.model;
            const bool off = std::fabs(c.turnedDegrees) > 15;
            EXPECT_EQ(a.landingRoll, !off) << c.what;
            EXPECT_EQ(a.touchdownHeading, off ? 0.0 : 1.0) << c.what;
            if (!off)
                continue;
            a.stream.push_back(metresNorth(120, 6000, 10));
            nextPosMain(a, motionNow());
            EXPECT_EQ(sent(), "") << c.what << ": taxi in";
        }
    }
}

} // namespace
} // namespace kes
