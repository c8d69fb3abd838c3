// SPDX-License-Identifier: MIT
// Files and zips by hand, and the text of what is thrown.
#pragma once

#include "platform/zip.h"
#include "support.h"
#include "thrown.h"

#include <utility>

namespace kes::test {

/// Makes the file's folder, too.
inline void putFile(const std::filesystem::path& file, std::string_view content) {
    if (file.has_parent_path())
        std::filesystem::create_directories(file.parent_path());
    std::ofstream(file, std::ios::binary) << content;
}

/// The bytes of a zip, which stays in `file`.
inline std::string zipOf(const std::vector<std::pair<std::string, std::string>>& entries,
                         const std::filesystem::path& file = "made.zip") {
    platform::ZipArchive zip(file);
    EXPECT_TRUE(zip.open(platform::ZipArchive::OpenMode::create));
    for (const auto& [name, content] : entries)
        EXPECT_TRUE(zip.addData(name, content));
    EXPECT_TRUE(zip.close());
    return readFile(file);
}

} // namespace kes::test
