// Everything that comes from the update server. Worker; operations that use the same temporary file never run at once.
#pragma once

#include "core/version.h"

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

/// GETs `url` into `path`. False on any failure, which the caller tells. A failed download never replaces a file that
/// holds data: it leaves the old one, or an empty new one. Gives up on a dead or stalled server after seconds.
bool downloadToFile(CURL* curl, const std::string& url, const std::filesystem::path& path, bool binary);
/// How long a download may hang. Tests make them shorter.
struct DownloadLimits {
    long connectSeconds = 5; ///< until the server has answered a connection
    long stallSeconds = 10;  ///< with less than `stallBytes` a second
    long stallBytes = 100;
};
extern DownloadLimits downloadLimits;

/// "a.b.c" with any single character in place of a dot, or a JSON object with the integer members major, minor and
/// patch. All zero for anything else. Throws std::out_of_range "stoi argument out of range" for a number that fits no
/// int.
Version parseVersion(std::string_view text);
/// All zero on any failure.
Version fetchVersion(CURL* curl, const std::string& url);
/// Throws nwk::UserErrorException 99 when a new installer is ready to run.
void checkProgramVersion();
bool installNewVersion(const Version& version);
bool simaddonFolderMissing();
/// False when the server told no version. Throws filesystem_error, and std::out_of_range for a stored version that fits
/// no int.
bool updateMySimaddon();
/// Fetches a zip of the server and writes its document to `outPath`. False when nothing was written.
bool fetchZipAsText(const std::string& zipName, const std::filesystem::path& outPath);

} // namespace kes
