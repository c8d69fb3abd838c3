// SPDX-License-Identifier: MIT
#include "airports/airport_source.h"

#include "airports/airport_errand.h"
#include "core/folders.h"
#include "core/log.h"
#include "platform/file.h"
#include "platform/system.h"
#include "update/download.h"

#include <algorithm>
#include <cctype>
#include <fmt/format.h>
#include <string>
#include <system_error>

namespace kes {

namespace fs = std::filesystem;

namespace {

constexpr std::string_view archiveFolder = "archive";
constexpr std::string_view airportsFolder = "airports";
constexpr std::uint64_t mostLinkBytes = 4096;

/// The code becomes part of file names.
bool isCode(std::string_view code) {
    return !code.empty() && code.size() <= 8 && std::ranges::all_of(code, [](char c) {
        return std::isalnum(static_cast<unsigned char>(c)) != 0 || c == '-' || c == '_';
    });
}

/// A relative path that stays below its folder.
bool staysBelow(std::string_view path) {
    return path.find("..") == std::string_view::npos && path.find('\\') == std::string_view::npos &&
           path.find(':') == std::string_view::npos && path.substr(0, 1) != "/";
}

/// The place that a link file tells; empty when it tells none.
std::string readLink(const fs::path& file) {
    std::string content;
    const int error = platform::readFile(platform::pathText(file), content, mostLinkBytes);
    std::string place = content.substr(0, content.find('\n'));
    // Whatever an editor left behind the ".xml" goes.
    place.erase(place.find_last_of('l') + 1);
    if (error != 0 || place.empty() || !staysBelow(place)) {
        logWarning(fmt::format("\"{}\" leads to no airport file", platform::pathText(file)));
        return {};
    }
    return place;
}

std::string stockPath(std::string_view code) {
    return fmt::format("archive/stock/{}.xml", code);
}

/// Whether the server has a stock file; only a download tells.
bool stockExists(std::string_view code) {
    const fs::path probe = fmt::format("{}.xml", code);
    std::string url;
    const bool isThere = downloadAirportFile(stockPath(code), probe, url);
    removeQuietly(probe);
    return isThere;
}

void replaceFirst(std::string& text, std::string_view from, std::string_view to) {
    if (const std::size_t at = text.find(from); at != std::string::npos)
        text.replace(at, from.size(), to);
}

void replaceAll(std::string& text, std::string_view from, std::string_view to) {
    for (std::size_t at = text.find(from); at != std::string::npos; at = text.find(from, at + to.size()))
        text.replace(at, from.size(), to);
}

/// A publisher's name as the name of one folder.
std::string folderName(std::string_view publisher) {
    std::string name(publisher);
    for (char& c : name) {
        if (static_cast<unsigned char>(c) < 0x20 || std::string_view("/\\:*?\"<>|").find(c) != std::string_view::npos)
            c = '_';
    }
    // No folder at all, or the one above.
    return name.find_first_not_of(". ") == std::string::npos ? "_" : name;
}

} // namespace

bool fileExists(const fs::path& path) {
    std::error_code error;
    const fs::file_status status = fs::status(path, error);
    if (status.type() == fs::file_type::none)
        throw fs::filesystem_error("exists", path, error);
    return fs::exists(status);
}

std::string airportSource(std::string_view code) {
    if (!isCode(code))
        return {};
    for (const fs::path* folder : {&path::myThirdparty, &path::mySimaddon}) {
        const fs::path link = *folder / fmt::format("{}.txt", code);
        if (fileExists(link)) {
            if (std::string place = readLink(link); !place.empty())
                return place;
        }
        const fs::path file = *folder / fmt::format("{}.xml", code);
        if (fileExists(file))
            return platform::pathText(file);
    }
    return stockExists(code) ? stockPath(code) : std::string();
}

bool airportFileExists(std::string_view code) {
    if (!isCode(code))
        return false;
    for (const fs::path* folder : {&path::myThirdparty, &path::mySimaddon}) {
        for (const char* extension : {"txt", "xml"}) {
            if (fileExists(*folder / fmt::format("{}.{}", code, extension)))
                return true;
        }
    }
    return stockExists(code);
}

bool downloadAirportFile(std::string_view path, const fs::path& target, std::string& url) {
    const bool ofBoth = path.find("simaddon") != std::string_view::npos || path.find("stock") != std::string_view::npos;
    url = airportsBaseUrl(ofBoth) + std::string(path);
    if (takeFetched(path, target))
        return true;
    const CurlHandle curl;
    if (downloadToFile(curl.handle, url, target, false))
        return true;
    log(fmt::format("failed to download: \"{}\"", url));
    return false;
}

fs::path learnedFolder(std::string_view publisher) {
    if (publisher == "stock")
        return path::learnedStock;
    if (publisher == "simaddon")
        return path::learnedSimaddon;
    return path::learnedThirdparty / platform::pathFrom(folderName(publisher));
}

fs::path learnedPath(std::string_view source, std::string_view publisher) {
    std::string text(source);
    const std::string learned = path::learned.generic_string();
    if (text.find(archiveFolder) != std::string::npos) {
        replaceFirst(text, archiveFolder, learned);
        replaceAll(text, "%20", " ");
    } else if (text.substr(0, airportsFolder.size()) == airportsFolder) {
        std::ranges::replace(text, '\\', '/');
        replaceFirst(text, airportsFolder, learned);
        const std::string thirdparty = fmt::format("thirdparty/{}", folderName(publisher));
        // What a generated file of the simulator's own add-ons teaches is saved beside that of the archived ones.
        replaceFirst(text, "my_simaddon", "simaddon");
        replaceFirst(text, text.find("my_thirdparty2024") != std::string::npos ? "my_thirdparty2024" : "my_thirdparty",
                     thirdparty);
    }
    return platform::pathFrom(text).make_preferred();
}

} // namespace kes
