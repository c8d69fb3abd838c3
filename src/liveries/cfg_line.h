// SPDX-License-Identifier: MIT
// How one line of an "aircraft.cfg" is read. Each function has the exact meaning of a regular expression that is
// matched against the whole line, ignoring ASCII case, but takes lines of any length and bytes of any kind. Pure, any
// thread.
#pragma once

#include <optional>
#include <string_view>

namespace kes {

/// \s*(key)\s*=\s*(.*\S)\s*, group 2; nothing when the line does not match. `key` in lower case.
/// No value spans a carriage return, since '.' stands for none; a line holds no line feed.
std::optional<std::string_view> keyValue(std::string_view line, std::string_view key);

/// \s*(\[fltsim\.)(\d+)\]\s*, group 2; empty when the line does not match.
std::string_view headerDigits(std::string_view line);

/// The white space of the expressions.
constexpr bool isSpace(char c) {
    return c == ' ' || (c >= '\t' && c <= '\r');
}

namespace cfg {

/// The first place from `at` on without white space, or the end.
inline std::size_t behindSpace(std::string_view line, std::size_t at) {
    while (at < line.size() && isSpace(line[at]))
        ++at;
    return at;
}

/// The position behind `word`, which is in lower case, at `at`, or 0 when something else stands there.
[[gnu::always_inline]] inline std::size_t behindWord(std::string_view line, std::size_t at, std::string_view word) {
    if (line.size() - at < word.size())
        return 0;
    for (std::size_t i = 0; i < word.size(); ++i) {
        const bool isLetter = word[i] >= 'a' && word[i] <= 'z';
        if ((line[at + i] | (isLetter ? ' ' : 0)) != word[i])
            return 0;
    }
    return at + word.size();
}

/// What stands behind a key that ends at `at`; null data when that is no value.
[[gnu::always_inline]] inline std::string_view valueBehind(std::string_view line, std::size_t at) {
    at = behindSpace(line, at);
    if (at == line.size() || line[at] != '=')
        return {};
    at = behindSpace(line, at + 1);
    std::size_t end = line.size();
    while (end > at && isSpace(line[end - 1]))
        --end;
    return end == at ? std::string_view() : line.substr(at, end - at);
}

} // namespace cfg

} // namespace kes
