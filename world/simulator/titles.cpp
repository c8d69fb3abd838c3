// SPDX-License-Identifier: MIT
#include "world/simulator/titles.h"

#include "core/text.h"
#include "core/text_encoding.h"
#include "platform/system.h"
#include "simconnect/wire.h"

#include <fstream>
#include <iterator>
#include <stdexcept>

namespace kes::world {

namespace fs = std::filesystem;

namespace {

/// The file's text whatever the editor was that saved it.
std::string readText(const fs::path& file) {
    std::ifstream in(file, std::ios::binary);
    if (!in)
        throw std::runtime_error("Failed to read " + platform::pathText(file));
    const std::string bytes{std::istreambuf_iterator<char>(in), {}};
    std::string converted;
    return std::string(decodeText(bytes, converted));
}

void addTitle(Titles& titles, std::string_view title) {
    // What does not fit the field can never be asked for in full.
    if (!title.empty())
        titles.known.insert(utf8OrLatin1(title.substr(0, simconnect::wire::nameField - 1)));
}

template <typename Take> void eachLine(std::string_view content, Take take) {
    while (!content.empty()) {
        const std::size_t end = content.find_first_of("\r\n");
        take(strip(content.substr(0, end)));
        content.remove_prefix(end == std::string_view::npos ? content.size() : end + 1);
    }
}

} // namespace

void addTitlesFromConfig(Titles& titles, std::string_view content) {
    eachLine(content, [&](std::string_view line) {
        const std::size_t equals = line.find('=');
        if (equals == std::string_view::npos || !equalsNoCase(strip(line.substr(0, equals)), "title"))
            return;
        std::string_view value = strip(line.substr(equals + 1));
        if (const std::size_t quote = value.find('"'); quote != std::string_view::npos) {
            value.remove_prefix(quote + 1);
            const std::size_t end = value.find('"');
            if (end == std::string_view::npos)
                return;
            value = value.substr(0, end);
        } else {
            value = value.substr(0, value.find(';'));
        }
        addTitle(titles, strip(value));
    });
}

void addTitlesFromFile(Titles& titles, const fs::path& file) {
    eachLine(readText(file), [&](std::string_view line) {
        if (!line.starts_with('#'))
            addTitle(titles, line);
    });
}

std::size_t addTitlesFromFolder(Titles& titles, const fs::path& folder) {
    if (!fs::is_directory(folder))
        throw std::runtime_error("No folder " + platform::pathText(folder));
    std::size_t files = 0;
    const auto scan = [&](const fs::path& root) {
        std::error_code error;
        fs::recursive_directory_iterator entry(root, fs::directory_options::skip_permission_denied, error);
        for (; !error && entry != fs::recursive_directory_iterator(); entry.increment(error)) {
            std::error_code ignored;
            if (!entry->is_regular_file(ignored) ||
                !equalsNoCase(platform::pathText(entry->path().filename()), "aircraft.cfg"))
                continue;
            try {
                addTitlesFromConfig(titles, readText(entry->path()));
                ++files;
            } catch (const std::runtime_error&) {
                continue;
            }
        }
    };
    // Users link packages into the folder from other disks; a link further down could lead round in circles.
    std::error_code error;
    for (const fs::directory_entry& package : fs::directory_iterator(folder, error)) {
        std::error_code ignored;
        if (package.is_directory(ignored))
            scan(package.path() / "");
    }
    return files;
}

bool isKnownTitle(const Titles& titles, std::string_view wireTitle) {
    return titles.known.empty() || titles.known.contains(utf8OrLatin1(wireTitle));
}

} // namespace kes::world
