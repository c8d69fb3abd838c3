// SPDX-License-Identifier: MIT
#include "update/program_update.h"

#include "core/errors.h"
#include "core/foreign_log.h"
#include "core/log.h"
#include "core/parameters.h"
#include "core/run_state.h"
#include "core/text.h"
#include "platform/system.h"
#include "platform/zip.h"
#include "update/download.h"
#include "update/packages.h"
#include "update/server_version.h"

#include <algorithm>
#include <fmt/format.h>
#include <vector>

namespace kes {

namespace fs = std::filesystem;

namespace {

constexpr const char* installerFile = "install_new_version.exe";

} // namespace

void checkProgramVersion() {
    ServerVersion file;
    {
        const CurlHandle curl;
        file = fetchServerVersion(curl.handle, downloadBase() + "release/version.json");
    }
    const Version& server = file.version;
    if (server == Version{}) {
        log("Program Version file not found?");
        return;
    }
    if (server <= runningVersion())
        return;
    if (installNewVersion(server, file.sha256)) {
        // The first start of all comes here before the path is stored.
        const std::string stored = par::PROGRAM_INSTALL_PATH.get();
        const fs::path installer = (stored.empty() ? fs::current_path() : platform::pathFrom(stored)) / installerFile;
        throw nwk::UserErrorException(99, fmt::format("New version {} available, exit {}. Run as administrator: \"{}\"",
                                                      toText(server), programName, platform::pathText(installer)));
    }
    showStatus("The downloading/unzipping of the new version failed? Try manually via ombrevale website", true);
}

bool installNewVersion(const Version& version, const std::optional<std::string>& sha256) {
    const std::string name = fmt::format("setup_{}_d_v{}", programName, toText(version)), zipName = name + ".zip";
    struct Zip {
        const std::string& name;
        ~Zip() { removeQuietly(name); }
    } const gone{zipName};
    {
        const std::string url = downloadBase() + "release/" + zipName;
        // It will be run, with all rights, so nobody on the way may have put another in its place.
        const bool safe = hasScheme(url, "https:") || hasScheme(url, "file:");
        if (!safe)
            log(fmt::format("{}: an installer is taken over https only", url));
        const CurlHandle curl;
        if (!safe || !downloadToFile(curl.handle, url, zipName, true)) {
            showStatus(fmt::format("Downloading program installer file version {} failed", toText(version)), true);
            return false;
        }
    }
    log(fmt::format("downloaded {}", zipName));
    if (!hashIsGood(zipName, sha256))
        return false;
    platform::ZipArchive zip(zipName, stopWanted);
    std::vector<platform::ZipEntry> entries;
    if (!openPackage(zip, zipName, fmt::format("could not open {}", zipName), entries))
        return false;
    // A folder and an empty file are no programs.
    std::erase_if(entries, [](const auto& entry) { return entry.getName().ends_with('/') || entry.getSize() == 0; });
    const auto isNamed = [&](const platform::ZipEntry& entry) { return equalsNoCase(entry.getName(), name + ".exe"); };
    if (std::any_of(entries.begin(), entries.end(), isNamed))
        std::erase_if(entries, [&](const auto& entry) { return !isNamed(entry); });
    removeQuietly(installerFile);
    // The last good one stays.
    LogLimiter complaints("installer's zip");
    for (auto entry = entries.rbegin(); entry != entries.rend() && !stopWanted(); ++entry) {
        if (const int error = unpackTo(*entry, installerFile)) {
            complaints.write(fmt::format("unzipping error code : {}", error));
            continue;
        }
        log(fmt::format("{} unzipped to {}", kes::quoted(entry->getName()), installerFile));
        return true;
    }
    complaints.finish();
    return false;
}

} // namespace kes
