// What the files of this folder share: the two halves of replacing a file, and where a user's folders begin.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>

namespace kes::platform::os {

/// Writes a new file, or over an old one, and has it on the disk before it returns. False with a reason on failure.
bool writeThrough(const std::filesystem::path& file, std::string_view content, std::string& error);
/// Moves a file over another in one step. False with a reason on failure; both are then as before.
bool moveOver(const std::filesystem::path& from, const std::filesystem::path& to, std::string& error);

/// The value of an environment variable that must name an absolute path; empty for any other. Not on Windows.
std::filesystem::path absoluteFrom(const char* variable);
/// The home folder of the user; empty = unknown. Not on Windows.
std::filesystem::path homeFolder();

} // namespace kes::platform::os
