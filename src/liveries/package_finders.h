// SPDX-License-Identifier: MIT
// Finds the packages with AI aircraft in the simulator's Community folder. Worker.
#pragma once

#include <filesystem>
#include <vector>

namespace kes {

/// The packages of the three families in the order of AI_PACKAGE_ORDER, then the user's own; each hit is logged. A
/// finder takes its first hit in name order. Throws filesystem_error when the folder cannot be read.
std::vector<std::filesystem::path> findAiPackages(const std::filesystem::path& community);

} // namespace kes
