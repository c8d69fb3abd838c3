// SPDX-License-Identifier: MIT
#include "install/publisher.h"

#include "core/foreign_log.h"
#include "core/text.h"
#include "core/text_encoding.h"
#include "platform/file.h"
#include "platform/system.h"
#include "reference/reference.h"

#include <algorithm>
#include <fmt/format.h>
#include <nlohmann/json.hpp>
#include <regex>
#include <system_error>

namespace kes {

namespace {

namespace fs = std::filesystem;
using nlohmann::json;

constexpr std::string_view manifestName = "manifest.json", community = "Community", separators = "/\\";
constexpr std::string_view unknown = "unknown";
constexpr std::uint64_t mostBytes = std::uint64_t{16} << 20; ///< real ones have a few thousand

bool containsNoCase(std::string_view text, std::string_view word) {
    for (std::size_t at = 0; at + word.size() <= text.size(); ++at) {
        if (equalsNoCase(text.substr(at, word.size()), word))
            return true;
    }
    return false;
}

bool isFolder(const fs::path& path) {
    std::error_code error;
    return fs::is_directory(path, error);
}

/// A path that was written on the other system, as this one writes it.
std::string inNativeForm(const std::string& path) {
    constexpr char native = static_cast<char>(fs::path::preferred_separator);
    std::error_code error;
    if (path.find('\\') == std::string::npos || fs::exists(platform::pathFrom(path), error))
        return path;
    std::string text = path;
    std::ranges::replace(text, '\\', native);
    return text;
}

/// The folder directly below "Community"; empty when the path leads through none.
std::string packageFolder(const std::string& path) {
    const std::size_t name = path.find(community);
    if (name == std::string::npos)
        return {};
    const std::size_t first = path.find_first_of(separators, name);
    if (first == std::string::npos)
        return {};
    const std::size_t second = path.find_first_of(separators, first + 1);
    return second == std::string::npos ? std::string() : path.substr(0, second);
}

/// The text of a member; an empty one, and told, when it is something else.
std::string memberText(const json& object, const char* name, std::vector<std::string>& lines) {
    const auto member = object.find(name);
    if (member == object.end())
        return {};
    try {
        return kes::quoted(member->get<std::string>());
    } catch (const json::type_error& e) {
        lines.push_back(fmt::format("exception in lf_searchManifest: {}", e.what()));
        return {};
    }
}

std::optional<ManifestInfo> tellAndRead(const fs::path& file, std::vector<std::string>& lines) {
    lines.push_back(platform::pathText(file) + " found");
    return readManifest(file, lines);
}

std::optional<ManifestInfo> search(const std::string& path, std::vector<std::string>& lines) {
    if (const std::string package = packageFolder(path); !package.empty() && isFolder(platform::pathFrom(package))) {
        if (const fs::path file = findManifestFile(platform::pathFrom(package)); !file.empty())
            return tellAndRead(file, lines);
    }
    for (const fs::path& part : platform::pathFrom(path).parent_path()) {
        const std::string name = platform::pathText(part);
        const std::size_t at = path.find(name);
        if (at == std::string::npos)
            continue;
        const fs::path file = findManifestFile(platform::pathFrom(path.substr(0, at)) / part);
        if (file.empty())
            continue;
        if (auto info = tellAndRead(file, lines))
            return info;
    }
    return std::nullopt;
}

void identify(const std::string& path, PublisherInfo& info, std::vector<std::string>& lines) {
    if (containsNoCase(path, "microsoft-airport") || containsNoCase(path, "asobo-airport")) {
        info.publisher = "simaddon";
        lines.push_back(fmt::format("from filename => publisher {}", info.publisher));
        return;
    }
    const auto known = [&info](std::string_view text) {
        if (text.empty())
            return false;
        info.publisher = publisherOf(text);
        return info.publisher != unknown;
    };
    if (known(path)) {
        lines.push_back(fmt::format("publisher \"{}\" found", info.publisher));
        return;
    }
    const auto manifest = lf_searchManifest(path, lines);
    if (!manifest) {
        lines.push_back(fmt::format("{}No publisher found", "===> "));
        return;
    }
    info.manufacturer = manifest->manufacturer;
    info.creator = manifest->creator;
    info.title = manifest->title;
    if (known(info.manufacturer)) {
        lines.push_back(fmt::format("from manifest.json: manufacturer \"{}\" => publisher \"{}\"", info.manufacturer,
                                    info.publisher));
        return;
    }
    if (known(info.creator)) {
        lines.push_back(
            fmt::format("from manifest.json creator \"{}\" => publisher \"{}\"", info.creator, info.publisher));
        return;
    }
    lines.push_back(
        fmt::format("no valid info found in manifest about publisher, manufacturer:\"{}\", creator:\"{}\" {}",
                    info.manufacturer, info.creator, path));
}

} // namespace

PublisherInfo findPublisher(const std::string& path, std::vector<std::string>& lines) {
    lines.push_back(fmt::format("\nTry find publisher in: {}", path));
    PublisherInfo info;
    try {
        identify(path, info, lines);
    } catch (const std::regex_error& e) { // of a name in the reference data
        info.publisher = unknown;
        lines.push_back(fmt::format("exception in findPublisher: {}", e.what()));
    }
    return info;
}

std::optional<ManifestInfo> lf_searchManifest(const std::string& path, std::vector<std::string>& lines) {
    try {
        return search(inNativeForm(path), lines);
    } catch (const std::exception& e) {
        lines.push_back(fmt::format("exception in lf_searchManifest: {}", e.what()));
        return std::nullopt;
    }
}

fs::path findManifestFile(const fs::path& folder) {
    std::error_code error;
    // Folders with thousands of packages are asked, too, so that the entries are looked at only where there is one.
    const fs::path file = folder / manifestName;
    if (!isFolder(folder) || !fs::is_regular_file(file, error))
        return {};
    for (fs::directory_iterator it(folder, error), end; !error && it != end; it.increment(error)) {
        if (it->path().filename() == manifestName && it->is_regular_file(error))
            return it->path();
    }
    return {};
}

std::optional<ManifestInfo> readManifest(const fs::path& file, std::vector<std::string>& lines) {
    std::string bytes;
    if (platform::readFile(platform::pathText(file), bytes, mostBytes) != 0)
        return std::nullopt;
    return parseManifest(bytes, lines);
}

std::optional<ManifestInfo> parseManifest(std::string_view bytes, std::vector<std::string>& lines) {
    std::string converted;
    std::string text = utf8OrLatin1(decodeText(bytes, converted));
    std::erase_if(text, [](char c) { return c == '\n' || c == '\r'; }); // also within a text
    // What lies deeper is not kept.
    const auto nearTop = [](int depth, json::parse_event_t, const json&) { return depth <= 1; };
    const json object = json::parse(text, nearTop, false);
    if (!object.is_object())
        return std::nullopt;
    ManifestInfo info;
    info.manufacturer = memberText(object, "manufacturer", lines);
    info.creator = memberText(object, "creator", lines);
    info.title = memberText(object, "title", lines);
    return info;
}

} // namespace kes
