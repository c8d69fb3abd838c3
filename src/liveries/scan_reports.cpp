// SPDX-License-Identifier: MIT
#include "liveries/scan_reports.h"

#include "core/folders.h"
#include "core/log.h"
#include "core/text.h"
#include "platform/system.h"

#include <algorithm>
#include <filesystem>
#include <fmt/format.h>

namespace kes {

ScanReports scanReports;

namespace {

namespace fs = std::filesystem;

enum class Sorted { no, yes };

struct Report {
    ReportList list;
    const fs::path& folder;
    const char* file;
    Sorted sorted;
    const char* one; ///< for exactly one line, with a place for the number and one for the file
    const char* many;
};

const Report errorReports[] = {
    {&ScanReports::invalidAirlines, path::outputErrors, "InvalidAirlineCodes.txt", Sorted::yes,
     "{} invalid airline code, see {}", "{} invalid airline codes, see {}"},
    {&ScanReports::invalidModels, path::outputErrors, "InvalidAircraftCodes.txt", Sorted::yes,
     "{} invalid model code, see {}", "{} invalid model codes, see {}"},
    {&ScanReports::modelFixLines, path::outputErrors, "Fixes.txt", Sorted::no, "{} code fixes, see {}",
     "{} code fixes, see {}"},
    {&ScanReports::invalidCfgFiles, path::outputErrors, "InvalidAircraftCfgFiles.txt", Sorted::yes,
     "{} invalid aircraft.cfg files, see {}", "{} invalid aircraft.cfg files, see {}"},
    {&ScanReports::incompleteSections, path::outputErrors, "IncompleFltsimSections.txt", Sorted::yes,
     "{} incomplete [fltsim.x] sections, see {}", "{} incomplete [fltsim.x] sections, see {}"},
};
const Report infoReports[] = {
    {&ScanReports::emptyCfgFiles, path::outputInfo, "AircraftCfgWithNoFltsimSection.txt", Sorted::yes,
     "{} empty aircraft.cfg files, see {}", "{} empty aircraft.cfg files, see {}"},
    {&ScanReports::conversionLines, path::outputInfo, "AirlineModelConversions.txt", Sorted::no,
     "{} liveries updated with real live data from dbase, see {}",
     "{} liveries updated with real live data from dbase, see {}"},
};
const Report leftOutReports[] = {{&ScanReports::notUsed, path::outputInfo, "LiveriesNotUsed.txt", Sorted::yes,
                                  "{} file, section or title left out, see {}",
                                  "{} files, sections and titles left out, see {}"}};

/// True when one of the reports has a line.
template <std::size_t N> bool anyLine(const Report (&reports)[N]) {
    return std::any_of(std::begin(reports), std::end(reports),
                       [](const Report& report) { return !(scanReports.*report.list).empty(); });
}

template <std::size_t N> void writeReports(const Report (&reports)[N]) {
    for (const Report& report : reports) {
        std::vector<std::string>& lines = scanReports.*report.list;
        if (lines.empty())
            continue;
        if (report.sorted == Sorted::yes)
            std::sort(lines.begin(), lines.end());
        const fs::path file = report.folder / report.file;
        if (writeReport(file, lines)) {
            log(fmt::format(fmt::runtime(lines.size() == 1 ? report.one : report.many), lines.size(),
                            platform::pathText(file)));
        }
    }
}

} // namespace

bool writeReport(const fs::path& file, const std::vector<std::string>& lines) {
    std::error_code ignored;
    fs::create_directories(file.parent_path(), ignored);
    std::string text;
    for (const std::string& line : lines)
        text.append(line).append("\n");
    std::string error;
    if (platform::replaceFile(file, text, error))
        return true;
    log(fmt::format("{} could not be written: {}", platform::pathText(file), error));
    return false;
}

void writeScanReports() {
    if (!anyLine(errorReports))
        log("\nNo errors");
    writeReportFiles();
}

void writeReportFiles() {
    if (anyLine(errorReports)) {
        log("\nErrors:");
        writeReports(errorReports);
    }
    if (anyLine(infoReports)) {
        log("\nInformation:");
        writeReports(infoReports);
    }
    writeReports(leftOutReports);
}

void removeScanReports() {
    for (const Report& report : errorReports)
        fs::remove(report.folder / report.file);
    for (const Report& report : infoReports)
        fs::remove(report.folder / report.file);
    for (const Report& report : leftOutReports)
        fs::remove(report.folder / report.file);
    for (const fs::path& file : {path::outputErrors / "InlineRegcodes.txt", path::outputInfo / "OfflineRegcodes.txt",
                                 path::outputInfo / "LiveriesSkippedOnPriority.txt", path::liveriesScanned})
        fs::remove(file);
    fs::create_directories(path::outputErrors);
}

} // namespace kes
