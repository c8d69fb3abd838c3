// SPDX-License-Identifier: MIT
#include "spine/worker.h"

#include "airports/addon_scan.h"
#include "airports/airport_table.h"
#include "airports/park_airports.h"
#include "core/change.h"
#include "core/errors.h"
#include "core/folders.h"
#include "core/log.h"
#include "core/parameters.h"
#include "core/parameters_file.h"
#include "core/run_state.h"
#include "core/version.h"
#include "core/window.h"
#include "install/install.h"
#include "liveries/scan.h"
#include "platform/system.h"
#include "reference/reference.h"
#include "reference/reference_document.h"
#include "spine/closing.h"
#include "spine/control_rules.h"
#include "spine/main_tick.h"
#include "spine/run_traffic.h"
#include "traffic/filters.h"
#include "traffic/flight_plans.h"
#include "update/airport_package.h"
#include "update/download.h"
#include "update/program_update.h"

#include <atomic>
#include <filesystem>
#include <fmt/format.h>
#include <new>
#include <stdexcept>

namespace kes {

namespace fs = std::filesystem;

std::int32_t rememberedRange = defaultRangeNm;

TextParameter& selectedInstallPath() {
    return par::MSFS_2020 ? par::MSFS_INSTALL_PATH : par::MSFS_2024_INSTALL_PATH;
}

namespace {

void dropCommunityFromInstallPath() {
    TextParameter& parameter = selectedInstallPath();
    const std::string stored = parameter.get();
    std::string_view path = stored;
    // Shells complete a folder's name with a separator behind it.
    while (path.ends_with('\\') || path.ends_with('/'))
        path.remove_suffix(1);
    for (const std::string_view tail : {"\\Community", "/Community"}) {
        if (path.ends_with(tail)) {
            change(parameter, path.substr(0, path.size() - tail.size()));
            return;
        }
    }
}

void showInstallPath(const std::string& path) {
    enableControl(par::ALL_INSTALL_PATH, true);
    changeForNow(par::ALL_INSTALL_PATH, path);
}

/// A path that the user gave is taken as it is, but a slip in it would show as nothing but absent liveries.
void tellDoubtfulInstallPath(const std::string& path) {
    std::error_code error;
    if (!fs::is_directory(installSubFolder("Community"), error))
        showStatus(fmt::format("There is no Community folder in {}", path), true,
                   fmt::format("Is the simulator's disk there, and is {} the folder that holds \"Community\"? It "
                               "stands in {}; empty, it is looked for anew.",
                               selectedInstallPath().name, platform::pathText(parametersFile())));
}

void findInstallPath() {
    const std::string path = selectedInstallPath().get();
    showInstallPath(path);
    if (!path.empty()) {
        tellDoubtfulInstallPath(path);
        return;
    }
    const std::string found = detectPackagesPath();
    if (found.empty())
        throw nwk::UserErrorException(
            150, "No install path detected, type full path to your Community folder above, and press Enter",
            fmt::format(
                "MSFS 20{} was looked for in the places that Log.txt names. Without a window: write the path of "
                "the folder that holds \"Community\" as {} into {} and start again.",
                par::MSFS_2020 ? "20" : "24", selectedInstallPath().name, platform::pathText(parametersFile())));
    change(selectedInstallPath(), found);
    showInstallPath(found);
}

/// What can be done when the step under way fails with an error that does not tell it itself.
std::string advice;

/// Once per process. What fails here ends the run, and the user has to know where the data was looked for.
void readReferenceData() {
    if (dataBaseRead)
        return;
    showStatus("Fetching and reading the reference data ...", false);
    try {
        readDataBase();
    } catch (const std::runtime_error&) {
        advice = fmt::format(
            "The reference data \"dbase.zip\" was asked for at {}. Is that place there, is the net? Another one can be "
            "named in \"{}\", as the only line: a folder or the address of an update server.",
            downloadBase(), platform::pathText(path::updateServer));
        throw;
    }
    dataBaseRead = true;
    clearStatus();
}

void checkLiveriesFile() {
    if (fs::exists(path::liveriesScanned) || par::SCAN_LIVERIES)
        return;
    showStatus(fmt::format("File {} is gone, rescan liveries", platform::pathText(path::liveriesScanned)), true);
    change(par::SCAN_LIVERIES, true);
    repaint();
}

void showAddonCounts() {
    readouts.simaddonFiles = static_cast<std::int32_t>(countFiles(path::mySimaddon));
    readouts.thirdpartyFiles = static_cast<std::int32_t>(countFiles(path::myThirdparty));
    repaint();
}

void showDestination() {
    const std::string code = par::DESTINATION.get();
    if (code.empty())
        return;
    if (const auto airport = findAirport(code)) {
        setReadout(Readout::destination, fmt::format("{} {:.6f},{:.6f}", airport->code, airport->lat, airport->lon));
        setDestinationEntry(airport->code, {airport->lat, airport->lon});
    }
}

/// Everything of a run between its first check and its close-down.
void runBody() {
    if (!fs::is_directory(path::docs))
        throw nwk::UserErrorException(
            41, fmt::format("{} must be run from the {} folder!", programName, programName),
            fmt::format(
                "There is no folder \"docs\" in {}. Start it in the folder that you have unpacked, or name that "
                "with --folder.",
                platform::pathText(fs::current_path())));
    startUp();
    checkLiveriesFile();
    scanLiveries();
    if (stopWanted())
        return;
    if (par::SCAN_AIRPORTS) {
        readouts.simaddonFiles = -1;
        readouts.thirdpartyFiles = -1;
        scanAddonAirports();
    }
    showAddonCounts();
    if (stopWanted())
        return;
    prepareFlightPlanFolders();
    lf_readMyParkAirports();
    enableControl(par::reRead, true);
    showDestination();
    setTopmost(par::ALWAYS_ON_TOP);
    if (par::AUTO_RANGE) {
        rangeRule();
        enableControl(par::LATERAL_RANGE, false);
    }
    runTraffic();
}

std::string adviceFor(const std::exception& error) {
    std::string own = adviceOf(error);
    return own.empty() ? advice : own;
}

void fail(const std::exception& error) {
    showError(error.what(), adviceFor(error));
    requestExit(ExitReason::systemError, 0);
}

} // namespace

void versionUpdateStep() {
    const Version& running = runningVersion();
    const std::string stored = par::PROGRAM_VERSION.get();
    if (stored == par::PROGRAM_VERSION.defaultValue) {
        change(par::PROGRAM_VERSION, toText(running));
        return;
    }
    const Version old = parseStoredVersion(stored);
    if (old != running)
        change(par::PROGRAM_VERSION, toText(running));
    if (running <= old)
        return;
    log(fmt::format("This is a version update from {} -> {}", toText(old), toText(running)));
    std::error_code ignored;
    fs::remove(path::installNewVersion, ignored);
    change(par::SCAN_LIVERIES, true);
    change(par::SCAN_AIRPORTS, true);
}

void startUp() {
    applyControlChanges(); // into the file that is read next
    readParameters();
    forgetOutdatedLiveries();
    versionUpdateStep();
    repaint();
    dropCommunityFromInstallPath();
    advice = fmt::format("The program's folder is {}. Was the whole package unpacked, with docs, input and updates? "
                         "May you write there, and has the disk room?",
                         platform::pathText(fs::current_path()));
    createFolders();
    advice.clear();
    maxLive = par::MAX_LIVE;
    applyMaxLive();
    if (!restarting) {
        showStatus("Asking the update server for a new version ...", false);
        checkProgramVersion();
    }
    if (!par::MSFS_2020) {
        if (simaddonFolderMissing())
            updateMySimaddon();
        if (!restarting)
            updateMySimaddon();
    }
    enableForRun();
    change(par::PROGRAM_INSTALL_PATH, platform::pathText(fs::current_path()));
    computeHhNow();
    readReferenceData();
    findInstallPath();
    repaint();
    rtOnThisPc = fs::exists(realTrafficJar());
    showStatus(fmt::format("RealTraffic {}detected at this PC", rtOnThisPc ? "" : "not "), true);
    rememberedRange = par::LATERAL_RANGE;
    readAirportTable();
}

void workerMain() {
    platform::nameThread("worker");
    advice.clear();
    try {
        runBody();
    } catch (const nwk::UserErrorException& e) {
        showError(e.what(), adviceFor(e));
        setExitReason(ExitReason::systemError);
    } catch (const fmt::format_error& e) {
        showError(fmt::format("std::format error: {}", e.what()));
        fail(e);
    } catch (const std::bad_alloc& e) {
        fail(e);
    } catch (const std::out_of_range& e) {
        fail(e);
    } catch (const std::runtime_error& e) {
        fail(e);
    } catch (const std::exception& e) {
        fail(e);
    } catch (...) {
        showError("Unknown exception");
        setExitReason(ExitReason::systemError);
    }
    lf_closingDown();
}

} // namespace kes
