// SPDX-License-Identifier: MIT
// The simulator client against the simulator model, through the real packets.
#include "sim/sim_test.h"
#include "simconnect/open.h"

#include <algorithm>
#include <atomic>
#include <cmath>

namespace kes {
namespace {

using test::waitFor;

struct SimClientTest : test::SimTest {
    std::vector<SimReply> seen;
    /// Starts simulator and client and waits for the user's position, as the worker does.
    static void connect(const world::SimulatorOptions& o = options(), double speed = 5) {
        startClient(speed, o);
        ASSERT_TRUE(waitFor([] {
            userAircraft = readUserPosition();
            return userAircraft.known();
        }));
    }
    /// How many replies of a kind have come.
    std::ptrdiff_t count(ReplyKind kind) {
        for (const SimReply& reply : takeReplies())
            seen.push_back(reply);
        return std::ranges::count(seen, kind, &SimReply::kind);
    }
    /// Range requests as the main tick sends them, until so many objects have been joined to their requests.
    bool waitForCreated(std::ptrdiff_t objects) {
        return waitFor([&] {
            requestRange();
            return count(ReplyKind::created) == objects;
        });
    }
};

TEST_F(SimClientTest, AnObjectOutOfTheRangeRequestIsJoinedAllTheSame) {
    connect();
    setRange(2); // the request makes it 3 nm away
    for (const char* tail : {"FAR1", "FAR2"}) {
        CreateRequest r = request(tail);
        r.hexid = tail[3] == '1' ? 4195971U : 4195972U;
        queueCreate(r);
    }
    ASSERT_TRUE(waitForCreated(2));
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
    ASSERT_TRUE(waitFor([&] { return count(ReplyKind::createFailed) == 1; }));
    EXPECT_EQ(seen[0].hexid, 4195971U);
    EXPECT_EQ(seen.size(), 1U);
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
    EXPECT_EQ(count(ReplyKind::created), 0);
    EXPECT_EQ(program.logCount("just spawned, but not by"), 1U);
    simconnect::SimConnect_Close(other);
}

TEST_F(SimClientTest, TeleportAndNewFlightEndTheRun) {
    struct Case {
        const char* command;
        ExitReason reason;
        const char* logged;
    };
    for (const Case& c : {Case{"teleport 48.45 11.78 5000", ExitReason::notYetSet, ""}, // 6 nm pass silently
                          Case{"teleport 0.0005 0.01 0", ExitReason::notYetSet, ""},    // no flight is loaded
                          Case{"teleport 49.35 11.78 5000", ExitReason::newFlight, "Teleport"},
                          Case{"newflight", ExitReason::newFlight, "SimConnect: New file event"}}) {
        resetAll();
        connect();
        world::inprocCommand(c.command);
        const bool ends = c.reason != ExitReason::notYetSet;
        ASSERT_TRUE(waitFor([&] {
            const bool moved = std::abs(readUserPosition().lat - userLat) > 0.09;
            return ends ? exitRequested.load() : moved;
        })) << c.command;
        EXPECT_EQ(exitRequested, ends) << c.command;
        EXPECT_EQ(exitReason(), c.reason) << c.command;
        EXPECT_EQ(restartDelay(), ends ? 45 : 0) << c.command;
        EXPECT_TRUE(program.logHas(c.logged)) << c.command;
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
    std::size_t round = 0;
    for (const std::string fault : {"mute", "hang-up"}) {
        SCOPED_TRACE(fault);
        ++round;
        resetAll();
        simAnswerMs = 300;
        // A simulator that starts: silent at first, then a connection as any other.
        world::inprocStart(options());
        world::inprocRunThread(5);
        world::inprocCommand(fault + " on");
        startSimClient();
        ASSERT_TRUE(waitFor([&] { return statusText() == silent; }));
        clearStatus();
        ASSERT_TRUE(waitFor([&] { return statusText() == silent; })) << "shown again once the line has aged";
        EXPECT_EQ(program.logCount(silent), 2 * round - 1);
        EXPECT_FALSE(simRunning || readouts.simLight || simHandle != nullptr);
        world::inprocCommand(fault + " off");
        ASSERT_TRUE(waitFor([] { return simRunning.load(); }));
        EXPECT_EQ(statusText(), "");

        // The connection ends and only silence comes back: nobody is gone for good, nobody is back.
        world::inprocCommand(fault + " on");
        world::inprocCommand("drop");
        ASSERT_TRUE(waitFor([&] { return statusText() == silent; }));
        EXPECT_FALSE(exitRequested);
        EXPECT_EQ(program.logCount("SimConnect connection has ended"), round);
        EXPECT_EQ(program.logCount("SimConnect closed ok"), round);
        EXPECT_EQ(program.logCount("Flight Simulator"), round - 1);
        world::inprocCommand(fault + " off");
        ASSERT_TRUE(waitFor([] { return exitRequested.load(); }));
        EXPECT_EQ(exitReason(), ExitReason::simConnectError);
        EXPECT_EQ(program.logCount("Flight Simulator is back"), round);
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
    readouts.simFrameRate = -1;
    ASSERT_TRUE(waitFor([] { return readouts.simFrameRate >= 0.0F; }));
    simRequestFailed = false;
    queueCreate(request("STAYS1"));
    ASSERT_TRUE(waitForCreated(1));
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
