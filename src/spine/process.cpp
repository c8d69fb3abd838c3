#include "spine/process.h"

#include "core/change.h"
#include "core/clock.h"
#include "core/folders.h"
#include "core/log.h"
#include "core/parameters.h"
#include "core/run_state.h"
#include "core/version.h"
#include "core/window.h"
#include "platform/output.h"
#include "platform/system.h"
#include "spine/control_rules.h"
#include "spine/worker.h"
#include "window/desktop_window.h"
#include "window/terminal_window.h"

#include <algorithm>
#include <filesystem>
#include <fmt/format.h>
#include <thread>

namespace kes {

namespace {

// UI thread.
std::thread worker;
bool closeClicked = false;

/// The longest wait for a terminal that does not read, milliseconds.
constexpr int endMs = 500;
/// The longest wait for a disk that takes the first line of the log.
constexpr int firstLineMs = 3000;

void closeClick() {
    showStatus(fmt::format("Close window button clicked, closing {} ...", programName), false);
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
    if (!wanted || !useDesktopWindow(reason))
        useTerminalWindow(platform::Output(platform::Output::Standard::out));
    return reason;
}

int initInstance() {
    openWindow();
    tellWhenLogFails();
    try {
        std::filesystem::create_directories(userDataFolder());
    } catch (const std::filesystem::filesystem_error& e) {
        const std::string text = fmt::format("Failed to create directory: {}", e.what());
        log(text);
        complain(text + "\n");
        return 1;
    }
    postToWindow(startWorker);
    return runWindow(closeClick);
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
    log(dateTime(wallClock()));
    closeLog();
    quitWindow(0);
}

int runProcess(bool window) {
    if (!platform::takeInstanceLock("Local\\$Kestrelune$") || !platform::takeFolderLock(path::instanceLock))
        return -1;
    const std::string noWindow = chooseWindow(window);
    platform::watchCloseSignals([] { postToWindow(closeClick); });
    try {
        openLog(path::log);
        if (!noWindow.empty())
            log(fmt::format("no window, since {}", noWindow));
        platform::watchCrashes(drainLogAtCrash);
        return initInstance();
    } catch (const std::exception& e) {
        complain(fmt::format("{} cannot start: {}\n", programName, e.what()));
        return 1;
    }
}

} // namespace kes
