// SPDX-License-Identifier: MIT
// What the files of this folder share: reading an open file, the two halves of replacing one, and where a user's
// folders begin.
#pragma once

#include "platform/file.h"

#include <filesystem>
#include <string>
#include <string_view>

namespace kes::platform::os {

/// The rest of an open file; `readFile` tells the errors.
int readAll(InputFile& file, std::string& content, std::uint64_t most);

/// Writes a new file, or over an old one, and has it on the disk before it returns. False with a reason on failure.
bool writeThrough(const std::filesystem::path& file, std::string_view content, std::string& error);
/// Moves a file over another in one step. False with a reason on failure; both are then as before.
bool moveOver(const std::filesystem::path& from, const std::filesystem::path& to, std::string& error);

/// The value of an environment variable that must name an absolute path; empty for any other. Not on Windows.
std::filesystem::path absoluteFrom(const char* variable);
/// The home folder of the user; empty = unknown. Not on Windows.
std::filesystem::path homeFolder();

} // namespace kes::platform::os
