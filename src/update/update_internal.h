// What the files of this folder share.
#pragma once

#include "platform/zip.h"

#include <curl/curl.h>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kes {

/// A handle that lives as long as one operation, also when an exception passes.
struct CurlHandle {
    CurlHandle();
    ~CurlHandle();
    CurlHandle(const CurlHandle&) = delete;
    CurlHandle& operator=(const CurlHandle&) = delete;
    CURL* handle = nullptr;
};

/// Schemes are written in any case; `scheme` ends in ':'.
bool hasScheme(std::string_view url, std::string_view scheme);

/// Opens a zip that came from the server. False, and logged, for one that cannot be opened or holds more than
/// `packageLimits`, and once the run is to end; `fault` is the line about the first of these.
bool openPackage(platform::ZipArchive& zip, const std::string& zipName, const std::string& fault,
                 std::vector<platform::ZipEntry>& entries);
/// A zip that the server told a SHA-256 of must have it; the opposite is logged.
bool hashIsGood(const std::string& zipName, const std::optional<std::string>& sha256);
/// Writes an entry to a file by way of one beside it. 0 = done, else as `ZipEntry::readContent`; nothing is left then.
int unpackTo(const platform::ZipEntry& entry, const std::filesystem::path& path);

void removeQuietly(const std::filesystem::path& path);

} // namespace kes
