// SPDX-License-Identifier: MIT
// The program's own folder with its update server in it, and the files in the user's roaming folder. Throws
// std::runtime_error and filesystem_error when a file cannot be written.
#pragma once

#include "world/content/content.h"
#include "world/content/tables.h"

namespace kes::world {

/// Packs the reference data for the update server that a fresh program folder is its own. Throws for a bad row, too.
void writeUpdates(const ContentPlan& plan);
/// Manuals, airports and their names, and the name of the update server, unless the user has named one.
void writeProgramFolder(const Tables& tables, const ContentPlan& plan);
/// RealTraffic's mark and, only where there is none, "parameters.xml".
void writeAppData(const ContentPlan& plan);

} // namespace kes::world
