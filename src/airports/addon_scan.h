// SPDX-License-Identifier: MIT
// The scan of add-on airports: walks the simulator's package folders for scenery with airports, and leaves a link or a
// generated file of each where `airportSource` looks first. Worker; files are read on threads of the walk's own, which
// end with it. What is made of them, and written, follows the order of the walk, whatever thread was faster: of two
// packages with one airport the later one counts.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace kes {

/// The whole scan. SCAN_AIRPORTS is off afterwards, unless the run was closed meanwhile.
void scanAddonAirports();
/// Scans folders in this order and writes the report. Whether anything was linked or generated.
bool scanRoots(const std::vector<std::filesystem::path>& roots);
/// Folders and files that hold no airports, and paths of 250 bytes or more.
bool isExcludedPath(std::string_view path);

} // namespace kes
