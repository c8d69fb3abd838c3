// SPDX-License-Identifier: MIT
#include "airports/addon_scan.h"

#include "airports/addon_link.h"
#include "airports/addon_offline.h"
#include "airports/airport_table.h"
#include "core/change.h"
#include "core/folders.h"
#include "core/log.h"
#include "core/parallel_walk.h"
#include "core/parameters.h"
#include "core/run_state.h"
#include "core/window.h"
#include "install/install.h"
#include "liveries/scan_reports.h"
#include "platform/file.h"
#include "platform/system.h"

#include <algorithm>
#include <array>
#include <fmt/format.h>
#include <system_error>

namespace kes {

namespace {

namespace fs = std::filesystem;

constexpr std::size_t tooLong = 250, usualLines = 2048;
constexpr std::string_view warning = "===> ";
constexpr std::array<std::string_view, 14> excludedWords{
    "fs-base",    "tutorials",       "aircraft",      "bushtrip",           "discovery", "point-of-interest",
    "simobjects", "vcockpits",       "aig-aitraffic", "justflight-aicraft", "fsltl",     "gsx-pro",
    "gsx-world",  "landingchallenge"};
constexpr std::array<std::string_view, 3> foreignWords{"statics", "AFCAD Updates", "_heliports"};

template <std::size_t N> bool holdsAny(std::string_view text, const std::array<std::string_view, N>& words) {
    return std::ranges::any_of(words,
                               [text](std::string_view word) { return text.find(word) != std::string_view::npos; });
}

fs::path scanLogFile() {
    return path::outputInfo / "AirportsScanLog.txt";
}

/// What was read of one file, on a thread of the walk.
struct Scenery {
    std::string path; ///< empty: no airports in it
    BglContent content;
    PublisherInfo publisher;
    std::vector<std::string> publisherLines;
};

bool isSceneryName(std::string_view name) {
    return name.size() > 4 && (name.ends_with(".BGL") || name.ends_with(".bgl"));
}

WalkStep select(const WalkEntry& entry) {
    // The words hold no separator, so the folders above need no second look.
    if (entry.pathSize >= tooLong || holdsAny(entry.name, excludedWords))
        return WalkStep::pass;
    if (entry.isFolder)
        return WalkStep::enter;
    const bool wanted = entry.isFile && isSceneryName(entry.name) && !holdsAny(entry.folder, foreignWords) &&
                        !holdsAny(entry.name, foreignWords);
    return wanted ? WalkStep::pick : WalkStep::pass;
}

void readScenery(const PickedEntry& file, bool msfs2024, Scenery& scenery) {
    scenery = {};
    if (!hasAirportSection(file.path))
        return;
    scenery.path = file.path;
    scenery.content = lf_toParkingPositions(file.path, msfs2024);
    if (!scenery.content.airports.empty() || scenery.content.notRecognised)
        scenery.publisher = findPublisher(file.path, scenery.publisherLines);
}

void tellFailed(const std::string& folder, std::string_view cause) {
    scanLogLine(fmt::format("{} airports search in folder {} aborted, cause: {}", warning, folder, cause));
}

void tell(const WalkProblem& problem) {
    switch (problem.kind) {
    case WalkProblem::unreadable:
        scanLogLine(fmt::format("{} airports search in folder {} aborted because of iterator problem: {}", warning,
                                problem.path, platform::errorText(problem.error)));
        break;
    case WalkProblem::failed:
        tellFailed(problem.path, problem.cause);
        break;
    case WalkProblem::fewerThreads:
        log(fmt::format("airports search with {} threads: {}", problem.count, problem.cause));
        break;
    case WalkProblem::untold:
        tellFailed("?", fmt::format("{} files or folders, out of memory", problem.count));
        break;
    }
}

void walkRoot(const std::string& root) {
    scanLogLine("Scanning for addon airports in " + root);
    if (isExcludedPath(root))
        return; // and so is all that it holds
    WalkClient<Scenery> client;
    client.threadName = "airports";
    client.stopWanted = stopWanted;
    client.select = select;
    client.work = [msfs2024 = !par::MSFS_2020](const PickedEntry& file, Scenery& scenery) {
        readScenery(file, msfs2024, scenery);
    };
    client.take = [](Scenery& scenery) {
        if (!scenery.path.empty())
            takeScenery(scenery.path, scenery.content, scenery.publisher, scenery.publisherLines);
    };
    client.tell = tell;
    (void)walkFolders({root}, client);
}

void scanRoot(const fs::path& root) {
    if (root.empty())
        return;
    const std::string name = platform::pathText(root);
    std::error_code error;
    if (!fs::exists(root, error)) {
        showStatus(name + " does not exist, skipped!", true);
        return;
    }
    if (!fs::is_directory(root, error)) {
        showStatus(name + " is not a folder name, skipped!", true);
        return;
    }
    walkRoot(name);
}

/// Files only: what else a user keeps there is his.
void removeFiles(const fs::path& folder) {
    std::error_code error;
    std::vector<fs::path> files;
    for (fs::directory_iterator it(folder, error), end; !error && it != end; it.increment(error)) {
        std::error_code unreadable;
        if (!it->is_directory(unreadable))
            files.push_back(it->path());
    }
    for (const fs::path& file : files) {
        if (!fs::remove(file, error) && error)
            log(fmt::format("{} could not be removed: {}", platform::pathText(file), error.message()));
    }
}

void offlineStep() {
    const std::vector<fs::path> files = generatedAirports();
    if (files.empty())
        return;
    tbloCount += gatherForHandOver(files);
    readouts.tbloFiles = tbloCount;
}

} // namespace

bool isExcludedPath(std::string_view path) {
    return path.size() >= tooLong || holdsAny(path, excludedWords);
}

bool scanRoots(const std::vector<fs::path>& roots) {
    std::error_code error;
    fs::remove(scanLogFile(), error);
    if (error)
        log("problems with removing previous files (maybe still open?)");
    resetAddonAirports();
    scanLog.reserve(usualLines);
    // What the walk notes there stays.
    fs::remove_all(tbloFolder, error);
    for (const fs::path& root : roots)
        scanRoot(root);
    if (writeReport(scanLogFile(), scanLog))
        log(platform::pathText(scanLogFile()) + " written");
    clearStatus();
    scanLog = {};
    if (stopWanted())
        return scanHasFound();
    offlineStep();
    if (scanHasFound())
        log("Airports scan successful");
    return scanHasFound();
}

void scanAddonAirports() {
    showStatus("Scanning for addon airports ...", false);
    log(fmt::format("\n++++++++++++++++++++++++ airports scan {} starts +++++++++++++++++++++++++++++", ""));
    std::vector<fs::path> roots;
    if (par::MSFS_2020)
        roots.push_back(installSubFolder("Official"));
    roots.push_back(installSubFolder("Community"));
    readAirportNames();
    if (par::MSFS_2020)
        removeFiles(path::mySimaddon);
    removeFiles(path::myThirdparty);
    const bool found = scanRoots(roots);
    if (!stopWanted()) { // else the next start scans again, since not all was looked at
        if (found)
            showStatus(addonSummary(), true);
        else
            showStatus("Warning: Scan has not found any add-on airports", true);
        change(par::SCAN_AIRPORTS, false);
        repaint();
    }
    dropAirportNames();
    log("-------------------------- airports scan ends    ----------------------------\n");
}

} // namespace kes
