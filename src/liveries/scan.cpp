#include "core/errors.h"
#include "core/log.h"
#include "core/parameters.h"
#include "core/run_state.h"
#include "core/text.h"
#include "core/window.h"
#include "install/install.h"
#include "liveries/aircraft_cfg.h"
#include "liveries/livery.h"
#include "liveries/store.h"
#include "platform/system.h"
#include "reference/csv.h"
#include "reference/reference.h"
#include "reference/text_map.h"

#include <algorithm>
#include <filesystem>
#include <fmt/format.h>
#include <set>

namespace kes {
namespace {

namespace fs = std::filesystem;

constexpr int deepest = 32; ///< folders below the scanned one; a package nests five or six
constexpr std::size_t longestRegcode = 12;

struct Scan {
    std::vector<Livery> liveries;
    TextSet titles;             ///< a title names one livery in the whole scan
    std::set<fs::path> entered; ///< real paths of linked folders, so that a link to a parent ends
    std::int32_t priority = 0;
    std::size_t files = 0, unreadable = 0, withoutSections = 0, withoutModel = 0;
    std::size_t untitled = 0, unknownAirline = 0, twice = 0;
};

std::string airlineFrom(const CfgSection& section) {
    std::string code = upper(section.airline);
    if (code.empty() || code == "ZZZZ") {
        return "ZZZ";
    }
    if (code.size() == 4 && (code.back() == 'X' || code.back() == 'C')) {
        code.pop_back();
    }
    return code;
}

/// A registration that stands for one airframe, or an empty text.
std::string regcodeFrom(std::string_view atcId) {
    if (atcId.size() < 5) {
        return {};
    }
    const std::string_view code = strip(atcId.substr(0, atcId.find(';')));
    if (code.size() > longestRegcode || code.find_first_of(",*") != std::string_view::npos) {
        return {};
    }
    return std::string(code);
}

void takeSection(Scan& scan, const CfgSection& section, const std::string& model) {
    if (section.title.empty()) {
        ++scan.untitled;
        return;
    }
    Livery livery;
    livery.model = model;
    livery.title = section.title;
    livery.priority = scan.priority;
    livery.regcode = regcodeFrom(section.atcId);
    livery.airline = section.hasAirline ? airlineFrom(section) : std::string();
    if (!airlineExists(livery.airline)) {
        // The airframe may tell the airline; small aircraft without any belong to private owners.
        const auto record = livery.regcode.empty() ? std::nullopt : lookupRegcode(livery.regcode);
        const AircraftCategory category = categoryOf(model);
        if (record) {
            livery.airline = record->airl;
        } else if (category == AircraftCategory::large || category == AircraftCategory::heavy) {
            ++scan.unknownAirline;
            return;
        } else {
            livery.airline = "PVT";
        }
    }
    if (livery.airline == "ZZZ") {
        livery.regcode.clear();
    }
    const std::string parking = upper(section.parkingTypes);
    livery.cargo = parking.find("CARGO") != std::string::npos && parking.find("GATE") == std::string::npos;
    if (!scan.titles.insert(livery.title).second) {
        ++scan.twice;
        return;
    }
    scan.liveries.push_back(std::move(livery));
}

void readCfg(Scan& scan, const fs::path& path) {
    ++scan.files;
    const std::optional<std::string> bytes = readBytes(path);
    if (!bytes) {
        ++scan.unreadable;
        log(fmt::format("! cannot read {}", platform::pathText(path)));
        return;
    }
    AircraftCfg cfg;
    try {
        cfg = parseAircraftCfg(decodeCfg(*bytes));
    } catch (const win32::Utf8ConversionException& error) {
        ++scan.unreadable;
        log(fmt::format("! cannot read {}: {}", platform::pathText(path), error.what()));
        return;
    }
    if (cfg.sections.empty()) {
        ++scan.withoutSections;
        return;
    }
    const std::string model = upper(std::string_view(cfg.typeDesignator).substr(0, 4));
    if (!modelExists(model)) {
        ++scan.withoutModel;
        log(fmt::format("! unknown aircraft type \"{}\" in {}", model, platform::pathText(path)));
        return;
    }
    for (const CfgSection& section : cfg.sections) {
        takeSection(scan, section, model);
    }
}

std::vector<fs::path> sortedEntries(Scan& scan, const fs::path& folder) {
    std::vector<std::pair<std::string, fs::path>> named;
    std::error_code error;
    for (fs::directory_iterator walk(folder, error), end; !error && walk != end; walk.increment(error)) {
        named.emplace_back(upper(platform::pathText(walk->path().filename())), walk->path());
    }
    if (error) {
        ++scan.unreadable;
        log(fmt::format("! cannot read folder {}: {}", platform::pathText(folder), error.message()));
    }
    std::sort(named.begin(), named.end());
    std::vector<fs::path> entries;
    for (auto& [name, path] : named) {
        entries.push_back(std::move(path));
    }
    return entries;
}

/// Users keep packages elsewhere and link them into the folder, so links are followed, each target once.
bool mayEnter(Scan& scan, const fs::path& folder) {
    std::error_code error;
    if (!fs::is_symlink(folder, error)) {
        return true;
    }
    const fs::path real = fs::canonical(folder, error);
    return !error && scan.entered.insert(real).second;
}

void walk(Scan& scan, const fs::path& folder, int depth) {
    for (const fs::path& entry : sortedEntries(scan, folder)) {
        if (stopWanted()) {
            return;
        }
        std::error_code error;
        const fs::file_status status = fs::status(entry, error);
        if (fs::is_directory(status)) {
            if (depth < deepest && mayEnter(scan, entry)) {
                walk(scan, entry, depth + 1);
            }
        } else if (equalsNoCase(platform::pathText(entry.filename()), "aircraft.cfg")) {
            readCfg(scan, entry);
        }
    }
}

void logFound(const fs::path& folder, std::size_t liveries, std::size_t files) {
    const auto count = static_cast<std::int64_t>(liveries);
    log(fmt::format("{} liverie{} in {} aircraft.cfg file{} found in {}", liveries, plural(count), files,
                    plural(static_cast<std::int64_t>(files)), platform::pathText(folder)));
}

/// Walks one folder and tells what each package in it gave.
void scanFolder(Scan& scan, const fs::path& folder) {
    std::error_code error;
    if (!fs::exists(folder, error)) {
        log(platform::pathText(folder) + " does not exist, skipped!");
        return;
    }
    if (!fs::is_directory(folder, error)) {
        log(platform::pathText(folder) + " is not a folder name, skipped!");
        return;
    }
    const std::size_t liveriesBefore = scan.liveries.size(), filesBefore = scan.files;
    for (const fs::path& package : sortedEntries(scan, folder)) {
        if (stopWanted()) {
            return;
        }
        const std::size_t liveries = scan.liveries.size(), files = scan.files;
        if (fs::is_directory(package, error)) {
            if (mayEnter(scan, package)) {
                walk(scan, package, 1);
            }
        } else if (equalsNoCase(platform::pathText(package.filename()), "aircraft.cfg")) {
            readCfg(scan, package);
        }
        if (scan.files > files) {
            logFound(package, scan.liveries.size() - liveries, scan.files - files);
        }
    }
    logFound(folder, scan.liveries.size() - liveriesBefore, scan.files - filesBefore);
}

std::vector<fs::path> foldersToScan() {
    if (par::LIG_AUTOMATIC) {
        return {installSubFolder("Community")};
    }
    std::vector<fs::path> folders;
    for (const TextParameter& parameter : par::lfolder) {
        if (!parameter.empty()) {
            folders.push_back(platform::pathFrom(parameter.get()));
        }
    }
    if (folders.empty()) {
        throw nwk::UserErrorException(48, "Set lfolder parameter(-s) to your liveries first, see Manual 5.1 (or check "
                                          "Liveries automatic)");
    }
    return folders;
}

void logLeftOut(const Scan& scan) {
    const std::pair<std::size_t, const char*> reasons[] = {
        {scan.unreadable, "unreadable files or folders"},
        {scan.withoutSections, "files without a [fltsim.n] section"},
        {scan.withoutModel, "files without a known aircraft type"},
        {scan.untitled, "sections without a title"},
        {scan.unknownAirline, "sections without a known airline"},
        {scan.twice, "sections with a title that already exists"},
    };
    for (const auto& [count, words] : reasons) {
        if (count > 0) {
            log(fmt::format("  left out: {}: {}", words, count));
        }
    }
}

/// False when the user ends the program meanwhile; the last scan's file is then left as it was.
bool runScan() {
    const bool automatic = par::LIG_AUTOMATIC;
    const char* word = par::LIG_PRIORITIZE && !automatic ? "prioritized " : "";
    showStatus(fmt::format("Scanning {} for liveries ...", word), false);
    log(fmt::format("\n++++++++++++++++++++++++ liveries scan {} starts ++++++++++++++++++++++++++++++++",
                    automatic ? "automatic" : "manual"));
    readouts.liveries = -1;
    repaint();
    Scan scan;
    for (const fs::path& folder : foldersToScan()) {
        scan.priority = std::min(scan.priority + 1, 10);
        scanFolder(scan, folder);
    }
    if (stopWanted()) {
        return false;
    }
    logLeftOut(scan);
    sortLiveries(scan.liveries);
    const bool saved = writeLiveriesScanned(scan.liveries);
    clearStatus();
    if (scan.liveries.empty()) {
        // The switch stays on, so that the next start looks again.
        showStatus("No liveries found, aircraft cannot be shown: check the install path", true);
    } else if (saved) {
        par::SCAN_LIVERIES.value = false;
        save(par::SCAN_LIVERIES);
        setCheck(par::SCAN_LIVERIES, false);
    }
    log("\n++++++++++++++++++++++++ liveries scan ends ++++++++++++++++++++++++++++++++\n");
    return true;
}

} // namespace

void scanLiveries() {
    if (par::SCAN_LIVERIES && !runScan()) {
        return;
    }
    processScannedLiveries();
}

} // namespace kes
