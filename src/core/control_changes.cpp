// SPDX-License-Identifier: MIT
#include "core/control_changes.h"

#include "core/run_state.h"
#include "core/window.h"
#include "platform/file.h"
#include "platform/system.h"

#include <atomic>
#include <filesystem>
#include <mutex>
#include <system_error>
#include <utility>

namespace kes {

namespace {

std::mutex changesMutex;
std::vector<ControlChange> changes;
std::atomic<bool> changesWait{false};

/// Before the end of the run is asked for, so that the close-down finds it.
void handOver(ControlChange change) {
    const std::lock_guard lock(changesMutex);
    changes.push_back(std::move(change));
    changesWait = true;
}

/// Also for a run that has failed and waits for its error to be read: the new setting may be the cure.
void restartWithNewSettings() {
    requestExit(ExitReason::newSettings, 3);
    windowRequests.newSettings = true;
}

/// The path of a Community folder, or of one that holds it.
bool leadsToCommunity(std::string_view text) {
    try {
        const std::filesystem::path path = platform::pathFrom(text);
        std::error_code error;
        // Shells complete a folder's name with a separator behind it.
        text = text.substr(0, text.find_last_not_of("/\\") + 1);
        return std::filesystem::exists(path, error) &&
               (text.ends_with("Community") || std::filesystem::exists(path / "Community", error));
    } catch (const std::exception&) {
        return false; // no text of a path
    }
}

} // namespace

void controlChanged(BoolBox& box, bool ticked) {
    const bool scanNow = (&box == &par::SCAN_LIVERIES || &box == &par::SCAN_AIRPORTS) && ticked && rtWaitPending;
    const bool otherSimulator = &box == &par::MSFS_2020;
    handOver({&box, ticked, {}, scanNow || otherSimulator});
    if (otherSimulator)
        restartWithNewSettings();
    if (scanNow)
        requestExit(ExitReason::newSettings, 2);
    if (&box == &par::ALWAYS_ON_TOP)
        setTopmost(ticked);
}

void controlChanged(IntBox& box, std::string text) {
    handOver({&box, false, std::move(text), false});
}

void controlChanged(FloatBox& box, std::string text) {
    handOver({&box, false, std::move(text), false});
}

void controlChanged(TextBox& box, std::string text) {
    const bool otherPath = &box == &par::ALL_INSTALL_PATH && leadsToCommunity(text);
    handOver({&box, false, std::move(text), otherPath});
    if (otherPath)
        restartWithNewSettings();
}

void controlChanged(const Button& button) {
    handOver({&button, false, {}, false});
}

std::vector<ControlChange> takeControlChanges() {
    if (!changesWait.load(std::memory_order_relaxed))
        return {};
    const std::lock_guard lock(changesMutex);
    changesWait = false;
    return std::exchange(changes, {});
}

} // namespace kes
