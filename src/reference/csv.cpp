#include "reference/csv.h"

#include "core/text.h"
#include "platform/system.h"

#include <algorithm>
#include <fmt/format.h>
#include <fstream>

namespace kes {
namespace {

/// One row at a time. The texts of fields are copied, since doubled quotes have to be undone.
struct Cursor {
    std::string_view text;
    std::size_t at = 0;
    std::vector<std::string> fields;
    std::size_t count = 0;

    bool ended() const { return at >= text.size(); }

    std::string& nextField() {
        if (count == fields.size()) {
            fields.emplace_back();
        }
        std::string& field = fields[count++];
        field.clear();
        return field;
    }

    void skipLine() {
        const std::size_t end = text.find('\n', at);
        at = end == std::string_view::npos ? text.size() : end + 1;
    }

    /// Reads the row at `at` and leaves `at` behind it. False for a quote that is never closed: only the line where it
    /// opens is lost then, not the rest of the file.
    bool readRow() {
        count = 0;
        const std::size_t start = at;
        for (;;) {
            std::string& field = nextField();
            while (at < text.size() && (text[at] == ' ' || text[at] == '\t')) {
                ++at;
            }
            if (at < text.size() && text[at] == '"') {
                if (!readQuoted(field)) {
                    at = start;
                    skipLine();
                    return false;
                }
            }
            // Whatever follows a closing quote belongs to the field as well, as other readers have it.
            const std::size_t rest = at;
            while (at < text.size() && text[at] != ',' && text[at] != '\n') {
                ++at;
            }
            field += strip(text.substr(rest, at - rest));
            if (at >= text.size()) {
                return true;
            }
            if (text[at++] == '\n') {
                return true;
            }
        }
    }

    bool readQuoted(std::string& field) {
        ++at;
        for (;;) {
            const std::size_t quote = text.find('"', at);
            if (quote == std::string_view::npos) {
                return false;
            }
            field += text.substr(at, quote - at);
            at = quote + 1;
            if (at < text.size() && text[at] == '"') {
                field += '"';
                ++at;
                continue;
            }
            return true;
        }
    }

    bool blankRow() const { return count == 1 && fields[0].empty(); }
};

} // namespace

std::optional<CsvCount> readCsvText(std::string_view text, const std::vector<std::string_view>& columns,
                                    const CsvRow& row, std::string& problem) {
    constexpr std::size_t absent = static_cast<std::size_t>(-1);
    if (text.substr(0, 3) == "\xEF\xBB\xBF") {
        text.remove_prefix(3);
    }
    Cursor cursor{text, 0, {}, 0};
    do {
        if (cursor.ended()) {
            problem = "has no head line";
            return std::nullopt;
        }
        if (!cursor.readRow()) {
            problem = "has an open quote in its head line";
            return std::nullopt;
        }
    } while (cursor.blankRow());

    std::vector<std::size_t> places;
    std::size_t needed = 0;
    for (std::string_view name : columns) {
        const bool optional = name.substr(0, 1) == "?";
        name.remove_prefix(optional ? 1 : 0);
        std::size_t place = absent;
        for (std::size_t i = 0; i < cursor.count && place == absent; ++i) {
            place = equalsNoCase(cursor.fields[i], name) ? i : absent;
        }
        if (place == absent && !optional) {
            problem = fmt::format("has no column \"{}\"", name);
            return std::nullopt;
        }
        places.push_back(place);
        needed = optional ? needed : std::max(needed, place + 1);
    }

    CsvCount result;
    std::vector<std::string_view> wanted(columns.size());
    while (!cursor.ended()) {
        if (!cursor.readRow()) {
            ++result.bad;
            continue;
        }
        if (cursor.blankRow()) {
            continue;
        }
        bool good = cursor.count >= needed;
        if (good) {
            for (std::size_t i = 0; i < places.size(); ++i) {
                wanted[i] = places[i] < cursor.count ? std::string_view(cursor.fields[places[i]]) : std::string_view();
            }
            good = row(wanted);
        }
        ++(good ? result.good : result.bad);
    }
    return result;
}

std::optional<CsvCount> readCsv(const std::filesystem::path& path, const std::vector<std::string_view>& columns,
                                const CsvRow& row, std::string& problem) {
    const std::optional<std::string> bytes = readBytes(path);
    if (!bytes) {
        problem = platform::pathText(path) + " not found";
        return std::nullopt;
    }
    const auto result = readCsvText(*bytes, columns, row, problem);
    if (!result) {
        problem = platform::pathText(path) + " " + problem;
    }
    return result;
}

std::string csvField(std::string_view text) {
    if (text.find_first_of(",\"\r\n") == std::string_view::npos && strip(text).size() == text.size()) {
        return std::string(text);
    }
    std::string field = "\"";
    for (const char c : text) {
        field.append(c == '"' ? 2 : 1, c);
    }
    return field + '"';
}

std::optional<std::string> readBytes(const std::filesystem::path& path) {
    std::error_code error;
    if (!std::filesystem::is_regular_file(path, error)) {
        return std::nullopt;
    }
    std::ifstream file(path, std::ios::binary | std::ios::ate);
    const std::streamoff size = file ? static_cast<std::streamoff>(file.tellg()) : -1;
    if (size < 0) {
        return std::nullopt;
    }
    std::string bytes(static_cast<std::size_t>(size), '\0');
    file.seekg(0);
    if (!file.read(bytes.data(), size)) {
        return std::nullopt;
    }
    return bytes;
}

} // namespace kes
