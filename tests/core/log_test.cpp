// SPDX-License-Identifier: MIT
#include "core/clock.h"
#include "core/log.h"
#include "core/run_state.h"
#include "full_disk.h"
#include "platform/output.h"
#include "platform/system.h"
#include "support.h"
#include "thrown.h"
#include "window_backend.h"

#include <cerrno>
#include <cmath>
#include <cstdlib>
#include <ctime>
#include <fcntl.h>
#include <optional>
#include <sys/stat.h>
#include <sys/wait.h>
#include <tuple>

namespace kes {
namespace {

namespace fs = std::filesystem;

/// Fresh flags, status and log; the message line is recorded.
struct LogTest : testing::Test {
    LogTest() {
        resetRunFlags();
        resetStatus();
        window.forget();
    }
    ~LogTest() override {
        setWallClockMs(-1);
        resetRunFlags();
        resetStatus();
    }
    /// What came to the message line since the last `forget`.
    std::vector<test::TestWindow::Line> drawn() const { return window.shown().lines; }
    test::TestWindow window;
    test::ProgramFolder folder;
};

TEST_F(LogTest, FourStartsLeaveThreeFilesNewestFirst) {
    setWallClockMs(1764028800000); // Tue Nov 25 2025, 00:00:00
    for (const char* start : {"first", "second", "third", "fourth"}) {
        openLog("Log.txt");
        log(start);
    }
    const std::string head = "Tue Nov 25 00:00:00 2025 (utc) Kestrelune version 10.10.9 for MSFS 2020/2024\n";
    EXPECT_EQ(test::readFile("Log.txt"), head + "fourth\n");
    EXPECT_EQ(test::readFile("Log0.txt"), head + "third\n");
    EXPECT_EQ(test::readFile("Log00.txt"), head + "second\n");
    closeLog();
    log("after the end");
    EXPECT_EQ(test::readFile("Log.txt"), head + "fourth\n");
    fs::create_directory("v1.2");
    for (int i = 0; i < 2; ++i)
        openLog("v1.2/my.log.txt");
    EXPECT_TRUE(fs::exists("v1.2/my.log0.txt")) << "at the last dot";
}

TEST_F(LogTest, OpeningFailsLoudlyAndTheProgramCanGoOn) {
    EXPECT_EQ(test::thrownBy([] { openLog("nowhere/Log.txt"); }), "Failed to write file nowhere/Log.txt");
    fs::create_directory("Blocked.txt");
    EXPECT_THROW(openLog("Blocked.txt"), fs::filesystem_error);
    log("nowhere to go");
    openLog("Log.txt");
    log("again");
    EXPECT_TRUE(folder.logHas("again\n"));
}

TEST_F(LogTest, AFullDiskCostsTheLinesThatDidNotFitAndNothingElse) {
    platform::surviveFailedWrites();
    flushLog();
    std::optional<test::FullDisk> full(200);
    log(std::string(500, 'x'));
    log("lost as well");
    EXPECT_TRUE(flushLog());
    EXPECT_EQ(logTrouble(), platform::outputErrorText(EFBIG));
    showStatus("still shown", true);
    EXPECT_EQ(statusText(), "still shown");
    EXPECT_TRUE(flushLog());
    full.reset();
    log("room again");
    EXPECT_TRUE(folder.logHas("\n===> 3 lines lost here, the log could not be written: File too large\nroom again\n"));
    EXPECT_EQ(logTrouble(), "");
    EXPECT_EQ(folder.logCount("lost"), 1u);
}

TEST_F(LogTest, APipeAsLogHoldsNoOne) {
    platform::surviveFailedWrites(); // as the program does
    fs::remove("Log.txt");
    ASSERT_EQ(mkfifo("Log.txt", 0600), 0);
    EXPECT_THROW(openLog("Log.txt"), std::runtime_error) << "nobody reads";
    const int reader = open("Log.txt", O_RDONLY | O_NONBLOCK);
    openLog("Log.txt");
    EXPECT_EQ(test::readFile("Log0.txt"), "") << "there is nothing to keep";
    const auto start = std::chrono::steady_clock::now();
    const std::string line(99, 'x');
    for (int i = 0; i < 100000; ++i)
        log(line);
    EXPECT_FALSE(flushLog(10));
    closeLog(); // waits two seconds for a reader
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(10));
    close(reader);
}

TEST_F(LogTest, TheLastLinesBeforeACrashAreInIt) {
    closeLog(); // its thread would not be there in the child
    const pid_t child = fork();
    if (child == 0) {
        const rlimit noCore{};
        setrlimit(RLIMIT_CORE, &noCore);
        openLog("Crash.txt");
        std::signal(SIGABRT, SIG_DFL);
        platform::watchCrashes(drainLogAtCrash);
        for (int i = 0; i < 20000; ++i)
            log("a line before the crash");
        log("the last line");
        std::abort();
    }
    int status = 0;
    waitpid(child, &status, 0);
    EXPECT_EQ(std::tuple(WIFSIGNALED(status), WTERMSIG(status)), std::tuple(true, SIGABRT));
    EXPECT_TRUE(test::readFile("Crash.txt").ends_with("\nthe last line\n"));
}

TEST_F(LogTest, ExceptionsOfTextsTellTheirCode) {
    EXPECT_EQ(exceptionText("lf_closingDown", std::runtime_error("no window")), "lf_closingDown exception no window");
    std::string told;
    try {
        platform::toUtf16("\xFF");
    } catch (const std::exception& e) {
        told = exceptionText("updateLiveAc", e);
    }
    EXPECT_EQ(told, "updateLiveAc conversion exception Text is not valid UTF-8, error code: 1113");
}

TEST_F(LogTest, LinesKeepTheirLeadAndStayWholeFromManyThreads) {
    logWarning("watch");
    logIndented("progress");
    EXPECT_TRUE(folder.logHas("\n===> watch\n          progress\n"));
    std::vector<std::thread> writers;
    for (const char c : {'a', 'b', 'c', 'd'})
        writers.emplace_back([line = "line of " + std::string(30, c)] {
            for (int i = 0; i < 200; ++i)
                log(line);
        });
    for (std::thread& writer : writers)
        writer.join();
    for (const char c : {'a', 'b', 'c', 'd'})
        EXPECT_EQ(folder.logCount("line of " + std::string(30, c) + "\n"), 200u);
}

TEST_F(LogTest, NothingIsLoggedOnceTheRunIsToEnd) {
    for (std::atomic<bool>* flag : {&exitRequested, &userClosed}) {
        *flag = true;
        logUnlessClosing("socket closed");
        showStatus("closing ...", true);
        showError("lost");
        clearError();
        *flag = false;
    }
    for (const char* text : {"socket closed", "closing ...", "lost"})
        EXPECT_FALSE(folder.logHas(text)) << text;
    EXPECT_EQ(drawn().size(), 6u) << "the window shows them all the same";
}

TEST_F(LogTest, AnErrorHidesEveryStatusUntilItIsCleared) {
    showStatus("loading", true);
    showStatus("silent", false);
    showError("no path");
    showStatus("later", true);
    clearStatus();
    ageStatus();
    EXPECT_EQ(errorText(), "no path");
    EXPECT_EQ(statusText(), "");
    ASSERT_EQ(drawn().size(), 3u);
    EXPECT_EQ(drawn().back().text, "no path");
    EXPECT_TRUE(drawn().back().isError);
    clearError();
    EXPECT_EQ(drawn().back().text, "") << "the line is wiped";
    showStatus("back", false);
    EXPECT_EQ(statusText(), "back");
    EXPECT_FALSE(drawn().back().isError);
    EXPECT_TRUE(folder.logHas("\nloading\nError no path\n"));
    EXPECT_FALSE(folder.logHas("silent") || folder.logHas("later"));
}

TEST_F(LogTest, AStatusLives25SecondsOfRunTime) {
    const auto age = [](int seconds) {
        for (int i = 0; i < seconds; ++i)
            ageStatus();
    };
    // Shown at run time 0, it counts as shown at 1.
    showStatus("from the start", false);
    age(25);
    EXPECT_EQ(statusText(), "from the start");
    age(1);
    EXPECT_EQ(statusText(), "");
    EXPECT_EQ(drawn().back().text, "");

    showStatus("one", false);
    age(20);
    showStatus("two", false);
    age(24);
    EXPECT_EQ(statusText(), "two") << "a new text starts anew";
    age(1);
    EXPECT_EQ(statusText(), "");

    showStatus("wiped", false);
    clearStatus();
    window.forget();
    age(30);
    EXPECT_TRUE(drawn().empty()) << "with nothing up there is nothing to clear";
}

TEST_F(LogTest, TimesAreUtcOnTheGregorianCalendar) {
    // The C library is the oracle for a day in each month of many years.
    for (std::int64_t t = -5000000000; t < 20000000000; t += 86400 * 17 + 3671) {
        const std::time_t time = t;
        std::tm parts{};
        gmtime_r(&time, &parts);
        char text[64];
        std::strftime(text, sizeof text, "%a %b %d %H:%M:%S %Y", &parts);
        ASSERT_EQ(dateTime(t), text);
    }
}

TEST_F(LogTest, TheTrafficClockNeedsTheEditionAndATime) {
    setWallClockMs(3600 * 1000);
    EXPECT_EQ(timeStamp(), "01:00:00");
    const struct {
        bool edition;
        double traffic;
        const char* text;
    } cases[] = {{true, 7322.9, "02:02:02"},
                 {true, 0.0, "01:00:00"},
                 {false, 7322.9, "01:00:00"},
                 {true, 1e300, "01:00:00"},
                 {true, NAN, "01:00:00"}};
    for (const auto& row : cases) {
        rtProfEdition = row.edition;
        EXPECT_EQ(hhmmTime(row.traffic), row.text) << row.traffic;
    }
}

TEST(SocketErrorText, KnowsThePublishedCodes) {
    for (const std::string text :
         {"10004 Interrupted system call", "10024 Too many open sockets", "10035 Operation would block",
          "10040 Messenger too long", "11001 Host not found", "0 No error", "10005", "-3"})
        EXPECT_EQ(socketErrorText(std::stoi(text)), text);
}

} // namespace
} // namespace kes
