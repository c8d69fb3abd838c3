// SPDX-License-Identifier: MIT
#ifndef _WIN32

#include "platform/file.h"
#include "platform/system.h"
#include "platform/system_os.h"
#include "platform/user_folders.h"

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <set>
#include <string>

namespace kes::platform {

namespace {

namespace fs = std::filesystem;

constexpr std::uint64_t longestKeyFile = 1 << 20; ///< bytes; a true one has some kilobytes

char lower(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

bool equalsAnyCase(std::string_view a, std::string_view b) {
    return std::ranges::equal(a, b, [](char x, char y) { return lower(x) == lower(y); });
}

bool isFolder(const fs::path& path) {
    std::error_code error;
    return fs::is_directory(path, error);
}

/// The entries of a folder by name, so that the result does not depend on the file system's order.
std::vector<fs::path> sortedEntries(const fs::path& folder) {
    std::vector<fs::path> entries;
    std::error_code error;
    for (fs::directory_iterator entry(folder, error); !error && entry != fs::directory_iterator();
         entry.increment(error))
        entries.push_back(entry->path());
    std::ranges::sort(entries);
    return entries;
}

/// The quoted texts of Steam's key files; "{" and "}" stand for themselves.
std::vector<std::string> tokensOf(std::string_view text) {
    std::vector<std::string> tokens;
    for (std::size_t at = 0; at < text.size(); ++at) {
        const char c = text[at];
        if (c == '{' || c == '}') {
            tokens.emplace_back(1, c);
        } else if (c == '"') {
            std::string token = "\""; // tells a text from a brace
            for (++at; at < text.size() && text[at] != '"'; ++at) {
                if (text[at] == '\\' && at + 1 < text.size())
                    ++at;
                token += text[at];
            }
            tokens.push_back(std::move(token));
        }
    }
    return tokens;
}

/// The libraries that a "libraryfolders.vdf" names: "path" inside a numbered block, or in the older form the value of
/// the number itself. Inside the block, numbers also name applications, but their values are no paths.
std::vector<fs::path> librariesIn(const fs::path& file, std::vector<std::string>* unreadable) {
    std::vector<fs::path> libraries;
    std::string text;
    const int error = readFile(file.string(), text, longestKeyFile);
    if (error != 0 && error != ENOENT && unreadable)
        unreadable->push_back(file.string() + " cannot be read: " + errorText(error));
    const std::vector<std::string> tokens = tokensOf(text);
    for (std::size_t i = 0; i + 1 < tokens.size(); ++i) {
        if (tokens[i].front() != '"' || tokens[i + 1].front() != '"')
            continue;
        const std::string_view key = std::string_view(tokens[i]).substr(1);
        const std::string_view value = std::string_view(tokens[i + 1]).substr(1);
        const bool isNumber = !key.empty() && std::ranges::all_of(key, [](char c) { return c >= '0' && c <= '9'; });
        if ((isNumber || equalsAnyCase(key, "path")) && value.starts_with('/'))
            libraries.emplace_back(value);
        ++i; // a pair is used up
    }
    return libraries;
}

/// Steam's libraries, each once: its own folders by the ways in which it gets installed, and what they name.
std::vector<fs::path> steamLibraries(std::vector<std::string>* unreadable) {
    std::vector<fs::path> roots;
    if (const fs::path home = os::homeFolder(); !home.empty()) {
        for (const char* below :
             {".steam/steam", ".local/share/Steam", ".var/app/com.valvesoftware.Steam/.local/share/Steam",
              ".steam/root", ".steam/debian-installation", "snap/steam/common/.local/share/Steam"})
            roots.push_back(home / below);
    }
    if (const fs::path data = localFolder(); !data.empty())
        roots.push_back(data / "Steam");

    std::vector<fs::path> libraries;
    const auto add = [&](const fs::path& folder) {
        std::error_code error;
        const fs::path real = fs::canonical(folder, error);
        if (!error && std::ranges::find(libraries, real) == libraries.end())
            libraries.push_back(real);
    };
    for (const fs::path& root : roots)
        add(root);
    const std::vector<fs::path> installed = libraries;
    for (const fs::path& root : installed) {
        for (const fs::path& folder : {childAnyCase(root, "steamapps"), root / "config"}) {
            for (const fs::path& library : librariesIn(folder / "libraryfolders.vdf", unreadable))
                add(library);
        }
    }
    return libraries;
}

bool comesBefore(const fs::path& a, const fs::path& b) {
    const std::string x = a.filename().string();
    const std::string y = b.filename().string();
    return x.size() != y.size() ? x.size() < y.size() : x < y; // numbers by value
}

/// Appends the users of a prefix that has not been seen before. Proton has one, "steamuser"; Wine names it after the
/// account.
void addUsers(const fs::path& prefix, std::set<fs::path>& seen, std::vector<UserFolders>& result) {
    std::error_code error;
    const fs::path real = fs::canonical(prefix, error);
    if (error || !seen.insert(real).second)
        return;
    std::vector<fs::path> users = sortedEntries(prefix / "drive_c" / "users");
    std::stable_partition(users.begin(), users.end(),
                          [](const fs::path& user) { return user.filename() == "steamuser"; });
    for (const fs::path& user : users) {
        const UserFolders folders{prefix, user / "AppData" / "Roaming", user / "AppData" / "Local"};
        if (user.filename() != "Public" && (isFolder(folders.roaming) || isFolder(folders.local)))
            result.push_back(folders);
    }
}

} // namespace

std::vector<UserFolders> prefixUserFolders(std::string_view appId, std::vector<std::string>* unreadable) {
    std::set<fs::path> seen;
    std::vector<UserFolders> result;
    if (const fs::path compat = os::absoluteFrom("STEAM_COMPAT_DATA_PATH"); !compat.empty())
        addUsers(compat / "pfx", seen, result);
    if (const fs::path wine = os::absoluteFrom("WINEPREFIX"); !wine.empty())
        addUsers(wine, seen, result);
    std::vector<fs::path> compatFolders;
    for (const fs::path& library : steamLibraries(unreadable))
        compatFolders.push_back(childAnyCase(library, "steamapps") / "compatdata");
    for (const fs::path& folder : compatFolders)
        addUsers(folder / appId / "pfx", seen, result);
    for (const fs::path& folder : compatFolders) {
        std::vector<fs::path> applications = sortedEntries(folder);
        std::ranges::sort(applications, comesBefore);
        for (const fs::path& application : applications)
            addUsers(application / "pfx", seen, result);
    }
    return result;
}

fs::path pathInPrefix(const fs::path& prefix, std::string_view windowsPath) {
    if (windowsPath.starts_with("\\\\?\\"))
        windowsPath.remove_prefix(4);
    if (windowsPath.size() < 2 || windowsPath[1] != ':')
        return {};
    const char letter = lower(windowsPath[0]);
    if (letter < 'a' || letter > 'z')
        return {};
    std::error_code error;
    fs::path path = fs::canonical(prefix / "dosdevices" / std::string{letter, ':'}, error);
    if (error) {
        if (letter != 'c' && letter != 'z')
            return {};
        path = letter == 'c' ? prefix / "drive_c" : fs::path("/");
    }
    for (std::size_t at = 2; at < windowsPath.size();) {
        const std::size_t end = std::min(windowsPath.find_first_of("\\/", at), windowsPath.size());
        if (end > at)
            path = childAnyCase(path, windowsPath.substr(at, end - at));
        at = end + 1;
    }
    return path;
}

fs::path childAnyCase(const fs::path& folder, std::string_view name) {
    fs::path exact = folder / name;
    std::error_code error;
    if (fs::status(exact, error).type() != fs::file_type::not_found)
        return exact;
    for (const fs::path& entry : sortedEntries(folder)) {
        if (equalsAnyCase(entry.filename().string(), name))
            return entry;
    }
    return exact;
}

} // namespace kes::platform

#endif
