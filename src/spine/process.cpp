#include "spine/process.h"

#include "core/clock.h"
#include "core/folders.h"
#include "core/log.h"
#include "core/parameters.h"
#include "core/run_state.h"
#include "core/version.h"
#include "core/window.h"
#include "platform/output.h"
#include "platform/system.h"
#include "spine/run.h"
#include "window/message_pump.h"
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

void startWorker() {
    // The old worker's last act was to post this message, so there is next to nothing to wait for.
    if (worker.joinable())
        worker.join();
    worker = std::thread(workerMain);
}

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
    par::MAIN_WINDOW_X.value = par::MAIN_WINDOW_X.clamped(left);
    par::MAIN_WINDOW_Y.value = par::MAIN_WINDOW_Y.clamped(top);
    save(par::MAIN_WINDOW_X);
    save(par::MAIN_WINDOW_Y);
}

void closeProgram() {
    if (worker.joinable())
        worker.join();
    rememberWindowPlace();
    log(dateTime(wallClock()));
    closeLog();
    closeTerminalWindow(endMs);
    postQuit(0);
}

void handleMessage(AppMessage message) {
    switch (message) {
    case AppMessage::startWorker:
        // The flags of a click that comes while a run is being reset are wiped with those of the run.
        if (closeClicked)
            closeProgram();
        else
            startWorker();
        break;
    case AppMessage::closeClick:
        closeClick();
        break;
    case AppMessage::closeProgram:
        closeProgram();
        break;
    case AppMessage::quit:
        break;
    }
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

int initInstance() {
    useTerminalWindow(platform::Output(platform::Output::Standard::out));
    tellWhenLogFails();
    try {
        std::filesystem::create_directories(userDataFolder());
    } catch (const std::filesystem::filesystem_error& e) {
        const std::string text = fmt::format("Failed to create directory: {}", e.what());
        log(text);
        complain(text + "\n");
        return 1;
    }
    postMessage(AppMessage::startWorker);
    return runMessagePump(handleMessage);
}

} // namespace

int runProcess() {
    if (!platform::takeInstanceLock("Local\\$Kestrelune$") || !platform::takeFolderLock(path::instanceLock))
        return -1;
    platform::watchCloseSignals([] { postMessage(AppMessage::closeClick); });
    try {
        openLog(path::log);
        platform::watchCrashes(drainLogAtCrash);
        return initInstance();
    } catch (const std::exception& e) {
        complain(fmt::format("{} cannot start: {}\n", programName, e.what()));
        return 1;
    }
}

} // namespace kes
