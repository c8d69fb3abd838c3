// SPDX-License-Identifier: MIT
// Runs of the worker with real threads and real sockets, the simulator model behind the client functions.
#include "core/parameters_file.h"
#include "core/run_state.h"
#include "core/user_aircraft.h"
#include "feed/control_link.h"
#include "feed/report_queue.h"
#include "feed/traffic_reader.h"
#include "flight_folder.h"
#include "platform/socket.h"
#include "platform/system.h"
#include "sim/sim_client.h"
#include "spine/closing.h"
#include "spine/process.h"
#include "spine/run_traffic.h"
#include "spine/waits.h"
#include "spine/worker.h"
#include "traffic/live_aircraft.h"
#include "world/simulator/inproc.h"

#include <atomic>

namespace kes::test {
namespace {

/// The traffic source's side of the control link, with what it read.
struct LinkClient {
    platform::Socket socket;
    std::string seen;

    bool connect() {
        return waitFor([] { return controlLinkPort() != 0; }) &&
               waitFor([&] { return socket.connectTcp("127.0.0.1", std::to_string(controlLinkPort()), 1000) == 0; });
    }
    bool waitForText(std::string_view text, int ms = 20000) {
        return waitFor(
            [&] {
                char buffer[4096];
                const platform::IoResult r = socket.receive(buffer, 1);
                if (r.bytes > 0)
                    seen.append(buffer, static_cast<std::size_t>(r.bytes));
                return seen.find(text) != std::string::npos;
            },
            ms);
    }
    void send(std::string_view text) { socket.sendAll(text, 1000); }
};

/// A UDP port that nobody uses at this moment.
std::uint16_t freeUdpPort() {
    platform::Socket socket;
    return socket.openUdp() == 0 && socket.bindUdp(0, true) == 0 ? socket.localPort() : std::uint16_t{0};
}

struct RunTest : testing::Test {
    FlightFolder program;
    TestWindow window;
    std::thread worker;
    std::atomic<bool> ended{false};

