// SPDX-License-Identifier: MIT
// Reports that tell another route, registration or flight.
#include "traffic/harness.h"

namespace kes::test {
namespace {

using IdentityTest = TrafficTest;

TEST_F(IdentityTest, WhatAReportChangesOnARunningAircraft) {
    setAirportRef(AirportRef{"EDDF", "FRA", homeLat, homeLon, 364});
    // Origin, destination, callsign and registration, a dash for none.
    const struct {
        const char *name, *before, *report;
        bool used;
        const char* after; ///< and airline, model, state
    } rows[] = {
        {"the same", "FRA LHR DLH1 D-AIZA", "FRA LHR DLH1 D-AIZA", true, "FRA LHR DLH1 D-AIZA DLH A320 flying"},
        {"nothing told", "FRA LHR DLH1 D-AIZA", "- - - -", true, "FRA LHR DLH1 D-AIZA DLH A320 flying"},
        {"a route filled", "- - DLH1 -", "FRA LHR DLH1 -", false, "FRA LHR DLH1 - DLH A320 flying"},
        {"another route", "CDG LHR DLH1 -", "JFK BOS DLH1 -", false, "JFK BOS DLH1 - DLH A320 flying"},
        {"only another destination", "CDG LHR DLH1 -", "CDG BOS DLH1 -", true, "CDG LHR DLH1 - DLH A320 flying"},
        {"the way back to here", "FRA LHR DLH1 -", "LHR FRA DLH1 -", true, "FRA LHR DLH1 - DLH A320 flying"},
        {"another flight", "- - DLH1 -", "- - DLH2 -", false, "- - DLH2 - DLH A320 flying"},
        {"its registration as callsign", "- - DLH1 D-AIZA", "- - D-AIZA -", true, "- - DLH1 D-AIZA DLH A320 flying"},
        {"a first registration with a livery of its own", "- - DLH1 -", "- - DLH1 D-AOWN", false,
         "- - DLH1 D-AOWN DLH A320 birth"},
        {"a first registration of the same airline and type", "- - DLH1 -", "- - DLH1 D-AIZA", true,
         "- - DLH1 D-AIZA DLH A320 flying"},
        {"a first registration of another type", "- - DLH1 -", "- - DLH1 G-HEAV", false,
         "- - DLH1 G-HEAV BAW B77W birth"},
        {"a registration that stood for the callsign", "- - D-AXXX D-AXXX", "- - D-AXXX G-HEAV", false,
         "- - D-AXXX G-HEAV BAW B77W birth"},
        {"an unknown first registration", "- - DLH1 -", "- - DLH1 X-XXXX", true, "- - DLH1 X-XXXX DLH A320 flying"},
        {"another registration, but no flight of its airline", "- - DLH1 D-AIZA", "- - DLH1 G-HEAV", true,
         "- - DLH1 G-HEAV DLH A320 flying"},
        {"another registration, with a flight of its airline", "- - BAW1 D-AIZA", "- - BAW1 G-HEAV", false,
         "- - BAW1 G-HEAV BAW B77W birth"},
        {"another registration by its operator's flight", "- - BAW1 X-XXXX", "- - BAW1 D-AIZB", true,
         "- - BAW1 D-AIZB DLH A320 flying"}, // the record's airline and model are the entry's
    };
    const auto put = [](auto& aircraft, const char* texts) {
        auto parts = words(texts);
        for (std::string& word : parts)
            word = word == "-" ? "" : word;
        aircraft.orig = parts[0];
        aircraft.dest = parts[1];
        aircraft.callsign = parts[2];
        aircraft.regcode = parts[3];
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        resetLiveTraffic();
        LiveAircraft& a = activeFlight(firstHex, {air(0, 99999), air(0.1, 199999)});
        put(a, row.before);
        AircraftReport r = report(firstHex, 0);
        put(r, row.report);
        EXPECT_EQ(checkIdentity(a, r), row.used);
        EXPECT_EQ(a.st == AircraftStatus::active, row.used);
        std::string after;
        for (const std::string_view part : {std::string_view(a.orig), std::string_view(a.dest),
                                            std::string_view(a.callsign), std::string_view(a.regcode)})
            after.append(part.empty() ? "-" : part).append(" ");
        EXPECT_EQ(after + a.airline + " " + a.model + " " + std::string(text(a.fs)), row.after);
        EXPECT_EQ(a.title.empty(), a.fs == FlightState::birth);
        EXPECT_EQ(a.category, categoryOf(a.model));
        EXPECT_DOUBLE_EQ(a.wingspan, wingspanOf(a.model));
        EXPECT_EQ(a.flareTicks, a.model == "B77W" ? 450 : 400);
    }
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
} // namespace kes::test
