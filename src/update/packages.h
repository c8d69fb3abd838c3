// SPDX-License-Identifier: MIT
// The zips of the update server: checked before they are unpacked, unpacked by way of a file beside the target. Worker;
// see download.h.
#pragma once

#include "platform/zip.h"

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace kes {

/// What a zip of the server may hold, all its entries together. Tests make them smaller.
struct PackageLimits {
    std::uint64_t entries = 10'000;
    std::uint64_t bytes = 1 << 30; ///< unpacked
};
extern PackageLimits packageLimits;

/// Opens a zip that came from the server. False, and logged, for one that cannot be opened or holds more than
/// `packageLimits`, and once the run is to end; `fault` is the line about the first of these.
bool openPackage(platform::ZipArchive& zip, const std::string& zipName, const std::string& fault,
                 std::vector<platform::ZipEntry>& entries);
/// A zip that the server told a SHA-256 of must have it; the opposite is logged.
bool hashIsGood(const std::string& zipName, const std::optional<std::string>& sha256);
/// Writes an entry to a file by way of one beside it. 0 = done, else as `ZipEntry::readContent`; nothing is left then.
int unpackTo(const platform::ZipEntry& entry, const std::filesystem::path& path);
/// Fetches a zip of the server and writes its last good document to `outPath`. False (logged, unless the run is to end)
/// when nothing was written.
bool fetchZipAsText(const std::string& zipName, const std::filesystem::path& outPath);

} // namespace kes
