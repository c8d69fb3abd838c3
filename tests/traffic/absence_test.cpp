// SPDX-License-Identifier: MIT
// The lines that tell why an aircraft is not shown, or no longer.
#include "core/log.h"
#include "traffic/absence.h"
#include "traffic/harness.h"

namespace kes {
namespace {

using test::firstHex;

struct AbsenceTest : test::TrafficTest {
    void SetUp() override {
        TrafficTest::SetUp();
        openLog("Log.txt");
        par::LOG.value = true;
    }
    void TearDown() override {
        closeLog();
        setAirportRef(std::nullopt);
        TrafficTest::TearDown();
    }
    /// Until nobody is left in buffer.
    void letAllBeDecided() {
        ASSERT_TRUE(runUntil(
            [] { return std::ranges::none_of(liveAircraft, [](auto& a) { return a.st == AircraftStatus::buffer; }); }));
    }
};

TEST_F(AbsenceTest, EachReasonIsToldOnceForAnAircraft) {
    struct Case {
        const char* line;
        AircraftReport (*change)(AircraftReport);
        int reports = 4;
        std::int32_t limit = -1;
    };
    const Case cases[] = {
        {"DLH305 QQQQ is not shown: its type is unknown",
         [](AircraftReport r) {
             r.model = "QQQQ";
             return r;
         }},
        {"DLH306 C172 is not shown: its kind of aircraft is switched off",
         [](AircraftReport r) {
             r.model = "C172";
             return r;
         }},
        {"DLH307 A320 is not shown: it is reported in the air at the airport's elevation",
         [](AircraftReport r) {
             r.sample.alt = 90;
             return r;
         }},
        {"DLH308 A320 is not shown: its callsign is blocked", [](AircraftReport r) { return r; }},
        {" A320 is not shown: it has no callsign and no registration",
         [](AircraftReport r) {
             r.callsign.clear();
             return r;
         }},
        {"DLH310 A320 is not shown: no second report of it has come", [](AircraftReport r) { return r; }, 1},
        {"BAW1 BAW A388 is not shown: no installed livery fits",
         [](AircraftReport r) {
             r.callsign = "BAW1";
             r.model = "A388";
             return r;
         }},
        {"DLH312 A320 is not shown: MAX_LIVE aircraft are shown, all nearer to you", [](AircraftReport r) { return r; },
         4, 0},
    };
    par::LIGHT_AIRCRAFT.value = false;
    par::BLOCK_CALLSIGN.set("DLH308");
    setAirportRef(AirportRef{"EDDM", "MUC", test::homeLat, test::homeLon, 100});
    std::uint32_t hexid = firstHex;
    for (const Case& c : cases) {
        ++hexid;
        maxLive = c.limit;
        for (int i = 0; i < c.reports; ++i)
            feed(c.change(report(hexid, i * 10.0)));
        letAllBeDecided();
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
