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

} // namespace kes