    void SetUp() override {
        platform::startSockets();
        setParameterDefaults();
        setRunSleepScale(0.02);
        dataBaseRead = false;
        restarting = false;
        resetRun();
        feedPorts = {freeUdpPort(), freeUdpPort()};
        window.forget();
    }
    void TearDown() override {
        endRun();
        forgetRun();
        setRunSleepScale(1);
        platform::endSockets();
    }
    void startRun() {
        ended = false;
        worker = std::thread([this] {
            workerMain();
            ended = true;
        });
    }
    static void click() {
        userClosed = true;
        exitRequested = true;
    }
    /// The user's close click, and the end of the run; how long that took in milliseconds.
    double endRun() {
        const auto start = std::chrono::steady_clock::now();
        if (worker.joinable()) {
            click();
            worker.join();
        }
        return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
    }
    static void startSimulator(double speed = 1) {
        world::inprocStart(overTheField());
        world::inprocRunThread(speed);
    }
    /// A run up to its main loop, with a connected traffic source.
    void fly(LinkClient& link, double speed = 1) {
        startSimulator(speed);
        startRun();
        ASSERT_TRUE(link.connect());
        ASSERT_TRUE(link.waitForText("Qs999=version\r\n"));
        link.send("{\"level\":2,\"version\":\"10.5\"}");
        ASSERT_TRUE(link.waitForText("Qs121="));
        ASSERT_TRUE(waitFor([] { return reportQueue.accepting(); }));
    }
    /// A run that waits for its traffic source.
    void startWaitingRun() {
        startSimulator();
        startRun();
        ASSERT_TRUE(waitFor([] { return statusText() == "Waiting for RealTraffic to connect to Kestrelune ..."; }));
    }
    /// Until the worker has come to its end by itself.
    void waitForEnd() {
        ASSERT_TRUE(waitFor([&] { return ended.load(); }));
        worker.join();
    }
    /// As at the start of the program.
    static void forgetRun() {
        world::inprocStop();
        restarting = false;
        resetRun();
    }
    /// Whether these lines came up on the window since the start of the test.
    bool shown(std::string_view lines) const { return window.lines().find(lines) != std::string::npos; }
    /// Lets stream time pass. The worker may be writing the count at the same moment, so the jump is repeated until it
    /// holds.
    static void jumpTicks(std::int32_t ticks) {
        const std::int32_t target = tickCount + ticks;
        int held = 0; // polls in a row; a tick that was under way is over after some
        waitFor([&] {
            held = tickCount >= target ? held + 1 : 0;
            if (held == 0)
                tickCount = target;
            return held > 10;
        });
    }
    static void sendUdp(std::string_view text, std::uint16_t port) {
        static platform::Socket socket = [] {
            platform::Socket s;
            s.openUdp();
            return s;
        }();
        socket.sendTo(text, "127.0.0.1", port);
    }
};

TEST_F(RunTest, FromADatagramToAMovingObjectAndBackToNothing) {
    LinkClient link;
    fly(link, 8); // the simulator's time goes out every 15 of its seconds
    EXPECT_TRUE(rtProfEdition);
    EXPECT_TRUE(link.waitForText("Qs123=")) << "the simulator's time for the edition that takes it";
    sendUdp("{\"QNH\":1021}", feedPorts.weather);
    const Straight flight;
    double t = 0;
    const auto report = [&] {
        sendUdp(flight.line(t), feedPorts.traffic);
        t += 5;
    };
    report();
    ASSERT_TRUE(waitFor([] { return readouts.qnh == 1021; }));
    ASSERT_TRUE(waitFor([] { return trafficReader.timestamp != 0.0; }));
    // Thirty seconds of lead, less the time that the test does not want to wait: the tick count is the stream's clock.
    for (int i = 0; i < 5; ++i) {
        jumpTicks(500);
        report();
        ASSERT_TRUE(waitFor([] { return reportQueue.size() == 0; }));
    }
    ASSERT_TRUE(waitFor([&] {
        const auto o = world::inprocObject("DLH4AB");
        return o && o->positionRecords > 20;
    }));
    EXPECT_EQ(world::inprocObject("DLH4AB")->title, "Test A320 DLH");
    const std::filesystem::path plan = world::inprocObject("DLH4AB")->flightPlan;
    EXPECT_TRUE(std::filesystem::exists(plan)) << plan;

    EXPECT_LT(endRun(), 5000);
    EXPECT_FALSE(std::filesystem::exists(plan));
    EXPECT_FALSE(takeUserMoves().stoodAt) << "the worker has heard the client's last word";
    EXPECT_TRUE(link.waitForText("exit\r\n"));
    EXPECT_TRUE(program.logHas("Exiting: NOT YET SET"));
    EXPECT_TRUE(waitFor([] { return world::inprocObjects().empty(); }))
        << "the simulator drops a closed client's objects";
}

TEST_F(RunTest, RunsAgainManyTimesInOneProcessWithoutAThreadOrMemoryLeft) {
    std::size_t threads = 0;
    std::size_t kilobytes = 0;
    for (int run = 0; run < 9; ++run) {
        LinkClient link;
        fly(link);
        sendUdp(Straight{}.line(run), feedPorts.traffic);
        ASSERT_TRUE(waitFor([] { return trafficReader.timestamp != 0.0; }));
        endRun();
        world::inprocStop();
        resetRun();
        if (run == 3) { // allocators and the model have warmed up
            threads = platform::threadCount();
            kilobytes = platform::residentKb();
        }
    }
    EXPECT_EQ(platform::threadCount(), threads);
    EXPECT_LT(platform::residentKb(), kilobytes + 4096);
}

TEST_F(RunTest, WaitsForASimulatorThatComesLate) {
    startRun();
    ASSERT_TRUE(waitFor([] { return statusText() == "Waiting for MSFS 2020 ..."; }));
    startSimulator();
    ASSERT_TRUE(waitFor([] { return statusText() == "Waiting for RealTraffic to connect to Kestrelune ..."; }));
    ASSERT_TRUE(waitFor([] { return readoutText(Readout::userStand) == "EDDM"; })) << "also while the worker waits";
    EXPECT_LT(endRun(), 2000) << "the wait for the traffic source ends on the close click";
}

TEST_F(RunTest, ATrafficSourceThatGoesTakesItsTrafficAlongAndMayComeBack) {
    LinkClient link;
    fly(link);
    const Straight flight;
    for (int i = 0; i < 6; ++i) {
        sendUdp(flight.line(5.0 * i), feedPorts.traffic);
        ASSERT_TRUE(waitFor([&] { return trafficReader.timestamp == 1700000000.0 + 5.0 * i; }));
        jumpTicks(500);
    }
    ASSERT_TRUE(waitFor([] { return world::inprocObject("DLH4AB").has_value(); }));
    EXPECT_TRUE(shown("Ready with 4 liveries of 2 airlines, ")) << window.lines();
    EXPECT_TRUE(waitFor([&] { return program.logHas("=N= behind an aircraft tells what found its livery: "); }));
    link.socket.close();
    ASSERT_TRUE(waitFor([] { return !rtConnected; }));
    EXPECT_TRUE(waitFor([] { return world::inprocObjects().empty(); })) << "while the worker waits for the client";
    EXPECT_TRUE(waitFor([&] { return program.logHas("RealTraffic gone? Wait for RealTraffic to re-connect ..."); }));
    LinkClient again;
    ASSERT_TRUE(again.connect());
    ASSERT_TRUE(waitFor([&] { return program.logHas("RealTraffic re-connected"); }));
    ASSERT_TRUE(again.waitForText("Qs121="));
}

TEST_F(RunTest, ASimulatorThatGoesLeavesTheRunIdleUntilItIsBack) {
    LinkClient link;
    fly(link);
    world::inprocCommand("quit");
    ASSERT_TRUE(waitFor([&] { return program.logHas("Flight not running"); }));
    EXPECT_FALSE(ended);
    startSimulator();
    waitForEnd(); // a simulator that is back ends the run for a fresh one
    EXPECT_TRUE(program.logHas("Exiting: SIMCONNECT ERROR"));
    EXPECT_TRUE(restarting);
}

TEST_F(RunTest, HowARunEndsDecidesWhatFollows) {
    struct Case {
        ExitReason reason;
        std::int32_t delay;
        bool restarts;
        bool scansStay;
        const char* logged;
        const char* shown;
    };
    for (const Case& c :
         {Case{ExitReason::simConnectError, 9, true, false, "Restarting after 9 seconds\n\n\n\n\n",
               "Restarting after 9 seconds\nRestarting after 8 seconds\nRestarting after 7 seconds\n"
               "Restarting after 6 seconds\nRestarting after 5 seconds\nRestarting after 4 seconds\n"
               "Restarting after 3 seconds\nRestarting after 2 seconds\nRestarting after 1 second\n"},
          Case{ExitReason::newSettings, 3, true, true, "Restarting after 3 seconds\n\n\n\n\n",
               "Prepare for a restart ...\nRestarting after 3 seconds\nRestarting after 2 seconds\n"},
          Case{ExitReason::readerError, 0, true, false, "Exiting: READER ERROR", "Prepare for a restart ...\n"},
          Case{ExitReason::userClosedSim, 5, false, true, "Exiting: USER CLOSED SIM", ""},
          Case{ExitReason::newFlight, 45, false, true, "Exiting: NEW FLIGHT",
               "New flight detected, Kestrelune will close, please restart manually ...\n"},
          Case{ExitReason::simWasClosed, 0, false, true, "Exiting: SIM WAS CLOSED", ""}}) {
        window.forget();
        startWaitingRun();
        par::SCAN_LIVERIES.value = true;
        par::SCAN_AIRPORTS.value = true;
        par::DESTINATION.set("EDDM");
        requestExit(c.reason, c.delay);
        requestExit(ExitReason::systemError, 0); // the first reason wins
        waitForEnd();
        EXPECT_EQ(restarting, c.restarts) << exitReasonText(c.reason);
        EXPECT_EQ(par::SCAN_LIVERIES, c.scansStay) << exitReasonText(c.reason);
        EXPECT_EQ(par::SCAN_AIRPORTS, c.scansStay);
        EXPECT_TRUE(par::DESTINATION.empty());
        EXPECT_TRUE(program.logHas(c.logged)) << c.logged;
        EXPECT_TRUE(shown(c.shown)) << c.shown;
        EXPECT_EQ(shown("Restarting after 0"), false);
        EXPECT_EQ(exitRequested, !c.restarts) << "a restart begins with clear flags";
        program.writeParameters("");
        forgetRun();
    }
}

TEST_F(RunTest, AnEndDuringTheScansKeepsItsReason) {
    struct Case {
        void (*act)();
        bool restarts;
    };
    for (const Case& c : {Case{[] { requestExit(ExitReason::newSettings, 2); }, true},
                          Case{[] { requestExit(ExitReason::simWasClosed, 0); }, false}, Case{click, false}}) {
        for (const bool liveries : {true, false}) {
            // What the user or the simulator does while the scans go on, once.
            void (*act)() = c.act;
            window.onLine = [&](std::string_view text) {
                if (liveries && text.starts_with("Scanning ") && act != nullptr)
                    std::exchange(act, nullptr)();
            };
            window.onRepaint = [&] {
                if (!liveries && readouts.thirdpartyFiles == 0 && act != nullptr)
                    std::exchange(act, nullptr)();
            };
            program.writeParameters("");
            if (liveries)
                std::filesystem::rename(path::liveriesScanned, "kept.xml"); // which starts a scan
            startRun();
            waitForEnd();
            EXPECT_EQ(act, nullptr);
            EXPECT_EQ(restarting, c.restarts) << liveries;
            EXPECT_EQ(window.shown().posted.back(), c.restarts ? startWorker : closeProgram);
            if (liveries)
                std::filesystem::rename("kept.xml", path::liveriesScanned);
            window.onLine = nullptr;
            window.onRepaint = nullptr;
            forgetRun();
        }
    }
}

TEST_F(RunTest, AGoodInstallPathCuresAStartThatHasFailed) {
    const std::string community = (program.folder / "Community").string();
    std::filesystem::create_directories(community);
    for (const bool userError : {false, true}) {
        program.writeParameters("", userError ? "" : program.folder.string());
        if (!userError)
            std::ofstream(path::updateServer) << "no such folder\n";
        startRun();
        ASSERT_TRUE(waitFor([] { return !errorText().empty(); }));
        EXPECT_FALSE(waitFor([&] { return ended.load(); }, 100)) << "waits for the user";
        std::filesystem::remove(path::updateServer);
        window.enter(par::MAX_LIVE, "12");
        EXPECT_TRUE(waitFor([] { return par::MAX_LIVE == 12; })) << "boxes work while the error stands";
        window.enter(par::ALL_INSTALL_PATH, community);
        waitForEnd();
        EXPECT_TRUE(restarting);
        EXPECT_EQ(errorText(), "");
        EXPECT_FALSE(shown("User closed Kestrelune"));
        EXPECT_TRUE(shown("Prepare for a restart ...\n"));
        EXPECT_EQ(shown("Restarting after 3 seconds"), userError) << "another failure has set its own delay";
        EXPECT_FALSE(stopWanted());
        startRun();
        EXPECT_TRUE(waitFor([] { return statusText() == "Waiting for MSFS 2020 ..."; })) << "the next run comes up";
        EXPECT_EQ(par::MSFS_INSTALL_PATH.get(), program.folder.string());
        endRun();
        forgetRun();
    }
}

TEST_F(RunTest, ANewRunBeginsWithoutTheReportsOfTheOldOne) {
    reportQueue.setAccepting(true);
    for (int i = 0; i < 100; ++i)
        reportQueue.push({});
    reportQueue.setAccepting(false);
    ASSERT_EQ(reportQueue.size(), 100u);
    readouts.liveries = 4711;
    resetRun();
    EXPECT_EQ(readouts.liveries, 4711) << "the liveries stay loaded";
    EXPECT_EQ(reportQueue.size(), 0u);
}

TEST_F(RunTest, AClickDuringTheCountdownCloses) {
    startWaitingRun();
    setRunSleepScale(1);
    requestExit(ExitReason::simConnectError, 9);
    ASSERT_TRUE(waitFor([] { return statusText().starts_with("Restarting after "); }));
    EXPECT_LT(endRun(), 1500);
    EXPECT_FALSE(restarting);
}

TEST_F(RunTest, AClickBeforeTheCloseDownPreparesNoRestart) {
    requestExit(ExitReason::simConnectError, 9);
    click();
    window.enter(par::MAX_LIVE, "13");
    lf_closingDown();
    EXPECT_EQ(par::MAX_LIVE, 13) << "what the user did last is not lost";
    EXPECT_FALSE(restarting);
    EXPECT_FALSE(shown("Prepare for a restart ..."));
}

TEST_F(RunTest, ACloseDownThatFailsClosesInsteadOfStartingAgainForEver) {
    window.onLine = [](std::string_view text) {
        if (text == "Prepare for a restart ...")
            throw std::runtime_error("no window");
    };
    restarting = true; // as in a run that was a restart itself
    requestExit(ExitReason::simConnectError, 9);
    lf_closingDown();
    EXPECT_FALSE(restarting);
    EXPECT_EQ(window.shown().posted, std::vector{closeProgram});
    EXPECT_EQ(statusText(), "lf_closingDown exception no window");
}

TEST_F(RunTest, WhatTheUserMustReadStaysUntilTheClick) {
    platform::Socket taken;
    const char* step = nullptr;
    ASSERT_EQ(taken.listenTcp("0", step), 0);
    const std::string port = std::to_string(taken.localPort());
    par::PORT_NUMBER.set(port);
    save(par::PORT_NUMBER);
    startSimulator();
    startRun();
    ASSERT_TRUE(waitFor([] { return !errorText().empty(); }));
    EXPECT_TRUE(errorText().starts_with("Bind failed at port " + port)) << errorText();
    EXPECT_FALSE(waitFor([&] { return ended.load(); }, 200)) << "waits for the user";
    endRun();
    EXPECT_TRUE(program.logHas("Exiting: SYSTEM ERROR"));
    EXPECT_FALSE(restarting);
    clearError();
}

TEST_F(RunTest, GenericLiveriesAloneAreTold) {
    resetLiveries();
    FlightFolder::writeLiveries({{"ZZZ", "A320", "White A320"}, {"PVT", "C172", "Own C172"}});
    LinkClient link;
    fly(link);
    EXPECT_TRUE(shown("Ready with 2 liveries of 0 airlines, ")) << window.lines();
    EXPECT_TRUE(waitFor([&] { return program.logHas("All liveries are generic"); })) << program.logText();
    endRun();
    resetLiveries();
}

TEST_F(RunTest, ATakenFeedPortIsToldAndEndsTheRun) {
    platform::Socket taken;
    ASSERT_EQ(taken.openUdp(), 0);
    ASSERT_EQ(taken.bindUdp(feedPorts.weather, false), 0);
    setRunSleepScale(0.2); // the worker looks once, after 0.4 s
    startSimulator();
    startRun();
    LinkClient link;
    ASSERT_TRUE(link.connect());
    ASSERT_TRUE(link.waitForText("Qs999"));
    link.send("no json");
    ASSERT_TRUE(waitFor([] { return readerFailed.load(); }));
    EXPECT_TRUE(waitFor([&] {
        return program.logHas("The WeatherReader has stopped with an error: bind to stream socket failed with error: ");
    }));
    ASSERT_TRUE(waitFor([] { return exitRequested.load(); }));
    EXPECT_EQ(exitReason(), ExitReason::systemError);
    EXPECT_EQ(errorText(), "Reader error");
    const std::string cure = fmt::format("Error Reader error\n          Port {} (UDP)", feedPorts.weather);
    EXPECT_TRUE(waitFor([&] { return program.logHas(cure); })) << program.logText();
    EXPECT_FALSE(rtProfEdition) << "an answer that is no JSON is the standard edition";
}

TEST_F(RunTest, AVersionUpdateTurnsTheScansOn) {
    struct Case {
        const char* stored;
        bool update;
    };
    std::ofstream("install_new_version.exe") << "x";
    for (const Case& c : {Case{"", false}, Case{"10.10.9", false}, Case{"10.11.0", false}, Case{"10.10.8", true},
                          Case{"9.99.99", true}}) {
        par::SCAN_LIVERIES.value = false;
        par::SCAN_AIRPORTS.value = false;
        par::PROGRAM_VERSION.set(c.stored);
        versionUpdateStep();
        EXPECT_EQ(par::PROGRAM_VERSION.get(), "10.10.9") << c.stored;
        EXPECT_EQ(par::SCAN_LIVERIES, c.update) << c.stored;
        EXPECT_EQ(par::SCAN_AIRPORTS, c.update) << c.stored;
    }
    EXPECT_FALSE(std::filesystem::exists("install_new_version.exe"));
    EXPECT_TRUE(program.logHas("This is a version update from 10.10.8 -> 10.10.9"));
}

} // namespace
} // namespace kes::test
