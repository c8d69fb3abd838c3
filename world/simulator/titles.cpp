#include "world/simulator/titles.h"

#include "core/text.h"
#include "platform/system.h"
#include "simconnect/wire.h"

#include <fstream>
#include <iterator>
#include <stdexcept>

namespace kes::world {

namespace fs = std::filesystem;

namespace {

bool isUtf8(std::string_view text) {
    for (std::size_t i = 0; i < text.size();) {
        const auto first = static_cast<unsigned char>(text[i]);
        const std::size_t more = first < 0x80             ? 0
                                 : (first & 0xE0) == 0xC0 ? 1
                                 : (first & 0xF0) == 0xE0 ? 2
                                 : (first & 0xF8) == 0xF0 ? 3
                                                          : 9;
        if (more == 9 || i + more >= text.size())
            return false;
        for (std::size_t k = 1; k <= more; ++k)
            if ((static_cast<unsigned char>(text[i + k]) & 0xC0) != 0x80)
                return false;
        i += more + 1;
    }
    return true;
}

std::string utf8Of(std::string_view bytes) {
    if (isUtf8(bytes))
        return std::string(bytes);
    std::string text;
    for (const char c : bytes) {
        const auto code = static_cast<unsigned char>(c);
        if (code < 0x80) {
            text += c;
        } else {
            text += static_cast<char>(0xC0 | code >> 6);
            text += static_cast<char>(0x80 | (code & 0x3F));
        }
    }
    return text;
}

std::string readAll(const fs::path& file) {
    std::ifstream in(file, std::ios::binary);
    if (!in)
        throw std::runtime_error("Failed to read " + platform::pathText(file));
    return {std::istreambuf_iterator<char>(in), {}};
}

/// The file's text whatever the editor was that saved it.
std::string decoded(std::string content) {
    if (content.starts_with("\xFF\xFE")) {
        std::u16string wide;
        for (std::size_t i = 2; i + 1 < content.size(); i += 2)
            wide += static_cast<char16_t>(static_cast<unsigned char>(content[i]) |
                                          static_cast<unsigned char>(content[i + 1]) << 8);
        return platform::toUtf8(wide);
    }
    if (content.starts_with("\xEF\xBB\xBF"))
        content.erase(0, 3);
    return content;
}

void addTitle(Titles& titles, std::string_view title) {
    // What does not fit the field can never be asked for in full.
    if (!title.empty())
        titles.known.insert(utf8Of(title.substr(0, simconnect::wire::nameField - 1)));
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
    eachLine(decoded(readAll(file)), [&](std::string_view line) {
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
                addTitlesFromConfig(titles, decoded(readAll(entry->path())));
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
    return titles.known.empty() || titles.known.contains(utf8Of(wireTitle));
}

} // namespace kes::world
