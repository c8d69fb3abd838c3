// Versions on the update server, and the installer of a new program.
#include "core/errors.h"
#include "core/foreign_log.h"
#include "core/log.h"
#include "core/parameters.h"
#include "core/run_state.h"
#include "core/text.h"
#include "platform/file.h"
#include "platform/system.h"
#include "update/update.h"
#include "update/update_internal.h"

#include <algorithm>
#include <fmt/format.h>
#include <limits>
#include <nlohmann/json.hpp>
#include <regex>
#include <stdexcept>

namespace kes {

namespace fs = std::filesystem;

namespace {

constexpr const char* versionFile = "version.json";
constexpr const char* installerFile = "install_new_version.exe";
constexpr std::uint64_t longestVersionFile = 65536; ///< bytes

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

ServerVersion parseServerVersion(std::string_view text) {
    ServerVersion result{parseVersion(text), {}};
    const auto object = nlohmann::json::parse(text, nullptr, false);
    if (!object.is_object())
        return result;
    if (const auto found = object.find("sha256"); found != object.end())
        result.sha256 = found->is_string() ? found->get<std::string>() : std::string();
    return result;
}

ServerVersion fetchServerVersion(CURL* curl, const std::string& url) {
    if (!downloadToFile(curl, url, versionFile, false)) {
        log(fmt::format("downloading \"{}\" failed", url));
        removeQuietly(versionFile);
        return {};
    }
    std::string text;
    const int error = platform::readFile(versionFile, text, longestVersionFile);
    removeQuietly(versionFile);
    std::string_view line = std::string_view(text).substr(0, text.find('\n'));
    if (line.ends_with('\r'))
        line.remove_suffix(1);
    try {
        if (error == 0)
            return parseServerVersion(line);
        log(fmt::format("{} is no version: {}", url, platform::errorText(error)));
    } catch (const std::out_of_range& e) {
        log(fmt::format("\"{}\" of {} is no version: {}", kes::quoted(line), url, e.what()));
    }
    return {};
}

Version fetchVersion(CURL* curl, const std::string& url) {
    return fetchServerVersion(curl, url).version;
}

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
