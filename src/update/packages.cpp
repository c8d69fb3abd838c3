// SPDX-License-Identifier: MIT
#include "update/packages.h"

#include "core/foreign_log.h"
#include "core/log.h"
#include "core/run_state.h"
#include "core/text.h"
#include "platform/system.h"
#include "update/download.h"
#include "update/sha256.h"

#include <algorithm>
#include <fmt/format.h>
#include <fstream>

namespace kes {

namespace fs = std::filesystem;

PackageLimits packageLimits;

bool openPackage(platform::ZipArchive& zip, const std::string& zipName, const std::string& fault,
                 std::vector<platform::ZipEntry>& entries) {
    if (!zip.open()) {
        log(fault);
        return false;
    }
    if (const std::uint64_t count = zip.countEntries(); count > packageLimits.entries) {
        log(fmt::format("{} has {} entries, which is too much", zipName, count));
        return false;
    }
    entries = zip.getEntries();
    std::uint64_t bytes = 0;
    for (const platform::ZipEntry& entry : entries) {
        // No sum is formed that could run over.
        if (entry.getSize() > packageLimits.bytes - bytes) {
            log(fmt::format("{} unpacks to more than {} bytes, which is too much", zipName, packageLimits.bytes));
            return false;
        }
        bytes += entry.getSize();
    }
    return !stopWanted();
}

bool hashIsGood(const std::string& zipName, const std::optional<std::string>& sha256) {
    if (!sha256)
        return true;
    const std::string found = sha256OfFile(zipName);
    if (!found.empty() && equalsNoCase(found, *sha256))
        return true;
    if (!stopWanted())
        log(fmt::format("{} is not what the server promised: its SHA-256 is {} instead of {}", zipName, found,
                        kes::quoted(*sha256)));
    return false;
}

int unpackTo(const platform::ZipEntry& entry, const fs::path& path) {
    fs::path part = path;
    part += ".part";
    removeQuietly(part); // a pipe of that name would wait for a reader
    std::ofstream out(part, std::ios::binary | std::ios::trunc);
    constexpr std::uint64_t longestPiece = 0x80000;
    int error = entry.readContent(out, static_cast<std::size_t>(std::min(longestPiece, entry.getSize() + 1)));
    out.close();
    std::error_code moved;
    if (error == 0 && out)
        fs::rename(part, path, moved);
    if (error == 0 && (!out || moved))
        error = -1;
    if (error != 0)
        removeQuietly(part);
    return error;
}

bool fetchZipAsText(const std::string& zipName, const fs::path& outPath) {
    const CurlHandle curl;
    struct Zip {
        const std::string& name;
        ~Zip() { removeQuietly(name); }
    } const gone{zipName};
    if (!downloadToFile(curl.handle, downloadBase() + zipName, zipName, true)) {
        log(fmt::format("downloading {} failed?", zipName));
        return false;
    }
    platform::ZipArchive zip(zipName, stopWanted);
    std::vector<platform::ZipEntry> entries;
    if (!openPackage(zip, zipName, fmt::format("unzipping {} failed?", zipName), entries)) {
        removeQuietly(outPath);
        return false;
    }
    // A zip holds one document. Of several the last good one counts, so the others need not be unpacked.
    LogLimiter complaints("zip of a document");
    for (auto entry = entries.rbegin(); entry != entries.rend() && !stopWanted(); ++entry) {
        if (entry->getName().ends_with('/'))
            continue;
        const int error = unpackTo(*entry, outPath);
        if (error == 0)
            return true;
        if (stopWanted())
            return false;
        if (error == -1) {
            log(fmt::format("could not open output file: {}", platform::pathText(outPath)));
            return false;
        }
        complaints.write(fmt::format("{} in {} is damaged", kes::quoted(entry->getName()), zipName));
    }
    complaints.finish();
    return false;
}

} // namespace kes
