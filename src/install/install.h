// SPDX-License-Identifier: MIT
// Where the selected simulator keeps its packages (MSFS_2020 selects). Worker. A failed test of existence, other than
// "not found", throws filesystem_error ("exists").
#pragma once

#include <filesystem>
#include <string>
#include <string_view>

namespace kes {

/// The packages folder of an installed simulator; empty when none was found. What was looked at is logged. The user's
/// own folders come first, then those inside Proton and Wine prefixes, each by the same steps.
std::string detectPackagesPath();
/// Not empty, and it exists with "Community" and the official folder of the selected simulator in it.
bool isPackagesPath(const std::filesystem::path& path);
/// The selected install path joined with a folder name, in the case that the folder has on the disk; empty when no
/// install path is set.
std::filesystem::path installSubFolder(std::string_view folder);

} // namespace kes
