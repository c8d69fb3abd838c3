// SPDX-License-Identifier: MIT
// Reports that tell another route, registration or flight.
#include "traffic/harness.h"

namespace kes {
namespace {

using IdentityTest = test::TrafficTest;
using test::firstHex;

TEST_F(IdentityTest, WhatAReportChangesOnARunningAircraft) {
    setAirportRef(AirportRef{"EDDF", "FRA", test::homeLat, test::homeLon, 364});
    struct Case {
        const char* name;
        std::string orig, dest, callsign, regcode;     // of the record
        std::string rOrig, rDest, rCallsign, rRegcode; // of the report
        bool used;
        std::string after; ///< "orig dest callsign regcode airline model fs"
    };
    const Case cases[] = {
        {"the same", "FRA", "LHR", "DLH1", "D-AIZA", "FRA", "LHR", "DLH1", "D-AIZA", true,
         "FRA LHR DLH1 D-AIZA DLH A320 flying"},
        {"nothing told", "FRA", "LHR", "DLH1", "D-AIZA", "", "", "", "", true, "FRA LHR DLH1 D-AIZA DLH A320 flying"},
        {"a route filled", "", "", "DLH1", "", "FRA", "LHR", "DLH1", "", false, "FRA LHR DLH1  DLH A320 flying"},
        {"another route", "CDG", "LHR", "DLH1", "", "JFK", "BOS", "DLH1", "", false, "JFK BOS DLH1  DLH A320 flying"},
        {"only another destination", "CDG", "LHR", "DLH1", "", "CDG", "BOS", "DLH1", "", true,
         "CDG LHR DLH1  DLH A320 flying"},
        {"the way back to here", "FRA", "LHR", "DLH1", "", "LHR", "FRA", "DLH1", "", true,
         "FRA LHR DLH1  DLH A320 flying"},
        {"another flight", "", "", "DLH1", "", "", "", "DLH2", "", false, "  DLH2  DLH A320 flying"},
        {"its registration as callsign", "", "", "DLH1", "D-AIZA", "", "", "D-AIZA", "", true,
         "  DLH1 D-AIZA DLH A320 flying"},
        {"a first registration with a livery of its own", "", "", "DLH1", "", "", "", "DLH1", "D-AOWN", false,
         "  DLH1 D-AOWN DLH A320 birth"},
        {"a first registration of the same airline and type", "", "", "DLH1", "", "", "", "DLH1", "D-AIZA", true,
         "  DLH1 D-AIZA DLH A320 flying"},
        {"a first registration of another type", "", "", "DLH1", "", "", "", "DLH1", "G-HEAV", false,
         "  DLH1 G-HEAV BAW B77W birth"},
        {"a registration that stood for the callsign", "", "", "D-AXXX", "D-AXXX", "", "", "D-AXXX", "G-HEAV", false,
         "  D-AXXX G-HEAV BAW B77W birth"},
        {"an unknown first registration", "", "", "DLH1", "", "", "", "DLH1", "X-XXXX", true,
         "  DLH1 X-XXXX DLH A320 flying"},
        {"another registration, but no flight of its airline", "", "", "DLH1", "D-AIZA", "", "", "DLH1", "G-HEAV", true,
         "  DLH1 G-HEAV DLH A320 flying"},
        {"another registration, with a flight of its airline", "", "", "BAW1", "D-AIZA", "", "", "BAW1", "G-HEAV",
         false, "  BAW1 G-HEAV BAW B77W birth"},
        {"another registration by its operator's flight", "", "", "BAW1", "X-XXXX", "", "", "BAW1", "D-AIZB", true,
         "  BAW1 D-AIZB DLH A320 flying"}, // the record's airline and model are the entry's
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        resetLiveTraffic();
        LiveAircraft& a = activeFlight(firstHex, {air(0, 99999), air(0.1, 199999)});
        a.orig = c.orig;
        a.dest = c.dest;
        a.callsign = c.callsign;
        a.regcode = c.regcode;
        AircraftReport r = report(firstHex, 0);
        r.orig = c.rOrig;
        r.dest = c.rDest;
        r.callsign = c.rCallsign;
        r.regcode = c.rRegcode;
        EXPECT_EQ(checkIdentity(a, r), c.used);
        EXPECT_EQ(a.st == AircraftStatus::active, c.used);
        std::string after;
        for (const std::string_view part :
             {std::string_view(a.orig), std::string_view(a.dest), std::string_view(a.callsign),
              std::string_view(a.regcode), std::string_view(a.airline), std::string_view(a.model)})
            after.append(part).append(" ");
        EXPECT_EQ(after + std::string(text(a.fs)), c.after);
        EXPECT_EQ(a.title.empty(), a.fs == FlightState::birth);
    }
}

TEST_F(IdentityTest, AnotherTypeBringsItsOwnCategory) {
    LiveAircraft& a = activeFlight(firstHex, {air(0, 99999), air(0.1, 199999)});
    AircraftReport r = report(firstHex, 0);
    r.callsign = a.callsign;
    r.regcode = "G-HEAV";
    EXPECT_FALSE(checkIdentity(a, r));
    EXPECT_EQ(a.category, AircraftCategory::heavy);
    EXPECT_DOUBLE_EQ(a.wingspan, 32 / metresPerNm);
    EXPECT_EQ(a.flareTicks, 450);
}

TEST_F(IdentityTest, WhoIsNotAsked) {
    AircraftReport r = report(firstHex, 0);
    r.callsign = "DLH2";
    const auto respawns = [&](auto change) {
        resetLiveTraffic();
        LiveAircraft& a = activeFlight(firstHex, {air(0, 99999), air(0.1, 199999)});
        a.callsign = "DLH1";
        change(a);
        const bool used = checkIdentity(a, r);
        EXPECT_EQ(used, a.st != AircraftStatus::liveryrespawn);
        return !used;
    };
    EXPECT_TRUE(respawns([](LiveAircraft&) {}));
    EXPECT_FALSE(respawns([](LiveAircraft& a) { a.departing = true; }));
    EXPECT_FALSE(respawns([](LiveAircraft& a) { a.approach = true; }));
    EXPECT_FALSE(respawns([](LiveAircraft& a) { a.fs = FlightState::pushing_back; }));
    EXPECT_FALSE(respawns([](LiveAircraft& a) { a.extrapCount = 1; }));
    EXPECT_TRUE(respawns([](LiveAircraft& a) { a.extrapCount = -1; }));
    EXPECT_FALSE(respawns([](LiveAircraft& a) { a.st = AircraftStatus::adding2sim; }));
    par::GUID_CHANGES.value = false;
    EXPECT_FALSE(respawns([](LiveAircraft&) {}));
    EXPECT_EQ(liveAircraft.at(0).callsign, "DLH2") << "taken without a respawn";
}

TEST_F(IdentityTest, InBufferTheLatestWordCounts) {
    feed(report(firstHex, 0));
    AircraftReport r = report(firstHex, 10);
    r.callsign = "BAW1";
    r.orig = "LHR";
    r.regcode = "D-AIZB";
    feed(r);
    r.timestamp += 10;
    r.sample.lat += 0.01;
    r.callsign.clear();
    r.dest = "FRA";
    r.orig.clear();
    feed(r);
    const LiveAircraft& a = liveAircraft.at(0);
    EXPECT_EQ(a.callsign + a.orig + a.dest + a.regcode, "BAW1LHRFRAD-AIZB");
    EXPECT_EQ(a.sz(), 3U);
}

TEST_F(IdentityTest, ATaxiingAircraftWithANewRouteGoesOnStraight) {
    LiveAircraft& a = activeFlight(firstHex, {ground(0, 99999), ground(0.1, 199999)});
    par::GUID_CHANGES.value = false;
    a.orig = "CDG";
    a.dest = "LHR";
    a.heading = 1;
    a.fs = FlightState::pushed_back;
    AircraftReport r = report(firstHex, 0);
    r.callsign = a.callsign;
    r.orig = "JFK";
    r.dest = "BOS";
    EXPECT_TRUE(checkIdentity(a, r));
    EXPECT_EQ(a.fs, FlightState::taxi);
    EXPECT_EQ(a.targetHeading, 1);
}

TEST_F(IdentityTest, GhostsGiveWayToTheirRealNames) {
    activeFlight(firstHex, {air(0, 99999), air(0.1, 199999)}).callsign = "DLH1";
    activeFlight(firstHex + 1, {air(1, 99999), air(1.1, 199999)}).callsign = "DLH9";
    AircraftReport r = report(firstHex + 1, 0);
    r.callsign = "DLH1_";
    EXPECT_FALSE(checkIdentity(liveAircraft[1], r)) << "the real one is there";
    EXPECT_EQ(liveAircraft[1].callsign, "DLH9");
    liveAircraft[0].callsign = "DLH2_";
    r.callsign = "DLH2";
    par::LOG.value = true;
    EXPECT_FALSE(checkIdentity(liveAircraft[1], r));
    EXPECT_EQ(liveAircraft[0].st, AircraftStatus::removingfromsim);
    EXPECT_EQ(ghostList, std::vector<std::string>{"DLH2_"});
    EXPECT_TRUE(program.logHas("          DLH2_    is a ghost and will be removed, continue with DLH2\n"));
    EXPECT_TRUE(program.logHas("          DLH2                       DLH A320 respawns\n"));
    // A ghost that gets its real name back is not its own ghost.
    LiveAircraft& a = liveAircraft[1];
    a.st = AircraftStatus::active;
    a.callsign = "DLH3_";
    r.callsign = "DLH3";
    EXPECT_FALSE(checkIdentity(a, r));
    EXPECT_EQ(a.st, AircraftStatus::liveryrespawn);
}

} // namespace
} // namespace kes
