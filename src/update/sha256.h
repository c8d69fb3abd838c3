// SPDX-License-Identifier: MIT
// The SHA-256 of what an update server hands out, as 64 small hexadecimal digits. Any thread.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>

namespace kes {

std::string sha256Of(std::string_view bytes); ///< of no bytes at all, too
/// Of a file, piece by piece. Empty when it cannot be read to its end, or when the run is to end meanwhile.
std::string sha256OfFile(const std::filesystem::path& file);

} // namespace kes
