// SPDX-License-Identifier: MIT
#include "update/airport_package.h"

#include "core/change.h"
#include "core/folders.h"
#include "core/foreign_log.h"
#include "core/log.h"
#include "core/parameters.h"
#include "core/run_state.h"
#include "core/text.h"
#include "platform/file.h"
#include "platform/system.h"
#include "platform/zip.h"
#include "update/download.h"
#include "update/packages.h"
#include "update/server_version.h"

#include <filesystem>
#include <fmt/format.h>
#include <optional>
#include <vector>

namespace kes {

namespace fs = std::filesystem;

namespace {

constexpr const char* simaddonZip = "my_simaddon2024.zip";

/// Names that Windows keeps for devices in every folder, whatever extension, dots or blanks follow: a file of that
/// name is a printer, or never ends.
bool isDeviceName(std::string_view name) {
    name = name.substr(0, name.find('.'));
    while (name.ends_with(' '))
        name.remove_suffix(1);
    for (const std::string_view device : {"CON", "PRN", "AUX", "NUL", "CONIN$", "CONOUT$", "CLOCK$"}) {
        if (equalsNoCase(name, device))
            return true;
    }
    if (name.size() < 4 || (!equalsNoCase(name.substr(0, 3), "COM") && !equalsNoCase(name.substr(0, 3), "LPT")))
        return false;
    // Raised digits count as well.
    const std::string_view number = name.substr(3);
    return (number.size() == 1 && number[0] >= '0' && number[0] <= '9') || number == "\u00B9" || number == "\u00B2" ||
           number == "\u00B3";
}

/// The stem of the last part of an entry's name, whatever separators it was written with; empty when it names no file.
std::string entryStem(std::string_view name) {
    const std::size_t last = name.find_last_of("/\\:");
    if (last != std::string_view::npos)
        name.remove_prefix(last + 1);
    const std::string stem = platform::pathText(platform::pathFrom(name).stem());
    return stem == "." || stem == ".." || isDeviceName(stem) ? std::string() : stem;
}

/// Removes what has the name, whatever it is; of a link never what it leads to.
void removeFolder(const fs::path& folder) {
    std::error_code error;
    if (platform::isLink(folder)) {
        fs::remove(folder, error);
        return;
    }
    for (fs::directory_iterator entry(folder, error), end; !error && entry != end; entry.increment(error)) {
        std::error_code resists;
        fs::remove_all(entry->path(), resists);
        if (resists)
            log(platform::pathText(entry->path()) + " could not be removed");
    }
    fs::remove(folder, error);
}

/// Unpacks the files of the package into an empty folder. Their number, nothing when one of them is missing.
std::optional<std::size_t> unpackAirportFiles(const fs::path& folder) {
    platform::ZipArchive zip(simaddonZip, stopWanted);
    std::vector<platform::ZipEntry> entries;
    if (!openPackage(zip, simaddonZip, fmt::format("could not open {}", simaddonZip), entries))
        return {};
    LogLimiter complaints("zip of the airport files");
    std::size_t count = 0, missing = 0;
    for (const platform::ZipEntry& entry : entries) {
        if (entry.getName().ends_with('/'))
            continue;
        const std::string stem = entryStem(entry.getName());
        if (stem.empty()) {
            complaints.write(fmt::format("{} in {} names no file, skipped", kes::quoted(entry.getName()), simaddonZip));
            continue;
        }
        const fs::path target = folder / platform::pathFrom(stem + ".txt");
        if (const int error = unpackTo(entry, target)) {
            if (stopWanted())
                return {};
            complaints.write(
                error < 0 ? fmt::format("could not open output file: {}", kes::quoted(platform::pathText(target)))
                          : fmt::format("{} in {} is damaged", kes::quoted(entry.getName()), simaddonZip));
            ++missing;
        } else {
            ++count;
        }
    }
    complaints.finish();
    log(fmt::format("{} unzipped {} files", simaddonZip, count));
    if (missing > 0) {
        log(fmt::format("{} of {} could not be unzipped, the airport files stay as they were", missing,
                        count + missing));
        return {};
    }
    return count;
}

/// Puts the airport files of the downloaded package into the place of the old ones, all or none.
bool replaceAirportFiles() {
    fs::path fresh = path::mySimaddon;
    fresh += ".unpacking";
    removeFolder(fresh);
    std::error_code error;
    if (!fs::create_directories(fresh, error)) {
        if (simaddonFolderMissing())
            throw fs::filesystem_error("create_directories", fresh, error);
        log(fmt::format("{} could not be made: {}", platform::pathText(fresh), error.message()));
        return false;
    }
    std::string reason;
    bool done = unpackAirportFiles(fresh).has_value();
    if (done && !platform::exchangeFolders(fresh, path::mySimaddon, reason)) {
        log(fmt::format("{} could not be replaced: {}", platform::pathText(path::mySimaddon), reason));
        done = false;
    }
    removeFolder(fresh);
    return done;
}

} // namespace

bool simaddonFolderMissing() {
    std::error_code error;
    return !fs::is_directory(path::mySimaddon, error);
}

bool updateMySimaddon() {
    const CurlHandle curl;
    struct Zip {
        ~Zip() { removeQuietly(simaddonZip); }
    } const gone;
    platform::restoreFolder(path::mySimaddon);
    const std::string base = downloadBase() + "mysimaddon24";
    const ServerVersion file = fetchServerVersion(curl.handle, base + "/version.json");
    const Version& server = file.version;
    if (server == Version{}) {
        log("No mysimaddon version info found at the KLUN server?");
        return false;
    }
    const Version installed = parseVersion(par::MYSIMADDON24_VERSION.get());
    if (server <= installed && !simaddonFolderMissing())
        return true;
    if (platform::isLink(path::mySimaddon)) {
        // What it leads to belongs to somebody else, and would be emptied.
        showStatus(fmt::format("{} is a link, so mysimaddon {} is not installed", platform::pathText(path::mySimaddon),
                               toText(server)),
                   true);
        return true;
    }
    if (!downloadToFile(curl.handle, base + "/" + simaddonZip, simaddonZip, true) ||
        !hashIsGood(simaddonZip, file.sha256) || !replaceAirportFiles())
        return true;
    change(par::MYSIMADDON24_VERSION, toText(server));
    showStatus(fmt::format("mysimaddon has been updated to version {}", toText(server)), true);
    return true;
}

} // namespace kes
