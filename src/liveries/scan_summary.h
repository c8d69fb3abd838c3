// SPDX-License-Identifier: MIT
// What a scan tells a person about each folder, in plain words. Pure.
#pragma once

#include "liveries/aircraft_cfg.h"

#include <span>
#include <string>

namespace kes {

struct FolderSummary {
    std::string path;
    std::size_t liveries = 0, files = 0, closedFolders = 0;
    std::size_t withoutSections = 0, badNumbers = 0, withoutModel = 0, unreadable = 0; ///< files
    std::size_t withoutAirline = 0;                                                    ///< sections, as all below
    std::size_t incomplete = 0, leftOut = 0, repeatedTitles = 0;

    /// Counts a file that was judged, and so many liveries of it that no file before had.
    void add(const CfgJudgement& judgement, std::size_t newLiveries);
};

/// One line: why a folder gave no livery.
std::string whyNoLivery(const FolderSummary& folder);
/// One line: how many liveries were found, and where.
std::string foundLiveries(std::size_t total, std::span<const FolderSummary> folders);

} // namespace kes
