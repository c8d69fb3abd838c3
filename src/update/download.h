// SPDX-License-Identifier: MIT
// One file from the update server: where the server is, and a download that leaves a good file as it was when it fails.
// Worker; two downloads never run at once, for they may use the same temporary file.
#pragma once

#include <cstdint>
#include <curl/curl.h>
#include <filesystem>
#include <string>
#include <string_view>

namespace kes {

/// The download base, ending in '/': the line of "input/update_server.txt", a folder name as a "file:" URL. Without the
/// file, the folder "updates". A relative folder lies in the program's folder.
std::string downloadBase();
/// The base and "MSFS2024/" or "MSFS/"; `force` asks for "MSFS/" whatever simulator is selected.
std::string airportsBaseUrl(bool force);
/// Schemes are written in any case; `scheme` ends in ':' or "://". Pure.
bool hasScheme(std::string_view url, std::string_view scheme);

/// A handle that lives as long as one operation, also when an exception passes.
struct CurlHandle {
    CurlHandle();
    ~CurlHandle();
    CurlHandle(const CurlHandle&) = delete;
    CurlHandle& operator=(const CurlHandle&) = delete;
    CURL* handle = nullptr; ///< null when the library has none to give; a download then fails
};

/// What a server can cost. Tests make them smaller.
struct DownloadLimits {
    long connectSeconds = 5; ///< until the server has answered a connection
    long stallSeconds = 10;  ///< with less than `stallBytes` a second
    long stallBytes = 100;
    long totalSeconds = 600; ///< for one file, from the look-up of the name on
    std::uint64_t mostBytes = 256 << 20;
};
extern DownloadLimits downloadLimits;

/// GETs `url` into `path`. False on any failure, which is logged. A failed download never replaces a file that holds
/// data: it leaves the old one, or an empty new one. Gives up at `downloadLimits`, and once the run is to end.
bool downloadToFile(CURL* curl, const std::string& url, const std::filesystem::path& path, bool binary);

/// Removes a file if it can.
void removeQuietly(const std::filesystem::path& path);

} // namespace kes
