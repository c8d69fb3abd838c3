// SPDX-License-Identifier: MIT
#include "install/install.h"

#include "core/folders.h"
#include "core/log.h"
#include "core/parameters.h"
#include "core/text.h"
#include "core/text_encoding.h"
#include "platform/file.h"
#include "platform/system.h"
#include "platform/user_folders.h"

#include <cstdint>
#include <fmt/format.h>
#include <initializer_list>
#include <iterator>
#include <optional>
#include <system_error>
#include <vector>

namespace kes {

namespace fs = std::filesystem;

namespace {

/// What differs between the two simulators that can be selected.
struct Simulator {
    const char* storeFamily;
    const char* folder;
    const char* official;
    std::string_view steamId;
    const TextParameter& installPath;
};

const Simulator& selected() {
    static const Simulator msfs2020{"Microsoft.FlightSimulator_8wekyb3d8bbwe", "Microsoft Flight Simulator", "Official",
                                    "1250410", par::MSFS_INSTALL_PATH};
    static const Simulator msfs2024{"Microsoft.Limitless_8wekyb3d8bbwe", "Microsoft Flight Simulator 2024",
                                    "Official2024", "2537590", par::MSFS_2024_INSTALL_PATH};
    return par::MSFS_2020 ? msfs2020 : msfs2024;
}

bool isThere(const fs::path& path) {
    std::error_code error;
    const fs::file_status status = fs::status(path, error);
    if (status.type() == fs::file_type::none)
        throw fs::filesystem_error("exists", path, error);
    return fs::exists(status);
}

/// Empty below a folder that is not known, so that nothing is looked for in the current directory.
fs::path below(const fs::path& base, std::initializer_list<std::string_view> names) {
    fs::path path = base;
    if (!base.empty()) {
        for (const std::string_view name : names)
            path = platform::childAnyCase(path, name);
    }
    return path;
}

fs::path localFolder() {
    fs::path folder = platform::localFolder();
    if (folder.empty())
        log("Could not find the a Local Appdata path");
    return folder;
}

constexpr std::uint64_t longestUserCfg = 1 << 20; ///< bytes; a true one has some hundred lines

/// The bytes of the first file that exists; nothing when none does. One that cannot be read costs only itself.
std::optional<std::string> readUserCfg(const Simulator& simulator, const platform::UserFolders& user) {
    struct Candidate {
        const char* missing;
        fs::path path;
    };
    const Candidate candidates[] = {
        {"MSFS detection, no Store:{}",
         below(user.local, {"Packages", simulator.storeFamily, "LocalCache", "UserCfg.opt"})},
        {"MSFS detection, no Steam1:{}", below(user.roaming, {simulator.folder, "UserCfg.opt"})},
        {"MSFS detection, no Steam2:{}",
         below(user.local, {"Packages", "Microsoft.FlightDashboard_8wekyb3d8bbwe", "LocalCache", "UserCfg.opt"})},
        {"MSFS detection, no Boxed:{}", below(user.local, {"MSFSPackages", "UserCfg.opt"})},
    };
    for (const Candidate& candidate : candidates) {
        const std::string name = platform::pathText(candidate.path);
        if (!isThere(candidate.path)) {
            log(fmt::format(fmt::runtime(candidate.missing), name));
            continue;
        }
        std::string text;
        const int error = platform::readFile(name, text, longestUserCfg);
        if (error == 0)
            return text;
        log(fmt::format("{} cannot be read: {}", name, platform::errorText(error)));
    }
    return {};
}

/// The text behind a byte-order mark as UTF-8; without a mark the bytes as they are. Broken 16-bit text had no mark
/// after all, and a lone last byte of it is left out.
std::string decoded(const std::string& bytes) {
    const TextMark mark = markOf(bytes);
    if (mark != TextMark::utf16Little && mark != TextMark::utf16Big)
        return std::string(withoutMark(bytes));
    const std::string_view units = std::string_view(bytes).substr(2, bytes.size() / 2 * 2 - 2);
    std::string text;
    return appendUtf16(text, units, mark == TextMark::utf16Big) ? text : bytes;
}

/// The value of the first line that names the packages folder.
std::string installedPackagesPath(const std::string& bytes) {
    const std::string text = decoded(bytes);
    for (std::string_view line : split(text, '\n')) {
        if (line.ends_with('\r'))
            line.remove_suffix(1);
        if (line.find("InstalledPackagesPath") != std::string_view::npos)
            return utf8OrLatin1(unquoted(line));
    }
    return {};
}

fs::path pathInUserCfg(std::optional<std::string> bytes, const fs::path& prefix) {
    if (!bytes) {
        log("No UserCfg.opt found?");
        return {};
    }
    const std::string value = installedPackagesPath(*bytes);
    fs::path path = prefix.empty() ? platform::pathFrom(value) : platform::pathInPrefix(prefix, value);
    if (!isThere(path))
        path.clear();
    log(fmt::format("UserCfg.opt: InstalledPackagesPath={}", path.empty() ? "???" : platform::pathText(path)));
    return path;
}

/// The packages folder that the user folders of one machine, or of one prefix, lead to.
fs::path detectIn(const Simulator& simulator, const platform::UserFolders& user) {
    fs::path steam = below(user.roaming, {simulator.folder, "Packages"});
    if (isThere(steam))
        log(fmt::format("Steam packages:{}", platform::pathText(steam)));
    else
        steam.clear();
    if (isPackagesPath(steam))
        return steam;
    fs::path named = pathInUserCfg(readUserCfg(simulator, user), user.prefix);
    return isPackagesPath(named) ? named : fs::path();
}

} // namespace

bool isPackagesPath(const fs::path& path) {
    return !path.empty() && isThere(path) && isThere(platform::childAnyCase(path, "Community")) &&
           isThere(platform::childAnyCase(path, selected().official));
}

std::string detectPackagesPath() {
    const Simulator& simulator = selected();
    const platform::UserFolders native{{}, roamingFolder(), localFolder()};
    if (const fs::path found = detectIn(simulator, native); !found.empty())
        return platform::pathText(found);
    std::vector<std::string> unreadable;
    const auto users = platform::prefixUserFolders(simulator.steamId, &unreadable);
    for (const std::string& line : unreadable)
        log(line);
    for (const platform::UserFolders& user : users) {
        try {
            if (const fs::path found = detectIn(simulator, user); !found.empty())
                return platform::pathText(found);
        } catch (const std::exception& error) {
            // Somebody else's prefix, or a disk that has gone: the next one may be the right one.
            log(error.what());
        }
    }
    return {};
}

fs::path installSubFolder(std::string_view folder) {
    const fs::path packages = platform::pathFrom(selected().installPath.get());
    return packages.empty() ? fs::path() : platform::childAnyCase(packages, folder);
}

} // namespace kes
