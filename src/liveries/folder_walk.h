// The walk over a folder of packages: every "aircraft.cfg" below it is judged, on several threads, and taken in the
// order of the walk, which is the same on every file system. Worker.
#pragma once

#include "liveries/aircraft_cfg.h"

#include <functional>
#include <string>
#include <string_view>

namespace kes {

/// NTFS gives a folder's entries in this order: by name, without regard to case; names that differ in case only by
/// bytes.
bool nameComesFirst(std::string_view a, std::string_view b);

struct WalkCount {
    std::size_t files = 0;         ///< judged
    std::size_t closedFolders = 0; ///< not entered
};

/// Walks `root`, an existing folder, and hands each judgement to `take` on the calling thread. Ends early, without
/// handing over more, once the run is being closed. Folders that cannot be read are logged and left out. A linked
/// folder is entered, but not one that was entered before or that holds the link itself.
WalkCount walkFolder(const CfgRules& rules, const std::string& root, const std::function<void(CfgJudgement&)>& take);

/// The machine's hardware concurrency, at least 1.
unsigned hardwareThreads();

} // namespace kes
