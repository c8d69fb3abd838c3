// SPDX-License-Identifier: MIT
// The walk over a folder of packages: every "aircraft.cfg" below it is judged, on several threads, and taken in the
// order of the walk, which is the same on every file system. Worker.
#pragma once

#include "core/parallel_walk.h"
#include "liveries/aircraft_cfg.h"

#include <functional>
#include <string>

namespace kes {

/// Walks `root`, an existing folder, and hands each judgement to `take` on the calling thread; it is gone afterwards.
/// Ends early, without handing over more, once the run is being closed. Folders that cannot be read are logged and left
/// out. A linked folder is entered, but not one that was entered before or that holds the link itself.
WalkCount walkFolder(const CfgRules& rules, const std::string& root, const std::function<void(CfgJudgement&)>& take);

} // namespace kes
