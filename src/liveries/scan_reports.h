// SPDX-License-Identifier: MIT
// What a scan found wrong or worth telling, in the order of the walk. Filled by the scan, written and summed up by the
// store, cleared before and after a scan. Worker.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace kes {

struct ScanReports {
    std::vector<std::string> emptyCfgFiles;      ///< files without any [fltsim.n] section
    std::vector<std::string> invalidCfgFiles;    ///< lines about files that cannot be used
    std::vector<std::string> incompleteSections; ///< lines about sections that cannot be used
    std::vector<std::string> invalidAirlines;    ///< invalid airline code, file, section header
    std::vector<std::string> invalidModels;      ///< invalid model code, file
    std::vector<std::string> modelFixLines;      ///< wrong model codes that were put right
    std::vector<std::string> conversionLines;    ///< corrections from the data base
    std::vector<std::string> notUsed;            ///< what was left out for a reason that no other list tells
};
extern ScanReports scanReports;
using ReportList = std::vector<std::string> ScanReports::*; ///< one of its lists

/// Writes a report, one line per item; makes its folder. False (logged) on failure.
bool writeReport(const std::filesystem::path& file, const std::vector<std::string>& lines);
/// Writes the report files below "output" and logs their summary; nothing is cleared.
void writeScanReports();
/// The same without the line that tells of no errors, for a scan that is one.
void writeReportFiles();
/// Removes the report files of an earlier scan and makes the errors folder. Throws filesystem_error.
void removeScanReports();

} // namespace kes
