// SPDX-License-Identifier: MIT
// The first seconds of a new object, and what the simulator knows of it.
#include "support.h"
#include "traffic/flight.h"
#include "traffic/light_sequence.h"

namespace kes::test {
namespace {

using LightSequenceTest = FlightTest;

TEST_F(LightSequenceTest, OddValuesOfTheStandingAircraftAreReplaced) {
    const ProgramFolder program;
    struct Row {
        double cg, pitchDegrees, expectedCg, expectedDegrees;
    };
    par::LOG.value = true;
    for (const Row& row : {Row{8.5, 0.5, 8.5, 0.5}, Row{1.0, 2.5, 1.0, 2.5}, Row{35.0, -0.99, 35.0, -0.99},
                           Row{0.5, -1.0, 7.0, 0.7}, Row{35.1, 2.6, 7.0, 0.7}, Row{NAN, NAN, 7.0, 0.7}}) {
        Flight f({at(0, 0, 5000), at(30, 0, 5600)});
        f.a.staticCg = 7;
        applyStaticData(f.a, row.cg, row.pitchDegrees * degToRad);
        EXPECT_EQ(f.a.staticCg, row.expectedCg) << row.cg;
        EXPECT_NEAR(f.a.staticPitch * radToDeg, row.expectedDegrees, 1e-9) << row.pitchDegrees;
    }
    EXPECT_EQ(program.logCount("static CG"), 3U);
    EXPECT_TRUE(program.logHas(": static CG 0.5ft wrong?"));
}

TEST_F(LightSequenceTest, ANewObjectIsToggledTwiceAndGetsItsFirstSet) {
    const ProgramFolder program;
    struct Row {
        const char* name;
        double alt, agl;
        FlightState fs;
        const char *wings, *rotor;
        bool navWhileParked = true;
    };
    const Row rows[] = {
        {"low", 10000, 1999, FlightState::flying, "engines on, spoilers 0, lights nbl-so-",
         "engines on, lights nbl-so-"},
        {"with lit cabin", 9000, 2000, FlightState::flying, "engines on, spoilers 0, lights nbl-soc",
         "engines on, lights nbl-soc"},
        {"high", 10001, 9000, FlightState::flying, "engines on, spoilers 0, lights nb--s-c",
         "engines on, lights nb--s-c"},
        {"parked", 0, 0, FlightState::parked, "spoilers 0, engines off, lights n----oc, throttle 0, flaps 0",
         "engines off, lights n----oc, throttle 16383"},
        {"parked in the dark", 0, 0, FlightState::parked,
         "spoilers 0, engines off, lights -----oc, throttle 0, flaps 0", "engines off, lights -----oc, throttle 16383",
         false},
        {"taxiing", 0, 0, FlightState::taxi, "spoilers 0, engines on, lights nb-t-oc, throttle 0, flaps 3072",
         "engines on, lights nb-t-oc, throttle 16383"},
        {"on its way to a stand", 0, 0, FlightState::parking,
         "spoilers 0, engines on, lights nb---oc, throttle 0, flaps 0", "engines on, lights nb---oc, throttle 16383"},
    };
    std::size_t toggles = 0; ///< each is refused, as there is no simulator, and the log tells so
    const auto toggled = [&] { return program.logCount("gf_allLightsToggle fails") == toggles; };
    for (const Row& row : rows) {
        for (const AircraftCategory category : everyCategory) {
            SCOPED_TRACE(fmt::format("{}, {}", row.name, text(category)));
            Flight f({air(0, 9000, 200, row.alt)}, category);
            f.a.st = AircraftStatus::adding2sim;
            f.a.fs = row.fs;
            f.a.agl = row.agl;
            par::NAV_LIGHTS_WHILE_PARKED.value = row.navWhileParked;
            liveAircraft.assign(1, f.a);
            beginLightSequence(f.a.objectid, f.a.hexid);
            const auto ticks = [&](int count) {
                for (int i = 0; i < count; ++i)
                    advanceLightSequences(f.m);
            };
            for (int i = 0; i < 2; ++i) {
                ticks(49);
                EXPECT_TRUE(toggled());
                ticks(1);
                ++toggles;
                EXPECT_TRUE(toggled());
            }
            ticks(99);
            EXPECT_EQ(f.told(), "");
            EXPECT_EQ(liveAircraft[0].st, AircraftStatus::adding2sim);
            ticks(1);
            EXPECT_EQ(f.told(), category == AircraftCategory::rotorcraft ? row.rotor : row.wings);
            EXPECT_EQ(liveAircraft[0].st, AircraftStatus::active);
            ticks(100);
            EXPECT_TRUE(toggled());
        }
    }
}

} // namespace
} // namespace kes::test
