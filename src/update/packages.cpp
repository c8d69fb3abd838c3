// Zipped documents and the package of airport files.
#include "core/folders.h"
#include "core/log.h"
#include "core/parameters.h"
#include "platform/system.h"
#include "update/update.h"
#include "update/update_internal.h"

#include <fmt/format.h>
#include <fstream>

namespace kes {

namespace fs = std::filesystem;

namespace {

constexpr const char* simaddonZip = "my_simaddon2024.zip";
constexpr std::uint64_t largestEntry = std::uint64_t{1} << 30; ///< bytes

/// The stem of the last part of an entry's name, whatever separators it was written with; empty when it names no file.
std::string entryStem(std::string_view name) {
    const std::size_t last = name.find_last_of("/\\:");
    if (last != std::string_view::npos)
        name.remove_prefix(last + 1);
    const std::string stem = platform::pathText(platform::pathFrom(name).stem());
    return stem == "." || stem == ".." ? std::string() : stem;
}

void emptyFolder(const fs::path& folder) {
    for (const fs::directory_entry& entry : fs::directory_iterator(folder)) {
        std::error_code error;
        fs::remove_all(entry.path(), error);
        if (error)
            log(platform::pathText(entry.path()) + " could not be removed");
    }
}

} // namespace

bool tooLarge(const platform::ZipEntry& entry, const std::string& zipName) {
    if (entry.getSize() <= largestEntry)
        return false;
    log(fmt::format("{} in {} has {} bytes, which is too much", entry.getName(), zipName, entry.getSize()));
    return true;
}

std::optional<std::string> entryText(const platform::ZipEntry& entry, const std::string& zipName) {
    if (tooLarge(entry, zipName))
        return {};
    bool good = false;
    std::string text = entry.readAsText(&good);
    if (good)
        return text;
    log(fmt::format("{} in {} is damaged", entry.getName(), zipName));
    return {};
}

void removeQuietly(const fs::path& path) {
    std::error_code ignored;
    fs::remove(path, ignored);
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
    platform::ZipArchive zip(zipName);
    if (!zip.open()) {
        removeQuietly(outPath);
        log(fmt::format("unzipping {} failed?", zipName));
        return false;
    }
    bool written = false;
    for (const platform::ZipEntry& entry : zip.getEntries()) {
        if (entry.getName().ends_with('/'))
            continue;
        const auto text = entryText(entry, zipName);
        if (!text)
            continue;
        std::string error;
        if (platform::replaceFile(outPath, *text, error))
            written = true;
        else
            log(fmt::format("could not open output file: {}", platform::pathText(outPath)));
    }
    zip.close();
    return written;
}

bool simaddonFolderMissing() {
    std::error_code error;
    return !fs::is_directory(path::mySimaddon, error);
}

bool updateMySimaddon() {
    const CurlHandle curl;
    struct Zip {
        ~Zip() { removeQuietly(simaddonZip); }
    } const gone;
    const std::string base = downloadBase() + "mysimaddon24";
    const Version server = fetchVersion(curl.handle, base + "/version.json");
    if (server == Version{}) {
        log("No mysimaddon version info found at the KLUN server?");
        return false;
    }
    const Version installed = parseVersion(par::MYSIMADDON24_VERSION.get());
    if (server <= installed && !simaddonFolderMissing())
        return true;
    if (!downloadToFile(curl.handle, base + "/" + simaddonZip, simaddonZip, true))
        return true;
    if (simaddonFolderMissing())
        fs::create_directories(path::mySimaddon);
    else
        emptyFolder(path::mySimaddon);
    platform::ZipArchive zip(simaddonZip);
    if (!zip.open()) {
        log(fmt::format("could not open {}", simaddonZip));
        return true;
    }
    std::size_t count = 0;
    for (const platform::ZipEntry& entry : zip.getEntries()) {
        if (entry.getName().ends_with('/'))
            continue;
        const std::string stem = entryStem(entry.getName());
        if (stem.empty()) {
            log(fmt::format("{} in {} names no file, skipped", entry.getName(), simaddonZip));
            continue;
        }
        if (const auto text = entryText(entry, simaddonZip)) {
            const fs::path target = path::mySimaddon / platform::pathFrom(stem + ".txt");
            std::ofstream out(target, std::ios::binary);
            out.write(text->data(), static_cast<std::streamsize>(text->size()));
            out.close();
            if (out)
                ++count;
            else
                log(fmt::format("could not open output file: {}", platform::pathText(target)));
        }
    }
    zip.close();
    log(fmt::format("{} unzipped {} files", simaddonZip, count));
    par::MYSIMADDON24_VERSION.set(toText(server));
    save(par::MYSIMADDON24_VERSION);
    showStatus(fmt::format("mysimaddon has been updated to version {}", toText(server)), true);
    return true;
}

} // namespace kes
