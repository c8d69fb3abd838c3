// SPDX-License-Identifier: MIT
#include "tools/csv/csv.h"

#include "core/text.h"
#include "core/text_encoding.h"
#include "platform/file.h"
#include "platform/system.h"

#include <algorithm>
#include <fmt/format.h>

namespace kes {
namespace {

/// A quote that is still open so many lines later was never meant as one.
constexpr int longestQuotedLines = 20;

/// One row at a time. The texts of fields are copied, since doubled quotes have to be undone.
struct Cursor {
    std::string_view text;
    char separator = ',', quote = '"';
    std::size_t at = 0;
    std::vector<std::string> fields;
    std::size_t count = 0;
    std::size_t rowLine = 0; ///< of the row that was read last, from 1
    std::size_t nextLine = 1;

    bool ended() const { return at >= text.size(); }

    std::string& nextField() {
        if (count == fields.size()) {
            fields.emplace_back();
        }
        std::string& field = fields[count++];
        field.clear();
        return field;
    }

    /// Reads the row at `at` and leaves `at` behind it. False for a quote that is not closed: only the line where it
    /// opens is lost then, not the rest of the file.
    bool readRow() {
        const std::size_t start = at;
        const bool good = readFields();
        if (!good) {
            const std::size_t end = text.find('\n', start);
            at = end == std::string_view::npos ? text.size() : end + 1;
        }
        rowLine = nextLine;
        nextLine += static_cast<std::size_t>(std::count(text.begin() + static_cast<std::ptrdiff_t>(start),
                                                        text.begin() + static_cast<std::ptrdiff_t>(at), '\n'));
        return good;
    }

    bool readFields() {
        count = 0;
        for (;;) {
            std::string& field = nextField();
            while (at < text.size() && text[at] != separator && (text[at] == ' ' || text[at] == '\t')) {
                ++at;
            }
            if (at < text.size() && text[at] == quote) {
                if (!readQuoted(field)) {
                    return false;
                }
            }
            // Whatever follows a closing quote belongs to the field as well, as other readers have it.
            const std::size_t rest = at;
            while (at < text.size() && text[at] != separator && text[at] != '\n') {
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
        int lines = 0;
        for (++at; at < text.size(); ++at) {
            const char c = text[at];
            if (c == quote) {
                if (at + 1 < text.size() && text[at + 1] == quote) {
                    ++at;
                } else {
                    ++at;
                    return true;
                }
            } else if (c == '\n' && ++lines > longestQuotedLines) {
                return false;
            }
            field += c;
        }
        return false;
    }

    bool blankRow() const { return count == 1 && fields[0].empty(); }
};

void guessForm(Cursor& cursor) {
    const std::size_t begin = cursor.text.find_first_not_of(" \t\r\n");
    if (begin == std::string_view::npos) {
        return;
    }
    const std::string_view head = cursor.text.substr(begin, cursor.text.find('\n', begin) - begin);
    std::ptrdiff_t most = 0;
    for (const char candidate : {',', ';', '\t'}) {
        const std::ptrdiff_t found = std::count(head.begin(), head.end(), candidate);
        if (found > most) {
            most = found;
            cursor.separator = candidate;
        }
    }
    cursor.quote = head[0] == '\'' ? '\'' : '"';
}

} // namespace

std::optional<CsvCount> readCsvText(std::string_view text, const std::vector<std::string>& columns, const CsvTake& take,
                                    const CsvComplaint& complain, std::string& problem, CsvForm form) {
    constexpr std::size_t absent = static_cast<std::size_t>(-1);
    Cursor cursor;
    cursor.text = withoutMark(text);
    if (form == CsvForm::guessed) {
        guessForm(cursor);
    }
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
    for (const std::string& column : columns) {
        const bool optional = column.starts_with('?');
        const std::string_view name = std::string_view(column).substr(optional ? 1 : 0);
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
    const auto refuse = [&](std::string reason) {
        ++result.bad;
        if (complain) {
            complain(cursor.rowLine, std::move(reason));
        }
    };
    while (!cursor.ended()) {
        if (!cursor.readRow()) {
            refuse("a quote is not closed");
            continue;
        }
        if (cursor.blankRow()) {
            continue;
        }
        if (cursor.count < needed) {
            refuse(fmt::format("{} fields instead of at least {}", cursor.count, needed));
            continue;
        }
        for (std::size_t i = 0; i < places.size(); ++i) {
            wanted[i] = places[i] < cursor.count ? std::string_view(cursor.fields[places[i]]) : std::string_view();
        }
        std::string reason = take({cursor.rowLine, wanted});
        if (reason.empty()) {
            ++result.good;
        } else {
            refuse(std::move(reason));
        }
    }
    return result;
}

std::optional<CsvCount> readCsv(const std::filesystem::path& path, const std::vector<std::string>& columns,
                                const CsvTake& take, const CsvComplaint& complain, std::string& problem, CsvForm form) {
    const std::optional<std::string> bytes = readBytes(path);
    if (!bytes) {
        problem = platform::pathText(path) + " not found";
        return std::nullopt;
    }
    const auto result = readCsvText(*bytes, columns, take, complain, problem, form);
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
    std::string bytes;
    if (platform::readFile(platform::pathText(path), bytes) != 0) {
        return std::nullopt;
    }
    return bytes;
}

} // namespace kes
