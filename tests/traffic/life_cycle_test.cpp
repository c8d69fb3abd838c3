// SPDX-License-Identifier: MIT
// What the simulator's answers do, and how aircraft leave it.
#include "sim/orders.h"
#include "thrown.h"
#include "traffic/harness.h"

#include <tuple>

namespace kes::test {
namespace {

struct LifeCycleTest : TrafficTest {
    /// A flight whose object has been asked for; nobody answers by himself.
    void askForFlight() {
        created.clear();
        simAnswers = false;
        feedFlight(firstHex);
        ASSERT_TRUE(runUntil([&] { return !created.empty(); }));
    }
};

constexpr std::int32_t far = 1 << 28;

TEST_F(LifeCycleTest, RemovalOfAnObjectUnderWayFollowsItsLightSequence) {
    askForFlight();
    removeAircraftFromSim(liveAircraft.at(0));
    removeAircraftFromSim(liveAircraft.at(0)); // a second order changes nothing
    EXPECT_TRUE(liveAircraft[0].removeWhenReady);
    addSimReply(reply(ReplyKind::created, 500, firstHex));
    run(199);
    EXPECT_EQ(liveAircraft.at(0).st, AircraftStatus::adding2sim);
    EXPECT_TRUE(removed.empty());
    tick();
    EXPECT_EQ(liveAircraft.at(0).st, AircraftStatus::removingfromsim);
    ASSERT_TRUE(runUntil([&] { return !removed.empty(); }, 20));
    EXPECT_EQ(removed, std::vector<std::uint32_t>{500});
    addSimReply(reply(ReplyKind::removed, 500, 0));
    tick();
    EXPECT_TRUE(liveAircraft.empty());
}

TEST_F(LifeCycleTest, CreatedReplies) {
    feedFlight(firstHex);
    LiveAircraft& a = liveAircraft.at(0);
    a.st = AircraftStatus::adding2sim;
    a.askedTick = tickCount;
    answer(ReplyKind::created, 2, firstHex);
    EXPECT_EQ(a.objectid, 0U) << "the user's own objects";
    for (PositionSample& s : a.stream)
        s.airborne = false;
    a.altStep = 3;
    a.rotationCount = 7;
    answer(ReplyKind::created, 3, firstHex, 0, 12.5);
    EXPECT_EQ(fmt::format("{} {} {} {} {}", a.objectid, a.agl, a.onGround, a.altStep, a.rotationCount),
              "3 12.5 true 0 1");
    answer(ReplyKind::created, 900, firstHex + 77);
    EXPECT_EQ(waitingOrders().removalQueue.back(), 900U)
        << "an object whose record has gone would stand there for ever";
}

TEST_F(LifeCycleTest, AnObjectOfACreationGivenUpIsNeverJoinedToTheNextRecord) {
    enum class Late { beforeTheNext, refused, never };
    for (const Late late : {Late::beforeTheNext, Late::refused, Late::never}) {
        SCOPED_TRACE(static_cast<int>(late));
        resetLiveTraffic();
        removed.clear();
        askForFlight();
        ASSERT_TRUE(runUntil([] { return liveAircraft.empty(); }));
        const std::int32_t givenUp = tickCount;
        feedFlight(firstHex, 60); // the feed goes on
        run(4000);
        ASSERT_EQ(liveAircraft.at(0).st, AircraftStatus::buffer) << "two creations under way could not be told apart";
        if (late == Late::beforeTheNext) {
            addSimReply(reply(ReplyKind::created, 500, firstHex));
            ASSERT_TRUE(runUntil([&] { return !removed.empty(); }, 20));
            EXPECT_EQ(removed.back(), 500U);
        } else if (late == Late::refused) {
            addSimReply(reply(ReplyKind::createFailed, 0, firstHex));
            tick();
            EXPECT_EQ(refusedTitleCount(), 0U) << "the new record's title is not to blame";
        }
        ASSERT_EQ(liveAircraft.size(), 1U);
        ASSERT_TRUE(runUntil([] { return liveAircraft.at(0).st == AircraftStatus::adding2sim; }));
        EXPECT_EQ(tickCount - givenUp > 12000, late == Late::never);
        if (late == Late::never && liveAircraft[0].askedTick < 0) { // it comes after all, before the next is asked for
            answer(ReplyKind::created, 500, firstHex);
            EXPECT_EQ(liveAircraft[0].objectid, 0U);
            EXPECT_EQ(waitingOrders().removalQueue.back(), 500U);
        }
        ASSERT_TRUE(runUntil([&] { return created.size() == 2; }));
        addSimReply(reply(ReplyKind::created, 501, firstHex));
        ASSERT_TRUE(runUntil([] { return liveAircraft.at(0).st == AircraftStatus::active; }, 300));
        EXPECT_EQ(liveAircraft[0].objectid, 501U);
    }
}

TEST_F(LifeCycleTest, RemovedRepliesKeepTheTablesTogether) {
    for (std::uint32_t i = 0; i < 4; ++i)
        activeFlight(firstHex + i, {air(0, far), air(1, far + 1)});
    readouts.selectedObject = liveAircraft[1].objectid;
    removeAircraftFromSim(liveAircraft[1]);
    removeAircraftFromSim(liveAircraft[1]);
    EXPECT_EQ(readouts.selectedObject, 0U);
    EXPECT_EQ(waitingOrders().removalQueue.size(), 1U) << "the simulator takes a second order as an error";
    addSimReply(reply(ReplyKind::removed, liveAircraft[1].objectid, 0));
    answer(ReplyKind::removed, 12345, 0);
    const auto order = [] {
        std::string text;
        for (const LiveAircraft& a : liveAircraft)
            text += a.callsign + " ";
        return text;
    };
    EXPECT_EQ(order(), "DLH304 DLH307 DLH306 ") << "the last record moves into the gap";
    EXPECT_TRUE(waitingOrders().removalQueue.empty());
    liveAircraft[1].deleteNow = true;
    updateLiveAircraft();
    EXPECT_EQ(order(), "DLH304 DLH306 ") << "a compaction keeps the order";
}

TEST_F(LifeCycleTest, ARespawnStartsWhereTheOldObjectStood) {
    LiveAircraft& a = activeFlight(firstHex, {air(0, 5000), air(0.1, 12200), air(0.2, 19400)});
    run(300);
    const LiveAircraft before = a;
    a.title = findTitle("BAW A320");
    a.throttleIndex = a.flapsIndex = 1;
    a.askedTick = tickCount - 20000; // for the old object; the new one has its own time to come
    liveryRespawn(a);
    EXPECT_EQ(a.st, AircraftStatus::liveryrespawn);
    ASSERT_TRUE(runUntil([&] { return created.size() == 1; }));
    EXPECT_EQ(removed, std::vector<std::uint32_t>{before.objectid});
    EXPECT_EQ(std::tuple(created[0].lat, created[0].alt), std::tuple(before.lat, before.alt));
    EXPECT_NEAR(created[0].heading * degToRad, before.heading, 1e-12);
    EXPECT_EQ(created[0].title, "BAW A320");
    const LiveAircraft& now = liveAircraft.at(0);
    EXPECT_EQ(std::tuple(now.fs, now.throttleIndex, now.flapsIndex), std::tuple(FlightState::flying, 5, 4));
    EXPECT_TRUE(std::equal(now.stream.begin() + 1, now.stream.end(), before.stream.begin(), before.stream.end(),
                           [](const auto& one, const auto& other) { return one.tick == other.tick; }));
    ASSERT_TRUE(runUntil([] { return liveAircraft.at(0).st == AircraftStatus::active; }));
    EXPECT_NE(liveAircraft[0].objectid, before.objectid);
    EXPECT_NEAR(liveAircraft[0].lat, before.lat, 1.5e-5) << "it goes on from there";
}

TEST_F(LifeCycleTest, ARespawnAtAStandKeepsOneStoppedSample) {
    LiveAircraft& a = activeFlight(firstHex, {ground(0, far), ground(0.1, far + 1)});
    a.fs = FlightState::parked;
    a.heading = a.standHeading = 1.0;
    liveryRespawn(a);
    ASSERT_EQ(a.sz(), 2U);
    EXPECT_EQ(std::tuple(a.stream[0].stopped, a.stream[1].stopped), std::tuple(true, true));
    EXPECT_EQ(a.stream[0].tick, tickCount + 1);
    EXPECT_NEAR(a.stream[1].track, 57.2958, 1e-3);
    removeAircraftFromSim(a);
    EXPECT_EQ(a.st, AircraftStatus::removingfromsim);
    EXPECT_EQ(waitingOrders().removalQueue.size(), 1U);
    a.stream.clear();
    liveryRespawn(a);
    EXPECT_TRUE(program.logHas("liveryRespawn: ")) << "an impossible state is told, not fatal";
}

TEST_F(LifeCycleTest, RefusedLiveriesAreToldAndTwentyStopTheRun) {
    const auto refuse = [&](int n) {
        resetLiveTraffic();
        LiveAircraft& a = activeFlight(firstHex, {air(0, far), air(1, far + 1)});
        const std::string title = "Bad " + std::to_string(n);
        a.title = title;
        a.st = AircraftStatus::adding2sim;
        answer(ReplyKind::createFailed, 0, firstHex);
        EXPECT_TRUE(liveAircraft.empty());
        EXPECT_TRUE(isRefused(title));
    };
    for (int i = 1; i < 20; ++i)
        refuse(i);
    EXPECT_TRUE(program.logHas("\nDLH304 \"Bad 19\" could not be created by your Sim!\n"));
    EXPECT_EQ(statusText(), "DLH304 \"Bad 19\" could not be created by your Sim!");
    EXPECT_EQ(thrownBy([&] { refuse(20); }),
              "81: there are too many liveries that could not be created by MSFS!, see Log.txt");
    EXPECT_TRUE(
        program.logHas("\n\n===> Error 81, there are too many liveries that could not be created by MSFS!\n\n"));
}

TEST_F(LifeCycleTest, NothingIsRefusedWhileClosing) {
    LiveAircraft& a = activeFlight(firstHex, {air(0, far), air(1, far + 1)});
    a.st = AircraftStatus::adding2sim;
    userClosed = true;
    answer(ReplyKind::createFailed, 0, firstHex);
    EXPECT_EQ(liveAircraft.size(), 1U);
    EXPECT_EQ(refusedTitleCount(), 0U);
}

TEST_F(LifeCycleTest, OneBadRecordDoesNotStopTheOthers) {
    activeFlight(firstHex, {air(0, 4000), air(0.1, far)});
    activeFlight(firstHex + 1, {air(0, 5000), air(0.1, 12200)});
    liveAircraft[0].stream.clear();
    updateLiveAircraft();
    EXPECT_EQ(liveAircraft[0].st, AircraftStatus::removingfromsim);
    EXPECT_TRUE(program.logHas("updateLiveAc stream empty ? DLH304 "));
    EXPECT_GT(liveAircraft[1].latStep, 0.0);
    liveAircraft[1].objectid = 0;
    updateLiveAircraft();
    EXPECT_TRUE(program.logHas("updateLiveAc objectid=0? hexid: 4194305,cs:DLH305, reg:, aimo:DLH A320 sz:1"));
    updateLiveAircraft();
    EXPECT_EQ(liveAircraft.size(), 1U) << "no object will be reported as gone, so the record goes by itself";
}

} // namespace
} // namespace kes::test
