#include "spine/process.h"

#include "core/clock.h"
#include "core/folders.h"
#include "core/log.h"
#include "core/parameters.h"
#include "core/run_state.h"
#include "core/version.h"
#include "core/window.h"
#include "platform/system.h"
#include "spine/run.h"
#include "window/message_pump.h"
#include "window/terminal_window.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fmt/format.h>
#include <thread>

namespace kes {

namespace {

// UI thread.
std::thread worker;
bool closeClicked = false;

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

int initInstance() {
    useTerminalWindow(stdout);
    platform::watchCloseSignals([] { postMessage(AppMessage::closeClick); });
    try {
        std::filesystem::create_directories(userDataFolder());
    } catch (const std::filesystem::filesystem_error& e) {
        log(fmt::format("Failed to create directory: {}", e.what()));
        return 0;
    }
    postMessage(AppMessage::startWorker);
    return runMessagePump(handleMessage);
}

} // namespace

int runProcess() {
    if (!platform::takeInstanceLock("Local\\$Kestrelune$"))
        return -1;
    try {
        openLog(path::log);
    } catch (const std::exception& e) {
        std::fprintf(stderr, "%s\n", e.what());
        return 1;
    }
    return initInstance();
}

} // namespace kes
