// SPDX-License-Identifier: MIT
#include "liveries/regcode_files.h"

#include "core/folders.h"
#include "core/log.h"
#include "core/run_state.h"
#include "core/text.h"
#include "core/text_encoding.h"
#include "liveries/folder_walk.h"
#include "liveries/scan_reports.h"
#include "platform/file.h"
#include "platform/system.h"
#include "reference/scramble.h"

#include <algorithm>
#include <fmt/format.h>
#include <pugixml.hpp>

namespace kes {

namespace {

namespace fs = std::filesystem;

constexpr std::size_t shortest = 3, longest = 12;    ///< characters of a registration
constexpr std::uint64_t longestDocument = 256 << 20; ///< bytes
constexpr std::uint64_t longestTextFile = 64 << 20;  ///< bytes

/// The pieces of a list, stripped; an empty one has none.
std::vector<std::string_view> pieces(std::string_view list, char separator) {
    if (list.empty())
        return {};
    std::vector<std::string_view> all = split(withoutLast(list, separator), separator);
    for (std::string_view& piece : all)
        piece = strip(piece);
    return all;
}

bool isTrue(const pugi::xml_attribute& attribute) {
    return attribute.as_bool(); // the first character decides: one of 1tTyY
}

std::string_view liverieMark(std::size_t n) {
    return plural(static_cast<std::int64_t>(n));
}

/// One line with two or three fields; false when something is wrong with it.
bool readRegcodes(std::string_view title, std::string_view list, bool marked, const std::string& file,
                  std::vector<RegcodeEntry>& entries) {
    const auto codes = pieces(list, ',');
    if (codes.empty())
        return true;
    RegcodeEntry entry;
    entry.title = title;
    entry.special = codes.size() == 1 || marked;
    bool good = true;
    for (const std::string_view piece : codes) {
        if (piece.size() >= shortest && piece.size() <= longest) {
            entry.regs.emplace_back(piece);
        } else {
            log(fmt::format("wrong regcode length \"{}\" in {}", piece, file));
            good = false;
        }
    }
    if (!entry.regs.empty())
        entries.push_back(std::move(entry));
    else if (codes.size() > 1)
        log(fmt::format("{} ; regs empty? ", title));
    return good;
}

} // namespace

bool readRegcodeDocument(const fs::path& file, std::vector<RegcodeEntry>& entries) {
    const std::string path = platform::pathText(file);
    pugi::xml_document document;
    std::string text;
    if (platform::readFile(path, text, longestDocument) != 0 ||
        !document.load_buffer_inplace(text.data(), text.size())) {
        log(fmt::format("Failed to load {}", path));
        return false;
    }
    std::vector<RegcodeEntry> read;
    try {
        for (const pugi::xml_node node : document.child("AIG-regcodes").children("livery")) {
            if (stopWanted())
                break;
            RegcodeEntry entry;
            entry.title = node.attribute("title").value();
            if (entry.title.empty())
                continue;
            for (const std::string_view reg : pieces(node.attribute("reg").value(), ',')) {
                if (!reg.empty())
                    entry.regs.push_back(decryptRegcode(reg));
            }
            entry.special = isTrue(node.attribute("special"));
            read.push_back(std::move(entry));
        }
    } catch (const std::exception& e) {
        log(fmt::format("Failed to load {}: {}", path, e.what()));
        return false;
    }
    log(fmt::format("{} liverie{} read from {}", read.size(), liverieMark(read.size()), path));
    std::move(read.begin(), read.end(), std::back_inserter(entries));
    return true;
}

bool readRegcodeText(std::string_view text, const std::string& file, std::vector<RegcodeEntry>& entries) {
    bool good = true;
    for (const std::string_view whole : split(withoutMark(text), '\n')) {
        if (stopWanted())
            break;
        const std::string_view line = strip(whole);
        if (line.empty())
            continue;
        const std::vector<std::string_view> fields = pieces(line, ';');
        if (fields.size() > 3) {
            log(fmt::format("{}: wrong format \"{}\"", file, line));
            good = false;
        } else if (fields[0].empty()) {
            continue;
        } else if (fields.size() == 1) {
            entries.push_back({std::string(fields[0]), {}, false});
        } else {
            good = readRegcodes(fields[0], fields[1], fields.size() == 3 && fields[2] == "#", file, entries) && good;
        }
    }
    return good;
}

bool hasMyRegcodes() {
    std::error_code error;
    return fs::is_directory(path::myRegcodes, error) && !fs::is_empty(path::myRegcodes, error) && !error;
}

bool readMyRegcodes(std::vector<RegcodeEntry>& entries) {
    std::vector<std::string> files;
    std::error_code error;
    for (fs::directory_iterator walk(path::myRegcodes, error), end; !error && walk != end; walk.increment(error)) {
        std::error_code ignored;
        if (walk->is_regular_file(ignored) && upper(platform::pathText(walk->path().extension())) == ".TXT")
            files.push_back(platform::pathText(walk->path()));
    }
    std::sort(files.begin(), files.end(), nameComesFirst);
    bool good = true;
    for (const std::string& file : files) {
        log(fmt::format("Processing regcodes file \"{}\"", file));
        std::string text;
        if (const int fault = platform::readFile(file, text, longestTextFile)) {
            log(fmt::format("Error in reading regcode file {}, what: {}", file, platform::errorText(fault)));
            good = false;
            continue;
        }
        const std::size_t before = entries.size();
        good = readRegcodeText(text, file, entries) && good;
        log(fmt::format("{} liverie{} read", entries.size() - before, liverieMark(entries.size() - before)));
    }
    return good;
}

} // namespace kes
