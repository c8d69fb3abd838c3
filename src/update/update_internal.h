// What the files of this folder share.
#pragma once

#include "platform/zip.h"

#include <curl/curl.h>
#include <filesystem>
#include <optional>
#include <string>

namespace kes {

/// A handle that lives as long as one operation, also when an exception passes.
struct CurlHandle {
    CurlHandle();
    ~CurlHandle();
    CurlHandle(const CurlHandle&) = delete;
    CurlHandle& operator=(const CurlHandle&) = delete;
    CURL* handle = nullptr;
};

/// Whether an entry is larger than anything that a server of ours holds, which is then logged.
bool tooLarge(const platform::ZipEntry& entry, const std::string& zipName);

/// The text of an entry, nothing (logged) when it is broken or too large.
std::optional<std::string> entryText(const platform::ZipEntry& entry, const std::string& zipName);

void removeQuietly(const std::filesystem::path& path);

} // namespace kes
