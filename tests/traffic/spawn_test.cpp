// SPDX-License-Identifier: MIT
// From buffer into the simulator.
#include "sim/orders.h"
#include "traffic/harness.h"

namespace kes::test {
namespace {

using SpawnTest = TrafficTest;

TEST_F(SpawnTest, LeadTimesAndTheFateOfPoorStreams) {
    feedFlight(firstHex);
    LiveAircraft& a = liveAircraft.at(0);
    const std::int32_t first = a.stream.front().tick;
    struct Case {
        const char* name;
        bool airborne;
        double gs;
        std::int32_t lead;
    };
    for (const Case& c :
         {Case{"taxiing", false, 10, 300}, Case{"standing", false, 0, 100}, Case{"flying", true, 0, 100}}) {
        SCOPED_TRACE(c.name);
        a.st = AircraftStatus::buffer;
        a.fs = FlightState::birth;
        for (PositionSample& s : a.stream) {
            s.airborne = c.airborne;
            s.gs = c.gs;
        }
        tickCount = first - c.lead - 1;
        updateLiveAc(a, motionNow());
        EXPECT_EQ(a.st, AircraftStatus::buffer);
        tickCount = first - c.lead;
        updateLiveAc(a, motionNow());
        EXPECT_EQ(a.st, AircraftStatus::adding2sim);
    }
    a.st = AircraftStatus::buffer;
    a.stream.resize(3);
    a.stream[2].airborne = false;
    EXPECT_FALSE(updateLiveAc(a, motionNow()));
    EXPECT_EQ(a.sz(), 2U) << "half in the air: the front sample goes";
    a.stream.pop_back();
    tickCount = a.stream.front().tick;
    EXPECT_TRUE(updateLiveAc(a, motionNow())) << "a single report never enters the simulator";
    a.deleteNow = false;
    a.stream.clear();
    EXPECT_TRUE(updateLiveAc(a, motionNow()));
}

TEST_F(SpawnTest, WhoIsRefused) {
    const struct {
        const char* name;
        const char *callsign, *regcode, *model;
        const char* spawned; ///< callsign, airline and title of what spawns; empty = dropped
    } rows[] = {
        {"airline out of the callsign", "baw12", "", "A320", "baw12 BAW BAW A320"},
        {"no airline in it: private, by the model", "N123", "", "C172", "N123 PVT Skyhawk"},
        {"no callsign", "", "", "A320", ""},
        {"the placeholder of the feed", "@@@@@@@@", "", "A320", ""},
        {"nine characters", "DLH123456", "", "A320", ""},
        {"no callsign, but a registration", "", "D-AIZA", "A320", "D-AIZA DLH FSLTL_DLH"},
        {"the operator flies it", "DLH1", "D-AIZB", "A320", "DLH1 BAW BAW A320"},
        {"the registration knows the type better", "BAW1", "GHEAV", "A320", "BAW1 BAW BAW B77W"},
        {"blocked", "BLOCKED", "", "A320", ""},
        {"a ghost that was removed", "GONE1_", "", "A320", ""},
        {"a ghost beside the real one", "REAL1_", "", "A320", ""},
        {"a ghost alone", "DLH7_", "", "A320", "DLH7_ DLH FSLTL_DLH"},
        {"no livery", "DLH8", "X-XXXX", "A388", ""},
    };
    par::BLOCK_CALLSIGN.set("BLOCKED");
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        resetLiveTraffic();
        ghostList.push_back("GONE1_");
        activeFlight(firstHex + 9, {air(0.5, 99999), air(0.6, 199999)}).callsign = "REAL1";
        feedFlight(row.callsign, row.regcode, row.model);
        tickCount = liveAircraft.at(1).stream.front().tick - 100;
        updateLiveAircraft();
        const LiveAircraft* a = findLive(firstHex);
        EXPECT_EQ(a == nullptr ? "" : a->callsign + " " + a->airline + " " + std::string(a->title), row.spawned);
        EXPECT_EQ(a == nullptr, waitingOrders().spawnQueue.empty());
        EXPECT_TRUE(a == nullptr || a->category == categoryOf(a->model));
    }
    EXPECT_EQ(noMatchList.keys(), std::deque<std::string>{"DLH A388 X-XXXX"});
}

TEST_F(SpawnTest, TheOldestKeysWithoutLiveryMakeRoom) {
    NoMatchList list;
    const auto key = [](std::size_t n) { return "DLH A388 X-" + std::to_string(n); };
    for (std::size_t i = 0; i < NoMatchList::limit + 5; ++i) {
        list.add(key(i));
        list.add(key(i)); // known already
    }
    ASSERT_EQ(list.keys().size(), NoMatchList::limit);
    EXPECT_EQ(list.keys().front(), key(5));
    EXPECT_EQ(list.keys().back(), key(NoMatchList::limit + 4));
    for (const std::size_t n : {0U, 4U, 5U, 1004U, 1005U})
        EXPECT_EQ(list.contains(key(n)), n >= 5 && n < NoMatchList::limit + 5) << n;
    list.clear();
    EXPECT_FALSE(list.contains(key(9)));
}

TEST_F(SpawnTest, TheTitleOfAHexidIsKeptUntilItFails) {
    feedFlight(firstHex);
    ASSERT_TRUE(runUntil([&] { return !created.empty(); }));
    par::GUID_CHANGES.value = true;
    const auto spawnAgain = [](const char* airline) {
        LiveAircraft& a = liveAircraft.at(0);
        a.title = {};
        a.airline = airline; // would now find another livery
        a.callsign = "BAW1";
        a.fs = FlightState::birth;
        spawnLiveAc(a, motionNow());
        return std::string(a.title);
    };
    EXPECT_EQ(spawnAgain("BAW1"), "FSLTL_DLH");
    refuseTitle("FSLTL_DLH", "A320", "DLH");
    EXPECT_NE(spawnAgain("BAW1"), "FSLTL_DLH");
    clearTitleTable();
    EXPECT_EQ(spawnAgain("BAW"), "BAW A320");
}

TEST_F(SpawnTest, StopsAtTheStartOfTheStreamAreMadeConsistent) {
    const auto spawned = [&](std::vector<PositionSample> stream) {
        resetLiveTraffic();
        LiveAircraft& a = activeFlight(firstHex, stream);
        a.st = AircraftStatus::buffer;
        a.fs = FlightState::birth;
        a.stream[0].track = 90;
        spawnLiveAc(a, motionNow());
        return a;
    };
    std::vector<PositionSample> stream{ground(0, 100), ground(0, 200), ground(0, 300)};
    stream[1].stopped = stream[2].stopped = true;
    LiveAircraft a = spawned(stream);
    EXPECT_TRUE(a.stream[0].stopped);
    EXPECT_EQ(a.stream[0].gs + a.stream[1].gs + a.stream[2].gs, 0);
    EXPECT_DOUBLE_EQ(a.heading, pi / 2) << "by its track, as it does not move";
    EXPECT_DOUBLE_EQ(a.pitch, 0.6 * degToRad);
    stream = {ground(0, 100), ground(-0.01, 200), ground(-0.02, 300)};
    stream[0].stopped = true;
    a = spawned(stream);
    EXPECT_FALSE(a.stream[0].stopped);
    EXPECT_DOUBLE_EQ(a.heading, pi) << "towards its next place";
    EXPECT_EQ(a.fs, FlightState::taxi);
}

} // namespace
} // namespace kes::test
