// SPDX-License-Identifier: MIT
#include "liveries/scan.h"

#include "core/change.h"
#include "core/errors.h"
#include "core/folders.h"
#include "core/foreign_log.h"
#include "core/log.h"
#include "core/parameters.h"
#include "core/run_state.h"
#include "core/text.h"
#include "core/window.h"
#include "install/install.h"
#include "liveries/dont_use.h"
#include "liveries/folder_walk.h"
#include "liveries/package_finders.h"
#include "liveries/scan_summary.h"
#include "liveries/store.h"
#include "platform/system.h"
#include "reference/reference.h"

#include <algorithm>
#include <fmt/format.h>
#include <system_error>
#include <unordered_set>

namespace kes {

namespace {

namespace fs = std::filesystem;

constexpr int lowestPriority = 10;
constexpr std::size_t longestLine = 2000; ///< bytes of a line about a file

struct Scan {
    std::vector<Livery> list;
    TextSet seenTitles; ///< a title names one livery in the whole scan
    TextSet dontUse;
    std::vector<FolderSummary> folders;
    LogLimiter complaints{"aircraft.cfg files"};
};

/// Moves a judgement into the scan: here titles become unique, in the order of the walk.
void takeJudgement(Scan& scan, CfgJudgement& judgement, FolderSummary& folder) {
    for (const std::string& line : judgement.log)
        scan.complaints.write(quoted(line, longestLine)); // parts of it are the file's own words
    for (const auto& [list, line] : judgement.reports)
        (scanReports.*list).emplace_back(line);
    const std::size_t before = scan.list.size();
    for (const FoundLivery& found : judgement.liveries) {
        if (scan.seenTitles.emplace(found.title).second) {
            scan.list.push_back(liveryOf(found));
        } else {
            ++folder.repeatedTitles;
            scanReports.incompleteSections.push_back(repeatedTitleLine(judgement, found));
        }
    }
    folder.add(judgement, scan.list.size() - before);
}

void scanFolder(Scan& scan, int number, const fs::path& path) {
    const std::string name = platform::pathText(path);
    std::error_code error;
    if (!fs::exists(path, error)) {
        log(name + " does not exist, skipped!");
        return;
    }
    if (!fs::is_directory(path, error)) {
        log(name + " is not a folder name, skipped!");
        return;
    }
    if (stopWanted())
        return;
    FolderSummary& folder = scan.folders.emplace_back();
    folder.path = name;
    CfgRules rules;
    rules.folderNumber = number;
    rules.suppressStub = par::SUPPRESS_STUB;
    rules.dontUse = &scan.dontUse;
    const std::size_t before = scan.list.size();
    try {
        const WalkCount count =
            walkFolder(rules, name, [&](CfgJudgement& judgement) { takeJudgement(scan, judgement, folder); });
        folder.closedFolders = count.closedFolders;
    } catch (const std::exception& e) {
        log(fmt::format("liveries search in {} aborted, cause: {}", name, e.what()));
    }
    const std::string foundIn = "found in " + name;
    if (scan.list.empty()) {
        log(fmt::format("No liveries {}", foundIn));
    } else {
        const auto added = static_cast<std::int64_t>(scan.list.size() - before);
        log(fmt::format("{} liverie{} {}", added, plural(added), foundIn));
    }
    if (scan.list.size() == before && !stopWanted())
        log(whyNoLivery(folder) + (folder.files > 0 ? ". The reports in the output folder name each of them" : ""));
}

/// The data base knows better than a livery what an airframe is. A field that it leaves empty says nothing.
void correctFromDataBase(std::vector<Livery>& list) {
    for (Livery& livery : list) {
        if (livery.regcode.empty())
            continue;
        const auto record = lookupRegcode(livery.regcode);
        if (!record)
            continue;
        if (livery.cargo != record->cargo) {
            scanReports.conversionLines.push_back(
                fmt::format("{:80} {} cargo {} => {}", livery.title, livery.regcode, livery.cargo, record->cargo));
            livery.cargo = record->cargo;
        }
        const auto correct = [&](std::string& value, const std::string& known, const char* what) {
            if (known.empty() || value == known)
                return;
            scanReports.conversionLines.push_back(
                fmt::format("{:80} {} {} {} => {}", livery.title, livery.regcode, what, value, known));
            value = known;
        };
        correct(livery.airline, record->opr.empty() ? record->airl : record->opr, "airl");
        correct(livery.model, record->type, "model");
    }
}

/// Only the liveries of the first folder that has any for an airline and model stay.
void dropLowerPriorities(std::vector<Livery>& list) {
    TextMap<std::int32_t> best;
    const auto key = [](const Livery& livery) { return livery.airline + '\n' + livery.model; };
    for (const Livery& livery : list) {
        const auto [place, isNew] = best.try_emplace(key(livery), livery.priority);
        if (!isNew)
            place->second = std::min(place->second, livery.priority);
    }
    std::erase_if(list, [&](const Livery& livery) {
        if (livery.priority == best.find(key(livery))->second)
            return false;
        scanReports.notUsed.push_back(
            fmt::format("\"{}\": an earlier folder has liveries of {} {}", livery.title, livery.airline, livery.model));
        return true;
    });
}

void dropRepeated(std::vector<Livery>& list) {
    const auto same = [](const Livery& a, const Livery& b) {
        return a.title == b.title && a.airline == b.airline && a.model == b.model && a.regcode == b.regcode &&
               a.cargo == b.cargo;
    };
    list.erase(std::unique(list.begin(), list.end(), same), list.end());
}

std::vector<fs::path> automaticFolders() {
    const fs::path community = installSubFolder("Community");
    if (community.empty())
        return {};
    std::vector<fs::path> folders;
    try {
        folders = findAiPackages(community);
    } catch (const fs::filesystem_error& e) {
        log(fmt::format("The Community folder \"{}\" cannot be read: {}", platform::pathText(community),
                        e.code().message()));
        return {};
    }
    if (folders.empty()) {
        log(fmt::format("\"{}\" holds none of the packages that the automatic scan knows: AIG, FSLTL, Just Flight "
                        "traffic or a folder of your own with \"user-aitraffic\" in its name. Install one of them, or "
                        "switch Liveries automatic off and name your folders in lfolder0 to lfolder9",
                        platform::pathText(community)));
    }
    return folders;
}

std::vector<fs::path> manualFolders() {
    std::vector<fs::path> folders;
    for (const TextParameter& parameter : par::lfolder) {
        if (!parameter.empty())
            folders.push_back(platform::pathFrom(parameter.get()));
    }
    if (folders.empty()) {
        throw nwk::UserErrorException(
            48, "Set lfolder parameter(-s) to your liveries first, see Manual 5.1 (or check Liveries automatic)",
            fmt::format("LIG_AUTOMATIC is off in {}, and it names no folder: add <parameter name=\"lfolder0\" "
                        "value=\"FOLDER\" /> to its parameters, up to lfolder9.",
                        platform::pathText(parametersFile())));
    }
    return folders;
}

/// What the user can do when the folders that he named hold nothing.
std::string adviceForFolders() {
    std::string missing;
    for (const TextParameter& parameter : par::lfolder) {
        std::error_code ignored;
        if (!parameter.empty() && !fs::is_directory(platform::pathFrom(parameter.get()), ignored))
            missing += fmt::format("{}{} ({})", missing.empty() ? "" : ", ", parameter.get(), parameter.name);
    }
    if (!missing.empty())
        return fmt::format("No such folder: {}. Put it right in {}.", missing, platform::pathText(parametersFile()));
    return "None of the folders in lfolder0 to lfolder9 holds an aircraft.cfg that can be used; Log.txt and "
           "output/errors tell why.";
}

std::string foundText; ///< what the last scan found, for the status line; worker

/// Builds the tables. A list that cannot be used ends the run, but nothing in it is the user's own: the next start
/// makes a new one, and the error says so.
void takeList() {
    try {
        processScannedLiveries();
    } catch (const nwk::UserErrorException& e) {
        constexpr std::uint32_t noFile = 51, withoutNumber = 99;
        change(par::SCAN_LIVERIES, true);
        std::string text = e.what();
        if (e.number != withoutNumber)
            text.erase(0, fmt::format("{}: ", e.number).size());
        throw nwk::UserErrorException(e.number, text,
                                      e.number == noFile
                                          ? "The next start scans the liveries anew."
                                          : "The list of liveries is damaged, the next start scans anew.");
    }
}

} // namespace

bool scanFolders(const std::vector<fs::path>& folders) {
    foundText.clear();
    scanReports = {};
    try {
        removeScanReports();
    } catch (const std::exception& e) {
        log(fmt::format("problems with removing previous files: {}", e.what()));
    }
    readDontUseTitles();
    Scan scan;
    scan.dontUse.insert(dontUseTitles.begin(), dontUseTitles.end());
    int number = 0;
    for (const fs::path& folder : folders) {
        number = std::min(number + 1, lowestPriority);
        scanFolder(scan, number, folder);
        scan.complaints.finish();
        if (stopWanted())
            return true;
    }
    if (scan.list.empty()) {
        writeReportFiles(); // the run ends here, and they alone tell what to put right
        scanReports = {};
        readouts.liveries = 0;
        repaint();
        return false;
    }
    if (folders.size() > 1)
        log(fmt::format("{} in total", scan.list.size()));
    correctFromDataBase(scan.list);
    if (par::LIG_PRIORITIZE)
        dropLowerPriorities(scan.list);
    sortLiveries(scan.list);
    dropRepeated(scan.list);
    foundText = foundLiveries(scan.list.size(), scan.folders);
    writeLiveriesScanned(scan.list);
    writeScanReports();
    scanReports = {};
    clearStatus();
    return true;
}

void scanLiveries() {
    if (!par::SCAN_LIVERIES) {
        takeList();
        return;
    }
    const bool automatic = par::LIG_AUTOMATIC;
    readouts.liveries = -1;
    showStatus(fmt::format("Scanning {} for liveries ...", par::LIG_PRIORITIZE && !automatic ? "prioritized " : ""),
               false);
    log(fmt::format("\n++++++++++++++++++++++++ liveries scan {} starts ++++++++++++++++++++++++++++++++",
                    automatic ? "automatic" : "manual"));
    const bool found = scanFolders(automatic ? automaticFolders() : manualFolders());
    if (stopWanted())
        return; // the next start scans again, since the list of the last scan is gone
    if (!found) {
        if (!automatic)
            throw nwk::UserErrorException(53, "no liveries found", adviceForFolders());
        throw nwk::UserErrorException(
            43,
            "Automatic scan has not found any liveries, switch off automatic and set "
            "lfolder parameter(-s), Manual 5.1",
            fmt::format("Looked in \"{}\" for AI aircraft packages of AIG, FSLTL or Just Flight, or one of your own "
                        "with \"user-aitraffic\" in its name. Install one of them, or name your folders.",
                        platform::pathText(installSubFolder("Community"))));
    }
    change(par::SCAN_LIVERIES, false);
    log("\n++++++++++++++++++++++++ liveries scan ends ++++++++++++++++++++++++++++++++\n");
    takeList();
    showStatus(foundText, true);
}

} // namespace kes
