// SPDX-License-Identifier: MIT
// How reports enter the table of live aircraft.
#include "traffic/harness.h"

#include <tuple>

namespace kes::test {
namespace {

using StreamTest = TrafficTest;

TEST_F(StreamTest, ThinsReportsThatContradictOrAddNothing) {
    struct Case {
        const char* name;
        bool airborne;
        double lastGs, gs, seconds, turn;
        bool taken;
    };
    const Case cases[] = {
        {"the same time", true, 300, 300, 0, 0, false},
        {"a second later", true, 300, 300, 1.0, 90, false},
        {"a little more than a second", true, 300, 300, 1.1, 90, true},
        {"an older one", true, 300, 300, -5, 90, false},
        {"7 after 60", false, 60, 7, 20, 0, true},
        {"60 is ten times 5.5, and more", false, 60, 5.5, 20, 0, false},
        {"5 after 60", false, 60, 5, 20, 0, true},
        {"5 after 80", false, 80, 5, 20, 0, false},
        {"80 after 5", true, 5, 80, 20, 0, false},
        {"79 after 5", true, 5, 79, 20, 0, true},
        {"ten times 6", true, 6, 60, 20, 0, false},
        {"450 m at 300 kts take 2.9 s", true, 300, 300, 2.9, 0, false},
        {"and not 3", true, 300, 300, 3.0, 0, true},
        {"a degree is straight", true, 300, 300, 2.0, 1.0, false},
        {"more is a turn", true, 300, 300, 2.0, 1.1, true},
        {"straight across north", true, 300, 300, 2.0, -0.9, false},
        {"a slow one in the air", true, 120, 120, 2.0, 0, true},
        {"20 m at 10 kts take 3.9 s", false, 10, 10, 3.8, 0, false},
        {"and not 4", false, 10, 10, 4.0, 0, true},
        {"on the ground two degrees are straight", false, 10, 10, 3.0, 2.0, false},
        {"never longer than 15 s", false, 1, 1, 15.0, 0, false},
        {"standing", false, 0, 0, 15.0, 0, false},
        {"standing, after 15 s", false, 0, 0, 15.1, 0, true},
        {"fast on the ground", false, 31, 31, 1.1, 0, true},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        resetLiveTraffic();
        AircraftReport r = report(firstHex, 0);
        r.sample.airborne = c.airborne;
        r.sample.alt = c.airborne ? 8000 : 0;
        r.sample.gs = c.lastGs;
        r.sample.track = 0.2;
        feed(r);
        ASSERT_EQ(liveAircraft.size(), 1U);
        r.timestamp += c.seconds;
        r.sample.lat += 0.001; // farther than noise
        r.sample.gs = c.gs;
        r.sample.track += c.turn;
        if (r.sample.track < 0)
            r.sample.track += 360;
        feed(r);
        EXPECT_EQ(liveAircraft[0].sz(), c.taken ? 2U : 1U);
    }
}

TEST_F(StreamTest, NewRecords) {
    setAirportRef(AirportRef{"EDDF", "FRA", homeLat, homeLon, 364});
    struct Case {
        const char* name;
        std::string model, regcode;
        double alt;
        std::string expected; ///< model of the record, empty = none
    };
    const Case cases[] = {
        {"a known type", "A320", "", 8000, "A320"},
        {"no type, but a known registration", "", "D-AIZA", 8000, "A320"},
        {"a registration without its dash", "XXXX", "DAIZA", 8000, "A320"},
        {"an unknown type with a known registration", "XXXX", "D-AIZA", 8000, "A320"},
        {"an unknown type", "XXXX", "D-XXXX", 8000, ""},
        {"no type at all", "", "", 8000, ""},
        {"50 ft above the airport, yet not on the ground", "A320", "", 414, ""},
        {"120 ft below it", "A320", "", 244, ""},
        {"121 ft above it", "A320", "", 485, "A320"},
        {"on the ground", "A320", "", 0, "A320"},
        {"a helicopter", "EC35", "", 8000, ""},
        {"a light aircraft", "C172", "", 8000, ""},
        {"a fighter", "F16", "", 8000, ""},
        {"a business jet cannot be switched off", "C25A", "", 8000, "C25A"},
    };
    par::HELICOPTERS.value = par::LIGHT_AIRCRAFT.value = par::HIGH_PERF_AIRCRAFT.value = false;
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        resetLiveTraffic();
        AircraftReport r = report(firstHex, 0);
        r.model = c.model;
        r.regcode = c.regcode;
        r.sample.alt = c.alt;
        r.sample.airborne = c.alt > 0;
        feed(r);
        EXPECT_EQ(liveAircraft.empty() ? "" : liveAircraft[0].model, c.expected);
    }
}

TEST_F(StreamTest, OneAircraftWithTwoTranspondersIsOneRecord) {
    AircraftReport r = report(firstHex, 0);
    feed(r);
    r.hexid = firstHex + 1;
    feed(r);
    EXPECT_EQ(liveAircraft.size(), 1U);
    r.model = "B77W";
    feed(r);
    EXPECT_EQ(liveAircraft.size(), 2U) << "another type under the same callsign is another aircraft";
    r.hexid = firstHex + 2;
    r.model = "A320";
    r.callsign.clear();
    feed(r);
    r.hexid = firstHex + 3;
    feed(r);
    EXPECT_EQ(liveAircraft.size(), 4U) << "without a callsign nothing tells them apart";
}

TEST_F(StreamTest, AStreamOfMoreThanTwoHundredSamplesGoes) {
    feed(report(firstHex, 0));
    LiveAircraft& a = liveAircraft.at(0);
    a.stream.resize(200, a.stream.front());
    feed(report(firstHex, 10));
    EXPECT_EQ(a.sz(), 201U);
    EXPECT_FALSE(a.deleteNow);
    feed(report(firstHex, 20));
    EXPECT_EQ(a.sz(), 202U) << "the report is decoded all the same";
    EXPECT_TRUE(a.deleteNow);
}

TEST_F(StreamTest, AnAircraftThatLeavesClaimsItsReports) {
    feed(report(firstHex, 0));
    for (const AircraftStatus st : {AircraftStatus::liveryrespawn, AircraftStatus::removingfromsim}) {
        liveAircraft.at(0).st = st;
        feed(report(firstHex, 100));
        EXPECT_EQ(liveAircraft.size(), 1U);
        EXPECT_EQ(liveAircraft[0].sz(), 1U);
    }
}

} // namespace
} // namespace kes::test
