// SPDX-License-Identifier: MIT
#ifndef _WIN32

#include "platform/output.h"
#include "platform/system.h"
#include "platform/system_os.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <fstream>
#include <initializer_list>
#include <pthread.h>
#include <pwd.h>
#include <sys/file.h>
#include <system_error>
#include <thread>
#include <unistd.h>
#include <utility>

namespace kes::platform {

namespace fs = std::filesystem;

namespace {

/// Closes on every way out; a close that tells of a late write error is asked for by `closeNow`.
class File {
public:
    explicit File(int handle) : handle_(handle) {}
    ~File() { closeNow(); }
    File(File&& other) noexcept : handle_(other.release()) {}
    File& operator=(File&&) = delete;

    int get() const { return handle_; }
    int release() { return std::exchange(handle_, -1); }
    bool closeNow() { return handle_ < 0 || ::close(std::exchange(handle_, -1)) == 0; }

private:
    int handle_;
};

std::string reason(const char* step) {
    return std::string(step) + ": " + std::system_category().message(errno);
}

using os::absoluteFrom;
using os::homeFolder;

fs::path homeBelow(const char* variable, const char* below) {
    if (fs::path folder = absoluteFrom(variable); !folder.empty())
        return folder;
    const fs::path home = homeFolder();
    return home.empty() ? fs::path() : home / below;
}

fs::path lockFolder() {
    std::error_code error;
    if (fs::path folder = absoluteFrom("XDG_RUNTIME_DIR"); !folder.empty() && fs::is_directory(folder, error))
        return folder;
    fs::path folder = fs::temp_directory_path(error);
    return error ? fs::path("/tmp") : folder;
}

/// Takes the lock of an open file and keeps it to the end of the process. False when another process holds it: a lock
/// that cannot be asked for must not keep the only instance from starting.
bool keepLock(File file) {
    if (file.get() < 0)
        return true;
    while (::flock(file.get(), LOCK_EX | LOCK_NB) != 0) {
        if (errno == EWOULDBLOCK)
            return false;
        if (errno != EINTR)
            return true;
    }
    file.release();
    return true;
}

sigset_t setOf(std::initializer_list<int> numbers) {
    sigset_t signals;
    sigemptyset(&signals);
    for (const int number : numbers)
        sigaddset(&signals, number);
    return signals;
}

/// Blocked here and in every thread that is started later, the signals wait for the one thread that asks for them.
void watchSignals(std::initializer_list<int> numbers, const char* name, void (*act)()) {
    const sigset_t signals = setOf(numbers);
    // A watching thread must not be the one that the signal of another finds open to it: it would end the process.
    const sigset_t watched = setOf({SIGINT, SIGTERM, SIGHUP, SIGUSR1});
    sigset_t before;
    ::pthread_sigmask(SIG_BLOCK, &watched, &before);
    std::thread([signals, name, act] {
        nameThread(name);
        for (;;) {
            int number = 0;
            if (::sigwait(&signals, &number) == 0)
                act();
        }
    }).detach();
    ::pthread_sigmask(SIG_SETMASK, &before, nullptr);
    ::pthread_sigmask(SIG_BLOCK, &signals, nullptr);
}

constexpr std::array crashSignals{SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGABRT};
std::array<struct sigaction, crashSignals.size()> actionsBefore;
void (*crashHandler)() = nullptr;

void onCrash(int number) {
    // Once only, and only for the first thread that fails.
    static std::atomic_flag begun = ATOMIC_FLAG_INIT;
    if (!begun.test_and_set())
        crashHandler();
    for (std::size_t i = 0; i < crashSignals.size(); ++i)
        if (crashSignals[i] == number)
            ::sigaction(number, &actionsBefore[i], nullptr);
    // Comes in as soon as this returns, and then does what it would have done.
    ::raise(number);
}

} // namespace

bool takeFolderLock(const fs::path& file) {
    constexpr int flags = O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK;
    File lock(::open(file.c_str(), O_RDWR | O_CREAT | flags, 0666));
    // Made by another user, it can still be locked.
    if (lock.get() < 0 && errno == EACCES)
        return keepLock(File(::open(file.c_str(), O_RDONLY | flags)));
    return keepLock(std::move(lock));
}

bool takeInstanceLock(std::string_view name) {
    std::string fileName;
    for (const char c : name) {
        const bool safe = (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z');
        fileName += safe ? c : '_';
    }
    fileName += "." + std::to_string(::getuid()) + ".lock";
    const fs::path path = lockFolder() / fileName;
    return keepLock(File(::open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600)));
}

fs::path roamingFolder() {
    return homeBelow("XDG_CONFIG_HOME", ".config");
}
fs::path localFolder() {
    return homeBelow("XDG_DATA_HOME", ".local/share");
}

fs::path executableFolder() {
    std::error_code error;
    return fs::read_symlink("/proc/self/exe", error).parent_path();
}

namespace os {

fs::path absoluteFrom(const char* variable) {
    // By the desktop's rules a relative value is to be ignored.
    const char* value = std::getenv(variable);
    return value != nullptr && value[0] == '/' ? fs::path(value) : fs::path();
}

fs::path homeFolder() {
    if (fs::path home = absoluteFrom("HOME"); !home.empty())
        return home;
    // Services and some launchers start without HOME; the account still tells.
    std::array<char, 4096> buffer{};
    passwd account{};
    passwd* found = nullptr;
    if (::getpwuid_r(::getuid(), &account, buffer.data(), buffer.size(), &found) == 0 && found != nullptr &&
        found->pw_dir != nullptr && found->pw_dir[0] == '/')
        return found->pw_dir;
    return {};
}

bool writeThrough(const fs::path& path, std::string_view content, std::string& error) {
    // Without waiting: in the place of the file may be a pipe that nobody reads.
    File file(::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK, 0666));
    if (file.get() < 0) {
        error = reason("open");
        return false;
    }
    while (!content.empty()) {
        const ssize_t written = ::write(file.get(), content.data(), content.size());
        if (written < 0 && errno == EINTR)
            continue;
        if (written <= 0) {
            error = reason("write");
            return false;
        }
        content.remove_prefix(static_cast<std::size_t>(written));
    }
    // Without this a power cut may leave the new name with no content behind it.
    if (::fsync(file.get()) != 0) {
        error = reason("fsync");
        return false;
    }
    if (!file.closeNow()) {
        error = reason("close");
        return false;
    }
    return true;
}

bool moveOver(const fs::path& from, const fs::path& to, std::string& error) {
    if (::rename(from.c_str(), to.c_str()) != 0) {
        error = reason("rename");
        return false;
    }
    // The new name is in place; whether it outlives a power cut at once is for the folder to say, and no failure.
    const fs::path folder = to.has_parent_path() ? to.parent_path() : fs::path(".");
    const File handle(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (handle.get() >= 0)
        ::fsync(handle.get());
    return true;
}

} // namespace os

// The kernel wakes sleepers on this system within a fraction of a millisecond as it is.
void beginFineTimer() {}
void endFineTimer() {}

void watchCloseSignals(void (*onClose)()) {
    // A terminal that has gone must not take the program with it before it has closed down.
    surviveFailedWrites();
    watchSignals({SIGINT, SIGTERM, SIGHUP}, "Close signals", onClose);
}

void watchSwitchSignal(void (*onSwitch)()) {
    watchSignals({SIGUSR1}, "Switch signal", onSwitch);
}

void watchCrashes(void (*beforeEnd)()) {
    crashHandler = beforeEnd;
    struct sigaction action {};
    action.sa_handler = onCrash;
    for (std::size_t i = 0; i < crashSignals.size(); ++i)
        ::sigaction(crashSignals[i], &action, &actionsBefore[i]);
}

void nameThread(const char* name) {
    // The system takes 15 characters and refuses longer names as a whole.
    std::array<char, 16> cut{};
    std::strncpy(cut.data(), name, cut.size() - 1);
    ::pthread_setname_np(::pthread_self(), cut.data());
}

std::size_t residentKb() {
    std::size_t size = 0;
    std::size_t resident = 0;
    std::ifstream file("/proc/self/statm");
    if (!(file >> size >> resident))
        return 0;
    return resident * static_cast<std::size_t>(::sysconf(_SC_PAGESIZE)) / 1024;
}

std::size_t threadCount() {
    std::error_code error;
    const fs::directory_iterator threads("/proc/self/task", error);
    return error ? 0 : static_cast<std::size_t>(std::distance(begin(threads), fs::directory_iterator()));
}

} // namespace kes::platform

#endif
