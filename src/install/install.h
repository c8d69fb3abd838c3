// Where the simulator's packages lie. Worker.
#pragma once

#include <filesystem>
#include <string>

namespace kes {

/// The packages folder of an installed simulator; empty when none was found. This first form finds none.
std::string detectPackagesPath();
/// The selected install path joined with a folder name.
std::filesystem::path installSubFolder(const std::string& folder);

} // namespace kes
