// SPDX-License-Identifier: MIT
// The package with our own AI aircraft, as a Community folder holds it. Throws std::runtime_error and filesystem_error
// when a file cannot be written.
#pragma once

#include "world/content/tables.h"

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace kes::world {

/// The package of all our AI aircraft below Community. One, since of the user's own packages the program takes the
/// first.
inline constexpr std::string_view aiPackage = "user-aitraffic-kestrelune";

/// One livery of our AI package.
struct AiLivery {
    std::string airline, type;
    std::string title;   ///< unique
    std::string regcode; ///< an airframe that wears it, may be empty
    bool cargo = false;
};
/// The liveries that the tables give, ordered by type and title.
std::vector<AiLivery> planLiveries(const Tables& tables);

/// Writes the package, and removes what an earlier run left in it and in the packages that there were of old.
void writePackage(const Tables& tables, const std::vector<AiLivery>& liveries, const std::filesystem::path& community);

} // namespace kes::world
