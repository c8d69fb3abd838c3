// SPDX-License-Identifier: MIT
#include "platform/system.h"
#include "support.h"

#include <atomic>
#include <csignal>
#include <cstdlib>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <tuple>

namespace kes::platform {
namespace {

namespace fs = std::filesystem;

/// Runs `body` in a process of its own and gives its exit code.
int inProcess(const std::function<int()>& body) {
    const pid_t child = fork();
    if (child == 0)
        _exit(body());
    int status = 0;
    waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

TEST(InstanceLock, OneProcessAtATimeAndFreedByItsEnd) {
    const test::ProgramFolder folder;
    for (const char* place : {"XDG_RUNTIME_DIR", "TMPDIR"}) {
        unsetenv("XDG_RUNTIME_DIR");
        setenv(place, folder.folder.c_str(), 1);
        const auto lock = [] { return takeInstanceLock("Local\\$Test$") ? 1 : 0; };
        EXPECT_EQ(inProcess(lock), 1) << place;
        // The first process is gone, so is its lock.
        int told[2];
        ASSERT_EQ(pipe(told), 0);
        const pid_t holder = fork();
        if (holder == 0) {
            const char result = lock() == 1 ? '1' : '0';
            if (write(told[1], &result, 1) == 1)
                pause();
            _exit(1);
        }
        char held = 0;
        ASSERT_EQ(read(told[0], &held, 1), 1);
        EXPECT_EQ(held, '1') << place;
        EXPECT_EQ(inProcess(lock), 0) << place << ": a second instance";
        EXPECT_EQ(inProcess([] { return takeInstanceLock("Other") ? 1 : 0; }), 1) << place << ": another name";
        ASSERT_EQ(kill(holder, SIGKILL), 0);
        waitpid(holder, nullptr, 0);
        EXPECT_EQ(inProcess(lock), 1) << place << ": after the holder was killed";
        close(told[0]);
        close(told[1]);
        unsetenv(place);
    }
}

TEST(FolderLock, OneProcessInAFolderWhateverItsDesktop) {
    const test::ProgramFolder folder;
    const auto lock = [] { return takeFolderLock("x.lock") ? 1 : 0; };
    const auto held = [&] { // in a first process, while a second asks
        return inProcess([&] { return lock() == 1 ? inProcess(lock) : 2; });
    };
    EXPECT_EQ(held(), 0) << "a second process";
    EXPECT_EQ(inProcess(lock), 1) << "the first is gone, so is its lock";
    EXPECT_EQ(inProcess([] {
                  takeFolderLock("x.lock");
                  return inProcess([] { return takeFolderLock("other.lock") ? 1 : 0; });
              }),
              1)
        << "another folder";
    // What is no file that could be locked must not keep the only instance from starting, nor hang it.
    fs::create_directory("folder.lock");
    ASSERT_EQ(mkfifo("pipe.lock", 0600), 0);
    EXPECT_TRUE(takeFolderLock("folder.lock"));
    EXPECT_TRUE(takeFolderLock("nowhere/x.lock"));
    EXPECT_EQ(inProcess([] { return takeFolderLock("pipe.lock") ? 1 : 0; }), 1);
}

std::atomic<int> lastWords{0};

TEST(Crashes, RunTheHandlerOnceAndStillEndTheProcess) {
    for (const int number : {SIGSEGV, SIGABRT, SIGFPE}) {
        int words[2];
        ASSERT_EQ(pipe(words), 0);
        lastWords = words[1];
        const pid_t child = fork();
        if (child == 0) {
            const rlimit noCore{};
            setrlimit(RLIMIT_CORE, &noCore);
            for (const int each : {SIGSEGV, SIGABRT, SIGFPE})
                std::signal(each, SIG_DFL); // sanitizers have their own
            watchCrashes([] { [[maybe_unused]] const ssize_t told = write(lastWords, "x", 1); });
            if (number == SIGABRT)
                std::abort();
            raise(number);
            _exit(0);
        }
        int status = 0;
        waitpid(child, &status, 0);
        close(words[1]);
        char text[8];
        EXPECT_EQ(read(words[0], text, sizeof text), 1) << number;
        EXPECT_EQ(std::tuple(WIFSIGNALED(status), WTERMSIG(status)), std::tuple(true, number)) << number;
        close(words[0]);
    }
}

TEST(KnownFolders, FollowTheEnvironmentAndFallBackToTheHome) {
    const char* const home = std::getenv("HOME");
    const std::string homeBefore = home != nullptr ? home : "";
    setenv("HOME", "/home/kim", 1);
    unsetenv("XDG_CONFIG_HOME");
    unsetenv("XDG_DATA_HOME");
    EXPECT_EQ(roamingFolder(), "/home/kim/.config");
    EXPECT_EQ(localFolder(), "/home/kim/.local/share");
    setenv("XDG_CONFIG_HOME", "relative", 1);
    EXPECT_EQ(roamingFolder(), "/home/kim/.config");
    setenv("XDG_CONFIG_HOME", "/etc/kim", 1);
    EXPECT_EQ(roamingFolder(), "/etc/kim");
    unsetenv("XDG_CONFIG_HOME");
    unsetenv("HOME");
    EXPECT_TRUE(roamingFolder().is_absolute()) << "the account knows the home as well";
    if (!homeBefore.empty())
        setenv("HOME", homeBefore.c_str(), 1);
}

std::atomic<int> closes{0}, switches{0};

TEST(Signals, ReachTheirHandlersAndNoThreadDies) {
    // In a process of its own, for the mask and the watching thread stay.
    const int code = inProcess([] {
        watchCloseSignals([] { ++closes; });
        watchSwitchSignal([] { ++switches; });
        std::atomic<bool> stop{false};
        std::thread other([&] {
            while (!stop)
                std::this_thread::yield();
        });
        int expected = 0;
        bool good = true;
        for (const int number : {SIGINT, SIGTERM, SIGHUP, SIGINT}) {
            kill(getpid(), number);
            kill(getpid(), SIGUSR1);
            ++expected;
            good = good && test::waitFor([&] { return closes == expected && switches == expected; });
        }
        stop = true;
        other.join();
        return good ? 0 : 1;
    });
    EXPECT_EQ(code, 0);
}

TEST(Utf8, RoundTripsWhatIsTextAndRefusesWhatIsNot) {
    for (const std::string_view good : {"", "plain", "\xC3\xA9t\xC3\xA9", "\xE2\x82\xAC", "\xF0\x9F\x9B\xAB x",
                                        "\xED\x9F\xBF", "\xEE\x80\x80", "\xF4\x8F\xBF\xBF"})
        EXPECT_EQ(toUtf8(toUtf16(good)), good);
    EXPECT_EQ(toUtf16("\xF0\x9F\x9B\xAB"), u"\U0001F6EB");
    for (const std::string_view bad : {"\x80", "\xC3", "\xC0\x80", "\xE0\x80\x80", "\xF0\x8F\xBF\xBF", "\xED\xA0\x80",
                                       "\xF4\x90\x80\x80", "\xF0\x9F\x9B", "\xE2\x28\xA1", "\xFF"}) {
        try {
            toUtf16(bad);
            ADD_FAILURE() << "taken: " << bad.size() << " bytes";
        } catch (const win32::Utf8ConversionException& refused) {
            EXPECT_EQ(refused.errorCode, 1113u);
        }
    }
    for (const std::u16string& bad :
         {std::u16string(1, 0xD83D), std::u16string(1, 0xDEEB), std::u16string{0xD83D, u'x'}})
        EXPECT_THROW(toUtf8(bad), win32::Utf8ConversionException);
    EXPECT_EQ(pathText(pathFrom("a/\xC3\xBC.xml")), "a/\xC3\xBC.xml");
}

} // namespace
} // namespace kes::platform
