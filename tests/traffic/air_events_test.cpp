// What each category is told in each phase of a flight, in order.
#include "traffic/air_motion.h"
#include "traffic/event_table.h"
#include "traffic/flight_phases.h"

namespace kes {
namespace {

using test::homeLat;
using test::homeLon;
using test::modelOfCategory;

/// Airliners, small aircraft with wings, helicopters.
enum Kind : std::size_t { airliner, small, rotor };
constexpr Kind kindOf[] = {small, airliner, airliner, airliner, small, rotor};

struct AirEventsTest : test::EventTest {
    /// One leg, with what the simulator says of the height; what it told.
    std::string leg(LiveAircraft& a, double alt, double agl, double vs) {
        a.stream = {air(0, tickCount, 200, alt), air(0.01, tickCount + 1000, 200, alt)};
        a.stream[0].vs = vs;
        a.agl = agl;
        nextPosMain(a, motionNow());
        return sent();
    }
};

TEST_F(AirEventsTest, EnteringTheSimulator) {
    struct Case {
        const char* what;
        double alt, agl;
        FlightState fs;
        bool navWhileParked;
        std::string wings, rotor;
    };
    const Case cases[] = {
        {"low", 10000, 1999, FlightState::flying, true, "engines on, spoilers 0, lights nbl-so-",
         "engines on, lights nbl-so-"},
        {"with lit cabin", 9000, 2000, FlightState::flying, true, "engines on, spoilers 0, lights nbl-soc",
         "engines on, lights nbl-soc"},
        {"high", 10001, 9000, FlightState::flying, true, "engines on, spoilers 0, lights nb--s-c",
         "engines on, lights nb--s-c"},
        {"parked", 0, 0, FlightState::parked, true, "spoilers 0, engines off, lights n----oc, throttle 0, flaps 0",
         "engines off, lights n----oc, throttle 16383"},
        {"parked in the dark", 0, 0, FlightState::parked, false,
         "spoilers 0, engines off, lights -----oc, throttle 0, flaps 0", "engines off, lights -----oc, throttle 16383"},
        {"taxiing", 0, 0, FlightState::taxi, true, "spoilers 0, engines on, lights nb-t-oc, throttle 0, flaps 3072",
         "engines on, lights nb-t-oc, throttle 16383"},
        {"on its way to a stand", 0, 0, FlightState::parking, true,
         "spoilers 0, engines on, lights nb---oc, throttle 0, flaps 0", "engines on, lights nb---oc, throttle 16383"},
    };
    for (const Case& c : cases) {
        for (std::size_t category = 0; category < 6; ++category) {
            const bool wings = kindOf[category] != rotor;
            LiveAircraft& a =
                onlyFlight({air(0, 5000, 200, c.alt), air(0.1, 10000, 200, c.alt)}, modelOfCategory[category]);
            a.stream[0].tick = 9000;
            a.fs = c.fs;
            a.st = AircraftStatus::adding2sim;
            a.askedTick = tickCount;
            const std::uint32_t object = std::exchange(a.objectid, 0);
            par::NAV_LIGHTS_WHILE_PARKED.value = c.navWhileParked;
            addSimReply(reply(ReplyKind::created, object, a.hexid, 0, c.agl));
            fly(49);
            EXPECT_EQ(sent(), wings && c.alt == 0 ? "gear 1" : "") << c.what << category;
            EXPECT_EQ(a.onGround, c.alt == 0);
            fly(1);
            EXPECT_EQ(sent(), "toggle") << c.what << category;
            fly(49);
            EXPECT_EQ(sent(), "") << c.what << category;
            fly(1);
            EXPECT_EQ(sent(), "toggle") << c.what << category;
            fly(99);
            EXPECT_EQ(sent(), "") << c.what << category;
            EXPECT_EQ(a.st, AircraftStatus::adding2sim);
            fly(1);
            EXPECT_EQ(sent(), wings ? c.wings : c.rotor) << c.what << category;
            EXPECT_EQ(a.st, AircraftStatus::active);
        }
    }
}

TEST_F(AirEventsTest, FromCruiseToFinalAndAround) {
    struct Leg {
        double alt, agl, vs;
        std::string told[3]; ///< by Kind; a later one left out = as the one before
        bool approach[3] = {};
    };
    const Leg legs[] = {
        {12000, 11000, 0, {"lights nb----c, throttle 11468, gear 0, flaps 0", "", "lights nb----c, throttle 16383"}},
        {10000, 9000, -1000, {"-", "", ""}},
        {9999, 9000, -249, {"lights nbltsoc, cabin 1, gear 0", "", "lights nbltsoc, cabin 1"}},
        {9000, 8000, -250, {"cabin 1, throttle 8191, gear 0", "", "cabin 1"}},
        {3400, 2400, -700, {"cabin 1, gear 0", "", "cabin 1"}},
        {3399, 2399, 101, {"cabin 1", "", ""}},
        {3399, 2399, 100, {"cabin 1, flaps 3072", "", "cabin 1"}},
        {3050, 2051, -700, {"cabin 1", "", ""}},
        {3000, 2000, -249, {"cabin 0", "cabin 1", ""}},
        {3000, 2000, -250, {"cabin 0, throttle 4914, flaps 16383, gear 1", "cabin 1", ""}, {true, false, false}},
        {3051, 2051, -249, {"cabin 1", "", ""}},
        {3000, 2000, -250, {"cabin 0, gear 1", "cabin 1", ""}, {true, false, false}},
        {2999, 1999, 101, {"cabin 0", "cabin 1", ""}, {true, false, false}},
        {2999, 1999, 100, {"cabin 0", "cabin 1, flaps 10240", "cabin 1"}, {true, false, false}},
        {1626, 626, -700, {"cabin 0", "cabin 1", ""}, {true, false, false}},
        {1625, 625, -249, {"cabin 0", "", ""}, {true, false, false}},
        {1625, 625, -250, {"cabin 0", "cabin 0, throttle 4914, flaps 16383, gear 1", "cabin 0"}, {true, true, true}},
        {1400, 400, 600, {"cabin 0", "", ""}, {true, true, true}},
        {1400, 400, 601, {"cabin 0, throttle 16383, gear 0, flaps 0", "", "cabin 0"}},
        {1400, 400, 700, {"cabin 0", "", ""}},
        {3600, 2600, -300, {"cabin 1, gear 0", "", "cabin 1"}},
        {3600, 2600, 400, {"cabin 1, gear 0", "", "cabin 1"}},
        {3600, 2600, 401, {"cabin 1, throttle 11468, gear 0", "", "cabin 1"}},
        {9999, 9000, 1500, {"cabin 1, gear 0", "", "cabin 1"}},
        {10000, 9001, 1500, {"lights nb----c, gear 0", "", "lights nb----c"}},
    };
    setAirportRef(AirportRef{"EDDF", "FRA", homeLat, homeLon, 1000});
    for (std::size_t category = 0; category < 6; ++category) {
        const Kind kind = kindOf[category];
        LiveAircraft& a = onlyFlight({air(0, 5000)}, modelOfCategory[category]);
        a.departing = true;
        for (const Leg& l : legs) {
            std::string expected;
            for (std::size_t k = 0; k <= kind; ++k)
                expected = l.told[k].empty() ? expected : l.told[k];
            const bool before = a.approach;
            if (!before) {
                landingList.clear();
                a.sid = 7;
                a.climbing = a.climbing || l.vs < 0;
                a.rotationCount = 9;
            }
            EXPECT_EQ(leg(a, l.alt, l.agl, l.vs), expected == "-" ? "" : expected) << l.agl << " ft, " << category;
            EXPECT_EQ(a.approach, l.approach[kind]) << l.agl << " ft, " << category;
            EXPECT_EQ(a.departing, l.alt >= 10000 && l.vs <= 0) << l.agl << " ft, " << category;
            if (a.approach && !before) {
                EXPECT_EQ(landingList, (std::deque<std::uint32_t>{a.hexid}));
                EXPECT_EQ(a.sid, 0U);
                EXPECT_FALSE(a.climbing);
                EXPECT_EQ(a.rotationCount, 1);
            }
        }
    }
}

/// On final the airport has changed, or the aircraft passes by: it climbs out unless it still sinks.
TEST_F(AirEventsTest, AFinalThatLeadsNowhereIsLeft) {
    struct Case {
        const char* what;
        double airport; ///< nautical miles away; negative = none known
        double vs;
        bool final, leaves;
    };
    for (const Case& c : {Case{"level, far", 10.1, -249, true, true}, Case{"sinking, far", 10.1, -250, true, false},
                          Case{"level, near", 9.9, -249, true, false}, Case{"level, no airport", -1, -249, true, true},
                          Case{"not on final", -1, 600, false, false}}) {
        for (std::size_t category = 0; category < 6; ++category) {
            LiveAircraft& a = onlyFlight({air(0, 5000)}, modelOfCategory[category]);
            a.lowLights = true;
            a.approach = c.final;
            a.flareStage = 1;
            setAirportRef(c.airport < 0 ? std::nullopt
                                        : std::optional(AirportRef{"X", "X", homeLat + c.airport / 60, homeLon, 0}));
            const bool wings = kindOf[category] != rotor;
            EXPECT_EQ(leg(a, 600, 600, c.vs), !c.leaves ? "cabin 0"
                                              : wings   ? "cabin 0, throttle 16383, gear 0, flaps 0"
                                                        : "cabin 0, throttle 16383")
                << c.what << category;
            EXPECT_EQ(a.approach, c.final && !c.leaves) << c.what;
            EXPECT_EQ(a.flareStage, c.leaves ? 0 : 1) << c.what;
        }
    }
}

TEST_F(AirEventsTest, ByTheDataOnTheGroundTheGearComesDown) {
    for (std::size_t category = 0; category < 6; ++category) {
        for (const double alt : {300.0, 0.0}) {
            LiveAircraft& a = onlyFlight({air(0, 5000, 150, alt), ground(0.02, 7000, 150)}, modelOfCategory[category]);
            a.onGround = false;
            a.alt = 300;
            a.agl = 100;
            a.lowLights = true;
            nextPosMain(a, motionNow());
            EXPECT_EQ(sent(), kindOf[category] == rotor ? "cabin 0" : "gear 1, cabin 0") << category;
        }
    }
}

TEST_F(AirEventsTest, TakeOffRunAndGoAroundFromTheRunway) {
    struct Case {
        const char* what;
        bool landingRoll, airborne;
        std::string wings, rotor;
    };
    for (const Case& c : {Case{"take-off run", false, false, "throttle 0, spoilers 0, flaps 3072, lights nbltso-",
                               "throttle 16383, lights nbltso-"},
                          Case{"take-off, airborne at once", false, true,
                               "throttle 0, spoilers 0, flaps 3072, lights nbltso-", "throttle 16383, lights nbltso-"},
                          Case{"go-around", true, true, "throttle 11468, spoilers 16383, flaps 3072, lights nbltso-",
                               "throttle 11468, lights nbltso-"},
                          Case{"landing roll", true, false, "", ""}}) {
        for (std::size_t category = 0; category < 6; ++category) {
            const auto sample = [&](double lat, std::int32_t tick) {
                return c.airborne ? air(lat, tick, 140, 200) : ground(lat, tick, 140);
            };
            LiveAircraft& a = onlyFlight({ground(0, 5000, 140), sample(0.002, 9000)}, modelOfCategory[category]);
            a.landingRoll = a.landedSearch = c.landingRoll;
            a.climbing = true;
            decodeExisting(a, sample(0.004, 9500), motionNow());
            const std::string& expected = kindOf[category] == rotor ? c.rotor : c.wings;
            EXPECT_EQ(sent(), expected) << c.what << category;
            EXPECT_EQ(a.departing, !expected.empty()) << c.what;
            EXPECT_EQ(a.climbing, expected.empty()) << c.what;
            EXPECT_EQ(a.landedSearch, expected.empty()) << c.what;
            EXPECT_EQ(a.lateTicks, expected.empty() ? 1000 : 5000) << c.what;
            EXPECT_EQ(a.earlyTicks, expected.empty() ? 1000 : 3000) << c.what;
            EXPECT_EQ(a.fs, FlightState::taxi) << c.what;
        }
    }
}

TEST_F(AirEventsTest, FromTheFlareToTheTaxiway) {
    struct Row {
        double height, altStep, vs;
    };
    const Row rows[] = {{30, -0.1, -601}, {20, -0.075, -450}, {10, -0.05, -300}, {3, -0.025, -150}};
    struct Roll {
        double gs, turned; ///< knots at the start of the leg; degrees off the heading at touchdown
        std::string told[3];
    };
    // Kinds: winged, Light, helicopter.
    const Roll rolls[] = {
        {91, 14, {"", "", ""}},
        {90, 14, {"controls 0 0, spoilers 0, flaps 3072", "spoilers 0, flaps 3072", ""}},
        {30, -14, {"controls 0 0, spoilers 0", "spoilers 0", ""}},
        {91,
         -16,
         {"controls 0 0, flaps 0, spoilers 0, lights nb-t-oc", "flaps 0, spoilers 0, lights nb-t-oc",
          "lights nb-t-oc"}},
        {20, 0, {"", "", ""}},
    };
    setAirportRef(AirportRef{"ZZZZ", "", homeLat, homeLon, 100});
    for (std::size_t category = 0; category < 6; ++category) {
        const std::size_t kind = category == 0 ? 1 : category == 5 ? 2 : 0;
        const bool reverse = category == 3;
        LiveAircraft& a = onlyFlight({air(0, 5000, 140, 500), air(0.1, 20000, 140, 100)}, modelOfCategory[category]);
        a.approach = a.lowLights = true;
        a.staticCg = 10;
        a.staticPitch = 0.5 * degToRad;
        a.reverseThrust = reverse;
        a.throttleIndex = kind == 2 ? 4 : 1;
        a.agl = 401;
        a.alt = 110;
        fly(1);
        EXPECT_EQ(a.flareStage, 0) << "too high, whatever the airport's elevation says";
        a.agl = 20;
        a.approach = false;
        fly(1);
        EXPECT_EQ(a.flareStage, 0) << "not landing";
        a.approach = true;
        for (int stage = 0; stage < 4; ++stage) {
            const Row& row = rows[stage];
            // The first row goes by the lower of the two heights, the others by the simulator's alone.
            a.agl = stage == 0 ? 200 : 10 + row.height + 0.01;
            a.alt = 100 + (stage == 0 ? 10 + row.height + 0.5 : 200);
            sent();
            fly(1);
            ASSERT_EQ(a.flareStage, stage) << category;
            (category % 2 == 0 || stage != 0 ? a.agl : a.alt) =
                10 + row.height + (category % 2 == 0 || stage != 0 ? 0 : 100);
            fly(1);
            ASSERT_EQ(a.flareStage, stage + 1) << category;
            EXPECT_EQ(a.altStep, row.altStep);
            EXPECT_EQ(a.stream.front().vs, row.vs);
            EXPECT_EQ(sent(), stage == 2 && kind != 2 ? "throttle 0" : "") << category;
            if (stage == 0) {
                EXPECT_NEAR(a.pitch + a.pitchStep * (a.flareTicks - 1), -4 * degToRad, 1e-12) << category;
            }
            EXPECT_EQ(a.runwayElevation.has_value(), stage == 0);
        }
        a.bank = 0.1;
        a.pitch = -0.06;
        a.heading = 0.3;
        a.headingStep = 0.0;
        landingList.clear();
        const double bank = a.bank;
        addSimReply(reply(ReplyKind::ground, a.objectid, 1, 100, 0));
        applySimReplies();
        EXPECT_EQ(sent(), kind == 2   ? ""
                          : kind == 1 ? "spoilers 16383"
                          : reverse   ? "controls 100 -100, spoilers 16383"
                                      : "controls 100 100, spoilers 16383")
            << category;
        EXPECT_EQ(landingList, (std::deque<std::uint32_t>{a.hexid}));
        EXPECT_TRUE(a.landingRoll && a.landedSearch && a.derotating && a.onGround && !a.approach);
        EXPECT_EQ(a.touchdownHeading, 0.3);
        fly(a.derotateTicks / 2);
        EXPECT_NEAR(a.bank, bank / 2, 0.001) << category;
        EXPECT_NEAR(a.pitch, (a.staticPitch - 0.06) / 2, 0.001) << category;
        fly(a.derotateTicks / 2 - 2);
        EXPECT_TRUE(a.derotating) << category;
        fly(4);
        EXPECT_FALSE(a.derotating) << category;
        EXPECT_EQ(a.flareStage, 0) << category;
        EXPECT_EQ(a.pitch, a.staticPitch) << category;
        EXPECT_EQ(a.bank, 0) << category;
        EXPECT_EQ(a.pitchStep, 0) << category;
        EXPECT_EQ(sent(), "") << category;
        setFlightState(a, FlightState::taxi); // the leg that the touchdown fell into has ended
        for (const Roll& r : rolls) {
            a.stream = {ground(0, tickCount, r.gs), ground(0.001, tickCount + 500, r.gs)};
            a.heading = normalizeAngle(0.3 + r.turned * degToRad);
            nextPosMain(a, motionNow());
            EXPECT_EQ(sent(), r.told[kind]) << r.gs << " kn, " << category;
        }
        EXPECT_FALSE(a.landingRoll) << category;
        EXPECT_EQ(a.throttleIndex, kind == 2 ? 4 : 0) << category;
    }
}

TEST_F(AirEventsTest, WhatCountsAsALanding) {
    struct Case {
        const char* what;
        FlightState fs;
        AircraftStatus st;
        std::int32_t rotationCount, flareStage;
        bool approach, landed, onGround;
    };
    using enum FlightState;
    constexpr AircraftStatus active = AircraftStatus::active;
    for (const Case& c :
         {Case{"a final without flare", flying, active, 1, 0, true, true, true},
          Case{"a flare", flying, active, 1, 2, false, true, true},
          Case{"ground below a low flight", flying, active, 1, 0, false, false, true},
          Case{"one that is taken away", flying, AircraftStatus::removingfromsim, 1, 2, true, false, false},
          Case{"a take-off", take_off, active, -50, 2, true, false, false},
          Case{"a rotation", flying, active, 2, 2, true, false, false}}) {
        LiveAircraft& a = onlyFlight({air(0, 5000, 140, 50), ground(0.02, 7000, 130)});
        a.onGround = false;
        a.fs = c.fs;
        a.st = c.st;
        a.rotationCount = c.rotationCount;
        a.flareStage = c.flareStage;
        a.approach = c.approach;
        a.altStep = -0.1;
        addSimReply(reply(ReplyKind::ground, a.objectid, 1, 0, 3));
        applySimReplies();
        EXPECT_EQ(sent(), c.landed ? "controls 100 100, spoilers 16383" : "") << c.what;
        EXPECT_EQ(a.landingRoll, c.landed) << c.what;
        EXPECT_EQ(a.onGround, c.onGround) << c.what;
        EXPECT_EQ(a.altStep, c.onGround ? 0 : -0.1) << c.what;
        EXPECT_EQ(a.agl, 3) << c.what;
    }
}

/// Wider windows narrow once with every leg in the air; a run along the runway keeps its own.
TEST_F(AirEventsTest, AWindowNarrowsOnceALeg) {
    struct Case {
        const char* what;
        bool onGround, stopped, departing, landingRoll, approach;
        double agl, vs;
        std::int32_t fall;
    };
    const Case cases[] = {
        {"cruise", false, false, false, false, false, 9000, 0, 100},
        {"mid", false, false, false, false, false, 2500, 0, 100},
        {"low", false, false, false, false, false, 500, 0, 100},
        {"final", false, false, false, false, true, 1500, -700, 100},
        {"going around", false, false, false, false, true, 500, 700, 100},
        {"climbing from the runway", false, false, true, false, false, 300, 700, 100},
        {"taxi", true, false, false, false, false, 0, 0, 100},
        {"stop", true, true, false, false, false, 0, 0, 100},
        {"take-off run", true, false, true, false, false, 0, 0, 0},
        {"roll-out", true, false, false, true, false, 0, 0, 0},
        {"stop on the roll-out", true, true, false, true, false, 0, 0, 0},
    };
    setAirportRef(AirportRef{"ZZZZ", "", homeLat, homeLon, 0});
    for (const Case& c : cases) {
        const double alt = c.onGround ? 0 : c.agl == 9000 ? 12000 : c.agl;
        LiveAircraft& a = onlyFlight({air(0, 5000, 40, alt), air(0.001, 6000, 40, alt)});
        a.stream[0].vs = c.vs;
        a.stream[1].stopped = c.stopped;
        a.departing = c.departing;
        a.landingRoll = c.landingRoll;
        a.approach = c.approach;
        a.agl = c.agl;
        a.earlyTicks = 2000;
        a.lateTicks = 5000;
        nextPosMain(a, motionNow());
        EXPECT_EQ(a.earlyTicks, 2000 - c.fall) << c.what;
        EXPECT_EQ(a.lateTicks, 5000 - c.fall) << c.what;
        EXPECT_EQ(a.climbing, c.vs > 600) << c.what;
    }
    // The leg that goes on final begins with the whole width.
    LiveAircraft& a = onlyFlight({air(0, 5000, 140, 1500), air(0.01, 6000, 140, 1400)});
    a.stream[0].vs = -700;
    a.agl = 1500;
    nextPosMain(a, motionNow());
    EXPECT_TRUE(a.approach);
    EXPECT_EQ(a.earlyTicks, 3000);
    EXPECT_EQ(a.lateTicks, 3000);
    a.earlyTicks = 1050;
    a.lateTicks = 900;
    shrinkWindow(a);
    EXPECT_EQ(a.earlyTicks, 1000);
    EXPECT_EQ(a.lateTicks, 900) << "only what is above 1000";
}

} // namespace
} // namespace kes
