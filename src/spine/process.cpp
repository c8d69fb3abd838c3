// SPDX-License-Identifier: MIT
#include "spine/process.h"

#include "core/change.h"
#include "core/clock.h"
#include "core/folders.h"
#include "core/log.h"
#include "core/parameters.h"
#include "core/run_state.h"
#include "core/version.h"
#include "core/window.h"
#include "feed/recorder.h"
#include "platform/output.h"
#include "platform/system.h"
#include "spine/control_rules.h"
#include "spine/worker.h"
#include "window/desktop_window.h"
#include "window/terminal_window.h"

#include <algorithm>
#include <atomic>
#include <filesystem>
#include <fmt/chrono.h>
#include <fmt/format.h>
#include <thread>

namespace kes {

namespace {

// UI thread.
std::thread worker;
bool closeClicked = false;
bool errorStood = false; ///< when the user closed; what a start that is broken off says afterwards is no error
bool onTerminal = false;

/// A signal may come before there is a window to post to.
std::atomic<bool> closeAsked{false}, windowStands{false};

/// The longest wait for a terminal that does not read, milliseconds.
constexpr int endMs = 500;
/// The longest wait for a disk that takes the first line of the log.
constexpr int firstLineMs = 3000;

void closeClick() {
    showStatus(fmt::format("Close window button clicked, closing {} ...", programName), false);
    if (!closeClicked)
        errorStood = !errorText().empty();
    closeClicked = true;
    userClosed = true;
    exitRequested = true;
}

void rememberWindowPlace() {
    std::int32_t left = 0;
    std::int32_t top = 0;
    if (!windowRectangle(left, top))
        return;
    change(par::MAIN_WINDOW_X, left);
    change(par::MAIN_WINDOW_Y, top);
}

/// For what goes wrong before there is a window. A terminal that does not read costs the line, not the end.
void complain(const std::string& text) {
    platform::Output terminal(platform::Output::Standard::error);
    std::string_view rest = text;
    while (!rest.empty()) {
        const platform::Output::Result written = terminal.write(rest, endMs);
        if (written.bytes == 0)
            return;
        rest.remove_prefix(written.bytes);
    }
}

/// A full disk takes the log's file, but none of its lines.
void tellWhenLogFails() {
    if (flushLog(firstLineMs) && logTrouble().empty())
        return;
    const std::string reason = logTrouble();
    showStatus(fmt::format("{} cannot be written{}{}, is the disk full?", platform::pathText(path::log),
                           reason.empty() ? "" : ": ", reason),
               false);
}

/// The window that this machine can show: on a display, or on the terminal. The reason, where one was expected.
std::string chooseWindow(bool wanted) {
    std::string reason;
    if (wanted && useDesktopWindow(reason))
        return reason;
    onTerminal = true;
    setWindowBackend(terminalBackend(platform::Output(platform::Output::Standard::out),
                                     platform::Output(platform::Output::Standard::error)));
    return reason;
}

void beginRecording(const std::filesystem::path& file) {
    std::string reason;
    const std::string name = platform::pathText(file);
    if (startRecording(file, reason))
        showStatus(fmt::format("Recording what the traffic source sends to {}", name), true);
    else
        showStatus(fmt::format("The recording {} cannot be written: {}", name, reason), true);
}

void switchRecording() {
    if (isRecording()) {
        stopRecording();
        showStatus("Recording ended", true);
        return;
    }
    beginRecording(
        fmt::format("Recording-{:%Y%m%d-%H%M%S}.rttfc.gz", fmt::gmtime(static_cast<std::time_t>(wallClock()))));
}

int initInstance(const std::filesystem::path& recording) {
    try {
        openWindow();
    } catch (...) {
        log("initInstance failed");
        throw;
    }
    tellWhenLogFails();
    try {
        std::filesystem::create_directories(userDataFolder());
    } catch (const std::filesystem::filesystem_error& e) {
        const std::string text = fmt::format("Failed to create directory: {}", e.what());
        log(text);
        complain(text + "\n");
        return 1;
    }
    if (!recording.empty())
        beginRecording(recording);
    postToWindow(startWorker);
    const int code = runWindow(closeClick);
    // Who runs it from a shell or a script has no window that would have shown what went wrong.
    // An error of the simulator's thread stays up until the close click, without a reason for the run to end.
    const bool failed = exitReason() == ExitReason::systemError || errorStood;
    return code == 0 && onTerminal && failed ? 1 : code;
}

} // namespace

void startWorker() {
    // The flags of a click that comes while a run is being reset are wiped with those of the run.
    if (closeClicked) {
        closeProgram();
        return;
    }
    // The old worker's last act was to post this, so there is next to nothing to wait for.
    if (worker.joinable())
        worker.join();
    worker = std::thread(workerMain);
}

void closeProgram() {
    if (worker.joinable())
        worker.join();
    applyControlChanges(); // those that no worker was left for
    rememberWindowPlace();
    stopRecording();
    log(dateTime(wallClock()));
    closeLog();
    quitWindow(0);
}

int runProcess(bool window, const std::filesystem::path& recording) {
    if (!platform::takeInstanceLock("Local\\$Kestrelune$"))
        return -1;
    if (!platform::takeFolderLock(path::instanceLock)) {
        complain(fmt::format("another {} works in the folder {}; close it, or name another folder with --folder\n",
                             programName, platform::pathText(std::filesystem::current_path())));
        return 1;
    }
    // Before the toolkit starts threads, which would not know that these signals are asked for.
    platform::watchCloseSignals([] {
        closeAsked = true;
        if (windowStands)
            postToWindow(closeClick);
    });
    // Without a window there is no log either that could tell of a recording.
    platform::watchSwitchSignal([] {
        if (windowStands)
            postToWindow(switchRecording);
    });
    const std::string noWindow = chooseWindow(window);
    windowStands = true;
    if (closeAsked)
        postToWindow(closeClick);
    try {
        openLog(path::log);
        if (!noWindow.empty())
            log(fmt::format("no window, since {}", noWindow));
        platform::watchCrashes(drainLogAtCrash);
        return initInstance(recording);
    } catch (const std::exception& e) {
        complain(fmt::format("{} cannot start: {}\n", programName, e.what()));
        return 1;
    }
}

} // namespace kes
