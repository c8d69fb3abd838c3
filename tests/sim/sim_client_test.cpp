// SPDX-License-Identifier: MIT
// The simulator client against the simulator model, through the real packets.
#include "sim/sim_test.h"
#include "simconnect/open.h"

#include <algorithm>
#include <atomic>
#include <cmath>
#include <gtest/gtest.h>
#include <thread>

namespace kes {
namespace {

using test::waitFor;

std::vector<SimReply> seenReplies;
void keepReply(const SimReply& reply) {
    seenReplies.push_back(reply);
}

struct SimClientTest : test::SimTest {
    void SetUp() override {
        SimTest::SetUp();
        seenReplies.clear();
    }
    /// Starts simulator and client and waits for the user's position, as the worker does.
    static void connect(const world::SimulatorOptions& o = options(), double speed = 5) {
        startClient(speed, o);
        ASSERT_TRUE(waitFor([] {
            userAircraft = readUserPosition();
            return userAircraft.known();
        }));
    }
    static const SimReply* reply(ReplyKind kind) {
        drainSimReplies(keepReply);
        const auto it =
            std::find_if(seenReplies.begin(), seenReplies.end(), [&](const SimReply& r) { return r.kind == kind; });
        return it == seenReplies.end() ? nullptr : &*it;
    }
    /// Range requests as the main tick sends them, until a reply of a kind has come.
    static const SimReply* replyByRange(ReplyKind kind) {
        waitFor([&] {
            requestRange();
            return reply(kind) != nullptr;
        });
        return reply(kind);
    }
};

TEST_F(SimClientTest, DeclaresEverythingWithoutAComplaintOfTheSimulator) {
    connect();
    ASSERT_TRUE(requestOnGroundBeat());
    ASSERT_TRUE(waitFor([] { return secondDue.load() && firstReplySeen.load(); }));
    EXPECT_FALSE(userOnGround);
    EXPECT_TRUE(waitFor([] { return readouts.simFrameRate > 0.0F; })) << "stored at the 30th frame";
    EXPECT_NEAR(userAircraft.lat, userLat, 1e-9);
    EXPECT_NEAR(userAircraft.alt, 5000, 1);
    EXPECT_EQ(userObjectId, world::userId);
    EXPECT_TRUE(world::inprocCounters().exceptions.empty());
    EXPECT_TRUE(program.logHas("MSFS 2020 (11.0."));
    EXPECT_TRUE(readouts.simLight);
}

TEST_F(SimClientTest, CreatesJoinsByTheCutTailNumberMovesAndRemoves) {
    connect();
    queueCreate(request("ABCDEFGHIJKLMN")); // three characters more than the wire carries
    const SimReply* created = replyByRange(ReplyKind::created);
    ASSERT_NE(created, nullptr);
    EXPECT_EQ(created->hexid, 4195971U);
    const std::uint32_t id = created->objectid;

    ASSERT_TRUE(waitFor([&] {
        const auto object = world::inprocObject(id);
        return object && object->freezeLatLon && object->freezeAltitude && object->freezeAttitude && object->released;
    }));

    ASSERT_TRUE(requestStaticData(id));
    ASSERT_TRUE(waitFor([] { return reply(ReplyKind::staticData) != nullptr; }));
    EXPECT_GT(reply(ReplyKind::staticData)->a, 1.0);

    AiPositionRecord pose{userLat + 0.06, userLon + 0.01, -0.02, 0.1, 1.5, 3100, 5, 200, id};
    ASSERT_TRUE(waitFor([&] {
        queuePosition(pose);
        publishPositions();
        const auto object = world::inprocObject(id);
        return object && object->lat == pose.lat && object->heading == pose.heading && object->alt == pose.alt;
    }));

    queueEvent(id, event::navLights, 1);
    ASSERT_TRUE(waitFor([&] { return (world::inprocObject(id)->lights & world::light::nav) != 0; }));
    queueEvent(id, event::gear, 0);
    ASSERT_TRUE(waitFor([&] { return !world::inprocObject(id)->gear; }));

    queueRemove(id);
    ASSERT_TRUE(waitFor([] { return reply(ReplyKind::removed) != nullptr; }));
    EXPECT_EQ(reply(ReplyKind::removed)->objectid, id);
    EXPECT_TRUE(world::inprocObjects().empty());
    EXPECT_TRUE(world::inprocCounters().exceptions.empty());
}

TEST_F(SimClientTest, AnObjectOutOfTheRangeRequestIsJoinedAllTheSame) {
    connect();
    setRange(2); // the request makes it 3 nm away
    for (const char* tail : {"FAR1", "FAR2"}) {
        CreateRequest r = request(tail);
        r.hexid = tail[3] == '1' ? 4195971U : 4195972U;
        queueCreate(r);
    }
    ASSERT_TRUE(waitFor([] {
        requestRange();
        drainSimReplies(keepReply);
        return std::count_if(seenReplies.begin(), seenReplies.end(),
                             [](const SimReply& s) { return s.kind == ReplyKind::created; }) == 2;
    }));
    EXPECT_TRUE(waitFor([] {
        const auto a = world::inprocObject("FAR1");
        const auto b = world::inprocObject("FAR2");
        return a && b && a->freezeLatLon && b->freezeLatLon;
    }));
    EXPECT_TRUE(world::inprocCounters().exceptions.empty());
}

TEST_F(SimClientTest, RefusedCreateComesBackWithItsHexid) {
    connect();
    queueCreate(request("DLH1", "Nobody Has This Title"));
    ASSERT_TRUE(waitFor([] { return reply(ReplyKind::createFailed) != nullptr; }));
    EXPECT_EQ(reply(ReplyKind::createFailed)->hexid, 4195971U);
    EXPECT_EQ(reply(ReplyKind::created), nullptr);
}

TEST_F(SimClientTest, AnAircraftOfAnotherProgramIsLoggedOnceAndLeftAlone) {
    connect();
    simconnect::HANDLE other = nullptr;
    ASSERT_FALSE(simconnect::failed(simconnect::SimConnect_Open(&other, "Other")));
    const simconnect::InitPosition at{userLat, userLon + 0.01, 4000, 0, 0, 0, 0, 0};
    ASSERT_FALSE(
        simconnect::failed(simconnect::SimConnect_AICreateNonATCAircraft(other, "Test A320 One", "FOREIGN", at, 7)));
    ASSERT_TRUE(waitFor([&] {
        requestRange();
        return program.logHas("just spawned, but not by Kestrelune, oid: ");
    }));
    const auto object = world::inprocObject("FOREIGN");
    ASSERT_TRUE(object);
    EXPECT_FALSE(object->freezeLatLon);
    for (int i = 0; i < 5; ++i)
        requestRange();
    EXPECT_EQ(reply(ReplyKind::created), nullptr);
    EXPECT_EQ(program.logCount("just spawned, but not by"), 1U);
    simconnect::SimConnect_Close(other);
}

TEST_F(SimClientTest, TeleportAndNewFlightEndTheRun) {
    struct Case {
        const char* command;
        ExitReason reason;
        const char* logged;
    };
    for (const Case& c : {Case{"teleport 48.45 11.78 5000", ExitReason::notYetSet, nullptr}, // 6 nm pass silently
                          Case{"teleport 0.0005 0.01 0", ExitReason::notYetSet, nullptr},    // no flight is loaded
                          Case{"teleport 49.35 11.78 5000", ExitReason::newFlight, "Teleport"},
                          Case{"newflight", ExitReason::newFlight, "SimConnect: New file event"}}) {
        resetAll();
        connect();
        world::inprocCommand(c.command);
        if (c.reason == ExitReason::notYetSet) {
            ASSERT_TRUE(waitFor([] { return std::abs(readUserPosition().lat - userLat) > 0.09; }));
            EXPECT_FALSE(exitRequested) << c.command;
        } else {
            ASSERT_TRUE(waitFor([] {
                readUserPosition();
                return exitRequested.load();
            })) << c.command;
            EXPECT_EQ(exitReason(), c.reason);
            EXPECT_EQ(restartDelay(), 45);
            EXPECT_TRUE(program.logHas(c.logged)) << c.command;
        }
        requestSimClientStop();
        joinSimClient();
        EXPECT_EQ(takeUserMoves().stoodAt.has_value(), !std::string_view(c.command).starts_with("teleport 0.0"))
            << "the end of the thread leaves a stand to be learned, unless no flight is loaded; " << c.command;
        world::inprocStop();
    }
}

TEST_F(SimClientTest, TheWrongSimulatorIsToldAndTheRunStaysUp) {
    auto o = options();
    o.generation = world::Generation::msfs2024;
    world::inprocStart(o);
    world::inprocRunThread(5);
    startSimClient();
    ASSERT_TRUE(waitFor([] { return !errorText().empty(); }));
    EXPECT_EQ(errorText(),
              "71: MSFS 2024 is running ..., switch Sim or toggle the Install path checkbox of Kestrelune");
    EXPECT_FALSE(exitRequested);
    clearError();
}

TEST_F(SimClientTest, ComesLateGoesAndComesBack) {
    startSimClient();
    ASSERT_TRUE(waitFor([] { return statusText() == "Waiting for MSFS 2020 ..."; }));
    world::inprocStart(options());
    world::inprocRunThread(5);
    ASSERT_TRUE(waitFor([] { return simRunning.load(); }));
    world::inprocCommand("quit");
    ASSERT_TRUE(waitFor([] { return !simRunning; }));
    ASSERT_TRUE(waitFor([&] { return program.logHas("SimConnect connection has ended"); }));
    EXPECT_FALSE(exitRequested) << "the main tick idles; the user may close";
    world::inprocStart(options());
    world::inprocRunThread(5);
    ASSERT_TRUE(waitFor([] { return exitRequested.load(); }));
    EXPECT_EQ(exitReason(), ExitReason::simConnectError)
        << "a new simulator knows none of the old objects: a fresh run";
}

TEST_F(SimClientTest, WhoTakesTheConnectionAndSaysNothingIsNoSimulator) {
    const std::string silent = "this process (no SimConnect.cfg) takes the connection but does not answer: is the "
                               "simulator still starting, is this the port in its SimConnect.xml?";
    for (const std::string fault : {"mute", "hang-up"}) {
        SCOPED_TRACE(fault);
        resetAll();
        simAnswerMs = 300;
        const std::size_t before = program.logText().size();
        const auto logged = [&](std::string_view text) {
            const std::string lines = program.logText().substr(before);
            std::size_t count = 0;
            for (std::size_t at = lines.find(text); at != std::string::npos; at = lines.find(text, at + 1))
                ++count;
            return count;
        };
        // A simulator that starts: silent at first, then a connection as any other.
        world::inprocStart(options());
        world::inprocRunThread(5);
        world::inprocCommand(fault + " on");
        startSimClient();
        ASSERT_TRUE(waitFor([&] { return statusText() == silent; }));
        clearStatus();
        ASSERT_TRUE(waitFor([&] { return statusText() == silent; })) << "shown again once the line has aged";
        EXPECT_EQ(logged(silent), 1U);
        EXPECT_FALSE(simRunning || readouts.simLight || simHandle != nullptr);
        world::inprocCommand(fault + " off");
        ASSERT_TRUE(waitFor([] { return simRunning.load(); }));
        EXPECT_EQ(statusText(), "");

        // The connection ends and only silence comes back: nobody is gone for good, nobody is back.
        world::inprocCommand(fault + " on");
        world::inprocCommand("drop");
        ASSERT_TRUE(waitFor([&] { return statusText() == silent; }));
        EXPECT_FALSE(exitRequested);
        EXPECT_EQ(logged("SimConnect connection has ended"), 1U);
        EXPECT_EQ(logged("SimConnect closed ok"), 1U);
        EXPECT_EQ(logged("Flight Simulator"), 0U);
        world::inprocCommand(fault + " off");
        ASSERT_TRUE(waitFor([] { return exitRequested.load(); }));
        EXPECT_EQ(exitReason(), ExitReason::simConnectError);
        EXPECT_EQ(logged("Flight Simulator is back"), 1U);
        joinSimClient();
        world::inprocStop();
    }
    simAnswerMs = simconnect::answerMs;
}

TEST_F(SimClientTest, AWaitInVainTellsWhereTheSimulatorWasLookedFor) {
    const auto usual = std::exchange(simAdviceAfter, std::chrono::milliseconds(50));
    world::inprocStop(); // nobody is there
    startSimClient();
    EXPECT_TRUE(
        waitFor([&] { return program.logHas("Is the simulator running, and does its SimConnect.xml have a"); }));
    EXPECT_EQ(statusText(), "Waiting for MSFS 2020 ...");
    EXPECT_TRUE(program.logHas("Nobody listens at this process (no SimConnect.cfg names another address)."))
        << program.logText();
    simAdviceAfter = usual;
}

TEST_F(SimClientTest, AFailedRequestEndsTheRunForARestartAndEmptiesTheQueues) {
    requestError();
    EXPECT_TRUE(simRequestFailed);
    EXPECT_EQ(exitReason(), ExitReason::simConnectError);
    EXPECT_EQ(restartDelay(), 9);
    resetRunFlags();
    connect();
    simRequestFailed = true;
    queueCreate(request("GONE1"));
    // A frame must have passed with the flag set before it is cleared again.
    const float before = readouts.simFrameRate;
    readouts.simFrameRate = -1;
    ASSERT_TRUE(waitFor([] { return readouts.simFrameRate >= 0.0F; }));
    readouts.simFrameRate = before;
    simRequestFailed = false;
    queueCreate(request("STAYS1"));
    ASSERT_NE(replyByRange(ReplyKind::created), nullptr);
    EXPECT_FALSE(world::inprocObject("GONE1"));
}

TEST_F(SimClientTest, ABusyLockDropsATickAtLowFrameRatesAndIsWaitedForAtHighOnes) {
    for (const float fps : {50.0F, 50.5F}) {
        readouts.simFrameRate = fps;
        std::atomic<bool> held{false};
        std::atomic<bool> release{false};
        std::thread holder([&] {
            const std::lock_guard lock(simMutex);
            held = true;
            waitFor([&] { return release.load(); });
        });
        ASSERT_TRUE(waitFor([&] { return held.load(); }));
        std::atomic<bool> done{false};
        std::thread worker([&] {
            queuePosition({});
            publishPositions();
            done = true;
        });
        if (fps <= 50.0F) {
            EXPECT_TRUE(waitFor([&] { return done.load(); }, 5000)) << "while the lock is held";
        } else {
            // It must still be waiting after a time in which the other case is long done.
            EXPECT_FALSE(waitFor([&] { return done.load(); }, 100));
        }
        release = true;
        holder.join();
        worker.join();
        EXPECT_TRUE(done);
    }
}

} // namespace
} // namespace kes
