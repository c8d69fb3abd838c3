// SPDX-License-Identifier: MIT
// Small text helpers. All texts are UTF-8 bytes; case is ASCII only. Pure functions, any thread.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kes {

std::string upper(std::string_view text); ///< a copy with A to Z for a to z
bool equalsNoCase(std::string_view a, std::string_view b);
/// Without blanks, tabs and line ends at both ends.
std::string_view strip(std::string_view text);
/// What stands between the first double quote and the next one; empty when there is no next one. All of a value without
/// quotes.
std::string_view unquoted(std::string_view value);
/// A separator at the end of a list opens no further piece: the list without it.
std::string_view withoutLast(std::string_view list, char separator);
/// The pieces between separators; an empty text gives one empty piece.
std::vector<std::string_view> split(std::string_view text, char separator);
/// "s" unless n is 1, for messages.
std::string_view plural(std::int64_t n);

/// Standard text-to-integer reading: leading blanks and one sign allowed, text behind the digits ignored.
/// Nothing when there are no digits or the value does not fit 32 bits.
std::optional<std::int32_t> leadingInt(std::string_view text);

/// The shortest text that a standard formatter gives for "{:.0}" of a double: general form, one significant digit.
std::string generalOneDigit(double value);
/// The shortest round-trip text of a double, as a standard formatter gives it for "{}".
std::string shortest(double value);

} // namespace kes
