// SPDX-License-Identifier: MIT
// Lists as people have them: as they are, or gzip.
#pragma once

#include <filesystem>
#include <string>

namespace kes::pack {

/// All of a file, unpacked when it is gzip. Throws std::runtime_error when it cannot be read or is damaged. Any thread.
std::string readUnpacked(const std::filesystem::path& file);

} // namespace kes::pack
