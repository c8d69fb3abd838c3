// SPDX-License-Identifier: MIT
// Small file operations of the content builder. All throw std::runtime_error that names the path.
#pragma once

#include <filesystem>
#include <pugixml.hpp>
#include <string_view>

namespace kes::world {

/// With all folders above it; one that is there is left as it is.
void makeFolder(const std::filesystem::path& folder);
/// Writes the file unless it has exactly this content; makes its folder.
void writeFile(const std::filesystem::path& path, std::string_view content);
void writeXml(const std::filesystem::path& path, const pugi::xml_document& document); ///< likewise

} // namespace kes::world
