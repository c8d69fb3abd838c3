// SPDX-License-Identifier: MIT
// The lines that tell why an aircraft is not shown, or no longer.
#include "traffic/absence.h"
#include "traffic/harness.h"

namespace kes {
namespace {

using test::firstHex;

struct AbsenceTest : test::TrafficTest {
    void SetUp() override {
        TrafficTest::SetUp();
        par::LOG.value = true;
    }
};

TEST_F(AbsenceTest, EachReasonIsToldOnceForAnAircraft) {
    const struct {
        const char* line;
        const char *callsign, *model = "A320";
        double alt = 8000;
        int reports = 4;
        std::int32_t limit = -1;
    } cases[] = {
        {.line = "DLH305 QQQQ is not shown: its type is unknown", .callsign = "DLH305", .model = "QQQQ"},
        {.line = "DLH306 C172 is not shown: its kind of aircraft is switched off",
         .callsign = "DLH306",
         .model = "C172"},
        {.line = "DLH307 A320 is not shown: it is reported in the air at the airport's elevation",
         .callsign = "DLH307",
         .alt = 90},
        {.line = "DLH308 A320 is not shown: its callsign is blocked", .callsign = "DLH308"},
        {.line = " A320 is not shown: it has no callsign and no registration", .callsign = ""},
        {.line = "DLH310 A320 is not shown: no second report of it has come", .callsign = "DLH310", .reports = 1},
        {.line = "BAW1 BAW A388 is not shown: no installed livery fits", .callsign = "BAW1", .model = "A388"},
        {.line = "DLH312 A320 is not shown: MAX_LIVE aircraft are shown, all nearer to you",
         .callsign = "DLH312",
         .limit = 0},
    };
    par::LIGHT_AIRCRAFT.value = false;
    par::BLOCK_CALLSIGN.set("DLH308");
    setAirportRef(AirportRef{"EDDM", "MUC", test::homeLat, test::homeLon, 100});
    std::uint32_t hexid = firstHex;
    for (const auto& c : cases) {
        ++hexid;
        maxLive = c.limit;
        for (int i = 0; i < c.reports; ++i) {
            AircraftReport r = report(hexid, i * 10.0);
            r.callsign = c.callsign;
            r.model = c.model;
            r.sample.alt = c.alt;
            feed(r);
        }
        ASSERT_TRUE(runUntil( // until nobody is left in buffer
            [] { return std::ranges::none_of(liveAircraft, [](auto& a) { return a.st == AircraftStatus::buffer; }); }));
        EXPECT_EQ(program.logCount(" is not shown: "), hexid - firstHex);
        std::string told = program.logText();
        told.erase(std::unique(told.begin(), told.end(), [](char a, char b) { return a == ' ' && b == ' '; }),
                   told.end());
        EXPECT_NE(told.find(c.line), std::string::npos) << c.line << "\n" << told;
        resetLiveTraffic();
    }
}

TEST_F(AbsenceTest, ItIsQuietWithLogOffAndTellsAnewInTheNextRun) {
    AircraftIdentity who;
    who.callsign = "DLH1";
    par::LOG.value = false;
    tellNotShown(1, who, NotShown::noLivery);
    tellLeaving(who, "it is out of range");
    par::LOG.value = true;
    EXPECT_EQ(program.logCount("DLH1"), 0U);
    for (int run = 1; run <= 2; ++run) {
        tellNotShown(1, who, NotShown::noLivery);
        tellNotShown(1, who, NotShown::noLivery);
        tellNotShown(2, who, NotShown::noLivery);
        EXPECT_EQ(program.logCount("DLH1"), 2U * run);
        resetAbsence();
    }
}

TEST_F(AbsenceTest, OneThatLeavesTellsWhetherItIsOutOfRange) {
    for (const bool inRange : {true, false}) {
        SCOPED_TRACE(inRange);
        resetLiveTraffic();
        setRange(inRange ? 400.0F : 20.0F);
        feedFlight(firstHex, 30);
        ASSERT_TRUE(runUntil([] { return liveAircraft.at(0).st == AircraftStatus::active; }));
        ASSERT_TRUE(runUntil([] { return liveAircraft.empty(); }, 60000));
        EXPECT_EQ(program.logCount(" leaves: it is out of range"), inRange ? 0U : 1U);
        EXPECT_EQ(program.logCount(" leaves: no further report of it has come"), 1U);
    }
}

} // namespace
} // namespace kes
