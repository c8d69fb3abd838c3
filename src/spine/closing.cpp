// SPDX-License-Identifier: MIT
#include "spine/closing.h"

#include "airports/airport_errand.h"
#include "airports/park_airports.h"
#include "airports/static_parking.h"
#include "airports/user_stand.h"
#include "core/change.h"
#include "core/log.h"
#include "core/parameters.h"
#include "core/run_state.h"
#include "core/text.h"
#include "core/user_aircraft.h"
#include "core/version.h"
#include "core/window.h"
#include "feed/control_link.h"
#include "feed/qnh_reader.h"
#include "feed/report_queue.h"
#include "feed/traffic_reader.h"
#include "liveries/matching.h"
#include "sim/ai_commands.h"
#include "sim/sim_client.h"
#include "spine/control_rules.h"
#include "spine/main_tick.h"
#include "spine/process.h"
#include "spine/waits.h"
#include "traffic/conflicts.h"
#include "traffic/flight_plans.h"
#include "traffic/no_match.h"
#include "traffic/reset.h"
#include "traffic/title_table.h"

#include <fmt/format.h>

namespace kes {

namespace {

void stopThreads() {
    reportQueue.setAccepting(false);
    requestSimClientStop();
    stopQnhReader();
    stopTrafficReader();
    endErrands();
    // A client of the feed ports sees them closed before it is told to go.
    runPause(500);
    closeControlLink();
    joinSimClient();
    // The last word of the thread was where the user stood.
    followUserStand();
}

/// A failed run stays on the window until the user has seen why. Settings that may be the cure start the next one.
void waitUntilErrorIsRead() {
    while (runSleep(500, true)) {
        if (windowRequests.newSettings) {
            setExitReason(ExitReason::newSettings);
            return;
        }
    }
    showStatus(fmt::format("User closed {}", programName), false);
}

void forgetOneRunTexts() {
    change(par::DESTINATION, "");
    change(par::BLOCK_CALLSIGN, "");
}

bool isRestartReason(ExitReason reason) {
    return reason == ExitReason::newSettings || reason == ExitReason::simConnectError ||
           reason == ExitReason::readerError;
}

void prepareRestart() {
    restarting = true;
    clearError();
    showStatus("Prepare for a restart ...", false);
    if (exitReason() != ExitReason::newSettings) {
        change(par::SCAN_LIVERIES, false);
        change(par::SCAN_AIRPORTS, false);
    }
    restartCountdown();
    // The click of a user who does not want to wait for the restart counts.
    if (userClosed) {
        restarting = false;
        return;
    }
    resetRun();
}

void closeDown() {
    log(fmt::format("Exiting: {}", exitReasonText(exitReason())));
    applyControlChanges(); // what asked for this end
    stopThreads();
    if (exitReason() == ExitReason::systemError)
        waitUntilErrorIsRead();
    if (parkAirportLoaded())
        saveParkState();
    clearTitleTable();
    gf_removeFlightPlanFolder();
    forgetOneRunTexts();
    ghostList.clear();
    writeMatchingSummary();
    writeNoMatchReport();
    const ExitReason reason = exitReason();
    if (isRestartReason(reason) && !userClosed) {
        prepareRestart();
        return;
    }
    restarting = false;
    if (reason == ExitReason::newFlight) {
        showStatus(fmt::format("New flight detected, {} will close, please restart manually ...", programName), false);
        runSleep(10000, true);
    }
}

} // namespace

void lf_closingDown() {
    try {
        closeDown();
    } catch (const std::exception& e) {
        // Nothing was reset, so another run would close at once, and again for ever when the cause stays.
        restarting = false;
        showStatus(exceptionText("lf_closingDown", e), false);
    }
    postToWindow(restarting ? startWorker : closeProgram);
}

void restartCountdown() {
    const std::int32_t delay = restartDelay();
    if (delay < 1)
        return;
    log(fmt::format("Restarting after {} seconds\n\n\n\n\n", delay));
    for (std::int32_t n = delay; n >= 1; --n) {
        showStatus(fmt::format("Restarting after {} second{}", n, plural(n)), false);
        if (!runSleep(1000, true))
            return;
    }
}

void resetRun() {
    resetReaders();
    reportQueue.clear();
    currentQnh = standardQnh;
    resetSimQueues();
    resetSimClient();
    resetUserAircraft();
    resetLiveTraffic();
    resetParking();
    resetMainTick();
    resetWindow();
    resetStatus();
    resetRunFlags();
    changeForNow(par::LATERAL_RANGE, par::LATERAL_RANGE);
    setRange(static_cast<float>(par::LATERAL_RANGE));
}

} // namespace kes
