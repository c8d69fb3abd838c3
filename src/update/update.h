// Everything that comes from the update server. Worker; operations that use the same temporary file never run at once.
#pragma once

#include "core/version.h"

#include <cstdint>
#include <curl/curl.h>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

namespace kes {

/// The download base, ending in '/': the line of "input/update_server.txt", a folder name as a "file:" URL. Without the
/// file, the folder "updates". A relative folder lies in the program's folder.
std::string downloadBase();
/// The base and "MSFS2024/" or "MSFS/"; `force` asks for "MSFS/" whatever simulator is selected.
std::string airportsBaseUrl(bool force);

/// GETs `url` into `path`. False on any failure, which the caller tells. A failed download never replaces a file that
/// holds data: it leaves the old one, or an empty new one. Gives up at `downloadLimits`, and once the run is to end.
bool downloadToFile(CURL* curl, const std::string& url, const std::filesystem::path& path, bool binary);
/// What a server can cost. Tests make them smaller.
struct DownloadLimits {
    long connectSeconds = 5; ///< until the server has answered a connection
    long stallSeconds = 10;  ///< with less than `stallBytes` a second
    long stallBytes = 100;
    long totalSeconds = 600; ///< for one file, from the look-up of the name on
    std::uint64_t mostBytes = 256 << 20;
};
extern DownloadLimits downloadLimits;
/// What a zip of the server may hold, all its entries together.
struct PackageLimits {
    std::uint64_t entries = 10'000;
    std::uint64_t bytes = 1 << 30; ///< unpacked
};
extern PackageLimits packageLimits;

/// "a.b.c" with any single character in place of a dot, or a JSON object with the integer members major, minor and
/// patch. All zero for anything else. Throws std::out_of_range "stoi argument out of range" for a number that fits no
/// int.
Version parseVersion(std::string_view text);
/// What a version file tells: besides the version, the SHA-256 of the zip beside it as the text member "sha256" of the
/// object. Nothing when there is no such member; of a member of another kind an empty text, which no zip has.
struct ServerVersion {
    Version version;
    std::optional<std::string> sha256;
};
ServerVersion parseServerVersion(std::string_view text); ///< throws as `parseVersion`
/// All zero on any failure.
ServerVersion fetchServerVersion(CURL* curl, const std::string& url);
Version fetchVersion(CURL* curl, const std::string& url);
/// Throws nwk::UserErrorException 99 when a new installer is ready to run.
void checkProgramVersion();
/// True when the installer is in place. Takes it over https and from a folder only, and of its zip the entry with the
/// zip's own name and ".exe"; where there is none, the last good one. A zip with another SHA-256 than the one given is
/// not unpacked.
bool installNewVersion(const Version& version, const std::optional<std::string>& sha256 = {});
bool simaddonFolderMissing();
/// Brings the package of airport files up to the server's version, which is stored only when every file of the package
/// was written; the files before it stay otherwise. False when the server told no version. Throws filesystem_error, and
/// std::out_of_range for a stored version that fits no int.
bool updateMySimaddon();
/// Fetches a zip of the server and writes its last good document to `outPath`. False when nothing was written.
bool fetchZipAsText(const std::string& zipName, const std::filesystem::path& outPath);

} // namespace kes
