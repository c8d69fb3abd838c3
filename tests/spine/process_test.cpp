// SPDX-License-Identifier: MIT
// The real program, started as a user starts it, on a machine that does not play along.
#include "flight_folder.h"
#include "platform/output.h"
#include "virtual_display.h"
#include "world/simulator/server.h"

namespace kes::test {
namespace {

namespace fs = std::filesystem;
using std::chrono::steady_clock;

struct ProcessTest : testing::Test {
    FlightFolder program{false};
    std::vector<pid_t> started;

    ProcessTest() {
        closeLog(); // the folder is the program's
        fs::remove("Log.txt");
    }
    ~ProcessTest() override {
        for (const pid_t pid : started) {
            kill(pid, SIGKILL);
            waitpid(pid, nullptr, 0);
        }
    }
    /// The program in this folder, on desktop `desktop`, with its output in the descriptor `out` or a file.
    pid_t start(const char* desktop = "a", int out = -1, const char* appData = "appdata", bool window = false) {
        const fs::path runtime = program.folder / desktop;
        fs::create_directories(runtime);
        const std::string runtimeFolder = runtime, roaming = program.folder / appData;
        const pid_t pid = fork();
        if (pid == 0) {
            setenv("XDG_RUNTIME_DIR", runtimeFolder.c_str(), 1);
            setenv("XDG_CONFIG_HOME", roaming.c_str(), 1);
            for (const auto& [stream, name] : {std::pair(1, "out.txt"), {2, "err.txt"}}) {
                const int file = open(name, O_WRONLY | O_CREAT | O_APPEND, 0600);
                dup2(stream == 1 && out >= 0 ? out : file, stream);
            }
            execl(KES_PROGRAM, KES_PROGRAM, window ? nullptr : "--no-window", nullptr);
            _exit(99);
        }
        started.push_back(pid);
        return pid;
    }
    /// The exit code after the user's Ctrl-C.
    int codeOfStopped(pid_t pid) {
        kill(pid, SIGTERM);
        return codeOf(pid);
    }
    /// The exit code; -1 when it does not end within 10 seconds, or by a signal.
    int codeOf(pid_t pid) {
        int status = 0;
        if (!waitFor([&] { return waitpid(pid, &status, WNOHANG) == pid; }, 10000))
            return -1;
        std::erase(started, pid);
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }
    static bool waitForLog(std::string_view text) {
        return waitFor([&] { return readFile("Log.txt").find(text) != std::string::npos; });
    }
    static bool has(const char* file, std::string_view text) { return readFile(file).find(text) != std::string::npos; }
};

constexpr std::string_view up = "RealTraffic not detected at this PC";

TEST_F(ProcessTest, ATerminalThatIsNeverReadHoldsNeitherTheRunNorItsEnd) {
    int ends[2];
    ASSERT_EQ(pipe2(ends, O_CLOEXEC), 0);
    fcntl(ends[1], F_SETFL, O_NONBLOCK);
    while (write(ends[1], "full\n", 5) > 0) {
    }
    fcntl(ends[1], F_SETFL, 0);
    const pid_t pid = start("a", ends[1]);
    EXPECT_TRUE(waitForLog(up));
    EXPECT_EQ(codeOfStopped(pid), 0);
    EXPECT_TRUE(has("Log.txt", "Exiting: "));
    close(ends[0]);
    close(ends[1]);
}

TEST_F(ProcessTest, AnotherDesktopDoesNotShareTheFolder) {
    const pid_t first = start("a");
    ASSERT_TRUE(waitForLog(up));
    for (const auto& [desktop, code] : {std::pair("a", 255), {"b", 1}}) {
        EXPECT_EQ(codeOf(start(desktop)), code) << desktop;
        EXPECT_FALSE(fs::exists("Log0.txt")) << "the log of the first is not touched";
    }
    EXPECT_TRUE(has("err.txt", "another Kestrelune works in the folder ")) << readFile("err.txt");
    EXPECT_EQ(waitpid(first, nullptr, WNOHANG), 0) << "it goes on";
    EXPECT_EQ(codeOfStopped(first), 0);
    const pid_t later = start("b");
    EXPECT_TRUE(waitFor([] { return fs::exists("Log0.txt"); })) << "the lock goes with its process";
    EXPECT_EQ(codeOfStopped(later), 0);
}

TEST_F(ProcessTest, WhatCannotStartSaysWhyOnTheErrorStream) {
    std::ofstream("nofolder") << "a file";
    EXPECT_EQ(codeOf(start("a", -1, "nofolder")), 1);
    EXPECT_TRUE(has("err.txt", "Failed to create directory: ")) << readFile("err.txt");
    EXPECT_TRUE(has("Log.txt", "Failed to create directory: "));
    fs::remove_all("Log.txt");
    fs::create_directory("Log.txt");
    EXPECT_EQ(codeOf(start()), 1);
    EXPECT_TRUE(has("err.txt", "Kestrelune cannot start: ")) << readFile("err.txt");
}

TEST_F(ProcessTest, AFailedStartTellsCauseAndCureAndEndsWithOne) {
    const char* const list = "output/LiveriesScanned.xml";
    const char* const byHand = "<parameter name=\"LIG_AUTOMATIC\" value=\"false\"/>";
    const char* const noSuch =
        "<parameter name=\"LIG_AUTOMATIC\" value=\"false\"/><parameter name=\"lfolder3\" value=\"/no/such\"/>";
    const struct {
        const char* name;
        const char* gone; ///< null: the list of liveries is damaged
        const char *settings, *text, *advice;
    } cases[] = {
        {"wrong folder", "docs", "", "error:  41: Kestrelune must be run from the Kestrelune folder!\n",
         "There is no folder \"docs\" in /"},
        {"half a package", "input", "", "input/my_regcodes", "Was the whole package unpacked"},
        {"no update data", "updates", "", "error:  data base could not be read from on-line?\n",
         "The reference data \"dbase.zip\" was asked for at file:"},
        {"no simulator", "Community", "",
         "error:  150: No install path detected, type full path to your Community folder above, and press Enter\n",
         "write the path of the folder that holds \"Community\" as MSFS_INSTALL_PATH into "},
        {"no packages", list, "", "error:  43: Automatic scan has not found any liveries",
         "/Community\" for AI aircraft packages of AIG"},
        {"no folders", list, byHand, "error:  48: Set lfolder parameter(-s)",
         "it names no folder: add <parameter name=\"lfolder0\" "},
        {"folders that are not there", list, noSuch, "error:  53: no liveries found\n",
         "No such folder: /no/such (lfolder3). Put it right in "},
        {"damaged list", nullptr, "", "error:  52: ", "The list of liveries is damaged, the next start scans anew."},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        FlightFolder fresh(false);
        closeLog();
        fs::remove("Log.txt");
        fs::create_directory("Community");
        if (c.gone != nullptr)
            fs::remove_all(c.gone);
        else
            std::ofstream(list) << "<liv";
        fresh.writeParameters(c.settings, fs::exists("Community") ? fresh.folder.string() : "");
        const pid_t pid = start("a", -1, (fresh.folder / "appdata").c_str());
        ASSERT_TRUE(waitFor([] { return has("err.txt", "Ctrl-C closes the program.\n"); })) << readFile("out.txt");
        EXPECT_EQ(codeOfStopped(pid), 1);
        EXPECT_TRUE(has("err.txt", c.text)) << readFile("err.txt");
        EXPECT_TRUE(has("err.txt", c.advice)) << readFile("err.txt");
        EXPECT_TRUE(has("Log.txt", c.advice)) << "the log tells it as well";
    }
}

TEST_F(ProcessTest, TheOtherSimulatorIsAFailedStartToo) {
    world::Server simulator;
    std::string error;
    ASSERT_TRUE(simulator.start(overTheField(), {}, error)) << error;
    std::ofstream("SimConnect.cfg") << "[SimConnect]\nPort=" << simulator.port() << '\n';
    program.writeParameters("<parameter name=\"MSFS_2020\" value=\"false\"/>"
                            "<parameter name=\"MSFS_2024_INSTALL_PATH\" value=\"/\"/>");
    const pid_t pid = start();
    ASSERT_TRUE(waitFor([] { return has("err.txt", "Ctrl-C closes the program.\n"); })) << readFile("out.txt");
    EXPECT_TRUE(has("err.txt", "error:  71: MSFS 2020 is running")) << readFile("err.txt");
    EXPECT_EQ(codeOfStopped(pid), 1);
}

TEST_F(ProcessTest, DoubtfulSettingsAreToldAndTheRunGoesOn) {
    program.writeParameters("<parameter name=\"MAX_LIVE\" value=\"twenty\"/><parameter name=\"LOG\" value=\"on\"/>"
                            "<parameter name=\"LATERAL_RANGE\" value=\"4000\"/>"
                            "<parameter name=\"LATTERAL_RANGE\" value=\"40\"/>");
    const pid_t pid = start();
    ASSERT_TRUE(waitForLog(up));
    for (const char* told : {"MAX_LIVE=\"twenty\" in parameters.xml is no whole number, 0 is used",
                             "LOG=\"on\" in parameters.xml is neither true nor false, false is used",
                             "LATERAL_RANGE=\"4000\" in parameters.xml lies beyond the limits 2 to 100, 100 is used",
                             "\"LATTERAL_RANGE\" in parameters.xml is no setting", "There is no Community folder in "})
        EXPECT_TRUE(waitFor([&] { return has("out.txt", told) && has("Log.txt", told); })) << told;
    EXPECT_EQ(codeOfStopped(pid), 0);
}

TEST_F(ProcessTest, ADisplayThatGoesAwayCostsTheWindowAlone) {
#ifdef __SANITIZE_THREAD__
    GTEST_SKIP() << "the toolkit's threads are not instrumented, and reports about them end the program";
#endif
    constexpr std::string_view gone = "The display has gone, the run goes on without a window";
    Display display;
    if (const std::string none = display.start(); !none.empty())
        GTEST_SKIP() << none;
    program.writeParameters("<parameter name=\"MAIN_WINDOW_X\" value=\"5000\"/>");
    const pid_t pid = start("a", -1, "appdata", true);
    ASSERT_TRUE(waitForLog(up));
    if (has("out.txt", "status: "))
        GTEST_SKIP() << "built without the window";
    user("search --sync --onlyvisible --name '^Kestrelune$' windowactivate --sync");
    EXPECT_TRUE(waitFor([&] {
        user("key alt+o"); // once the controls are on
        return waitFor([&] { return program.stored("LOG") == "false"; }, 3000);
    }));
    display.endServer();
    EXPECT_TRUE(waitFor([&] { return has("out.txt", fmt::format("status: {}\n", gone)); }));
    EXPECT_TRUE(waitForLog(gone));
    EXPECT_EQ(codeOfStopped(pid), 0);
    EXPECT_TRUE(has("out.txt", "status: Close window button clicked, closing Kestrelune ...\n"));
    EXPECT_TRUE(has("Log.txt", "Exiting: NOT YET SET"));
    EXPECT_EQ(program.stored("LOG"), "false");
    EXPECT_NE(program.stored("MAIN_WINDOW_X"), "5000") << "it was pulled back onto the screen, and that is remembered";
}

TEST_F(ProcessTest, AFullDiskIsToldOnTheStatus) {
    fs::create_symlink("/dev/full", "Log.txt");
    const pid_t pid = start();
    EXPECT_TRUE(waitFor([] {
        return has("out.txt", "status: Log.txt cannot be written: No space left on device, is the disk full?\n");
    })) << readFile("out.txt");
    EXPECT_TRUE(waitFor([] { return has("out.txt", up); })) << "the run goes on without a log";
    EXPECT_EQ(codeOfStopped(pid), 0);
}

} // namespace
} // namespace kes::test
