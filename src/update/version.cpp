// Versions on the update server, and the installer of a new program.
#include "core/errors.h"
#include "core/log.h"
#include "core/parameters.h"
#include "platform/file.h"
#include "platform/system.h"
#include "update/update.h"
#include "update/update_internal.h"

#include <fmt/format.h>
#include <fstream>
#include <limits>
#include <nlohmann/json.hpp>
#include <regex>
#include <stdexcept>

namespace kes {

namespace fs = std::filesystem;

namespace {

constexpr const char* versionFile = "version.json";
constexpr const char* installerFile = "install_new_version.exe";

int number(const std::string& digits) {
    try {
        return std::stoi(digits);
    } catch (const std::out_of_range&) {
        throw std::out_of_range("stoi argument out of range");
    }
}

int member(const nlohmann::json& object, const char* name) {
    const auto found = object.find(name);
    if (found == object.end() || !found->is_number_integer())
        return 0;
    // A number that fits no signed 64 bits would come back as a negative one.
    const bool huge = found->is_number_unsigned() && found->get<std::uint64_t>() > std::numeric_limits<int>::max();
    const auto value = found->get<std::int64_t>();
    if (huge || value < std::numeric_limits<int>::min() || value > std::numeric_limits<int>::max())
        throw std::out_of_range("stoi argument out of range");
    return static_cast<int>(value);
}

} // namespace

Version parseVersion(std::string_view text) {
    if (text.empty())
        return {};
    // A version is short; a long line is none, and the expression need not see it.
    constexpr std::size_t longest = 200;
    static const std::regex pattern("(\\d+).(\\d+).(\\d+)");
    std::match_results<std::string_view::const_iterator> match;
    if (text.size() <= longest && std::regex_match(text.begin(), text.end(), match, pattern))
        return {number(match[1].str()), number(match[2].str()), number(match[3].str())};
    const auto object = nlohmann::json::parse(text, nullptr, false);
    if (!object.is_object())
        return {};
    return {member(object, "major"), member(object, "minor"), member(object, "patch")};
}

Version fetchVersion(CURL* curl, const std::string& url) {
    if (!downloadToFile(curl, url, versionFile, false)) {
        log(fmt::format("downloading \"{}\" failed", url));
        removeQuietly(versionFile);
        return {};
    }
    std::string text;
    platform::readFile(versionFile, text);
    removeQuietly(versionFile);
    std::string_view line = std::string_view(text).substr(0, text.find('\n'));
    if (line.ends_with('\r'))
        line.remove_suffix(1);
    try {
        return parseVersion(line);
    } catch (const std::out_of_range& e) {
        log(fmt::format("\"{}\" of {} is no version: {}", line, url, e.what()));
        return {};
    }
}

void checkProgramVersion() {
    Version server;
    {
        const CurlHandle curl;
        server = fetchVersion(curl.handle, downloadBase() + "release/version.json");
    }
    if (server == Version{}) {
        log("Program Version file not found?");
        return;
    }
    if (server <= runningVersion())
        return;
    if (installNewVersion(server)) {
        // The first start of all comes here before the path is stored.
        const std::string stored = par::PROGRAM_INSTALL_PATH.get();
        const fs::path installer = (stored.empty() ? fs::current_path() : platform::pathFrom(stored)) / installerFile;
        throw nwk::UserErrorException(99, fmt::format("New version {} available, exit {}. Run as administrator: \"{}\"",
                                                      toText(server), programName, platform::pathText(installer)));
    }
    showStatus("The downloading/unzipping of the new version failed? Try manually via ombrevale website", true);
}

bool installNewVersion(const Version& version) {
    const std::string zipName = fmt::format("setup_{}_d_v{}.zip", programName, toText(version));
    struct Zip {
        const std::string& name;
        ~Zip() { removeQuietly(name); }
    } const gone{zipName};
    {
        const CurlHandle curl;
        if (!downloadToFile(curl.handle, downloadBase() + "release/" + zipName, zipName, true)) {
            showStatus(fmt::format("Downloading program installer file version {} failed", toText(version)), true);
            return false;
        }
    }
    log(fmt::format("downloaded {}", zipName));
    platform::ZipArchive zip(zipName);
    if (!zip.open()) {
        log(fmt::format("could not open {}", zipName));
        return false;
    }
    // Half an installer must not be run, nor take the place of a whole one.
    const fs::path part = std::string(installerFile) + ".part";
    bool unpacked = false;
    for (const platform::ZipEntry& entry : zip.getEntries()) {
        if (!unpacked)
            removeQuietly(installerFile);
        if (tooLarge(entry, zipName))
            continue;
        std::ofstream out(part, std::ios::binary);
        int error = entry.readContent(out, 0x80000);
        out.close();
        std::error_code moved;
        if (error == 0 && out)
            fs::rename(part, installerFile, moved);
        if (error == 0 && (!out || moved))
            error = -1;
        if (error != 0) {
            log(fmt::format("unzipping error code : {}", error));
            removeQuietly(part);
            continue;
        }
        log(fmt::format("{} unzipped to {}", entry.getName(), installerFile));
        unpacked = true;
    }
    zip.close();
    return unpacked;
}

} // namespace kes
