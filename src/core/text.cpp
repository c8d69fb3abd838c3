// SPDX-License-Identifier: MIT
#include "core/text.h"

#include <array>
#include <charconv>
#include <cmath>
#include <limits>

namespace kes {

namespace {

char upperChar(char c) {
    return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
}
bool isBlank(char c) {
    return c == ' ' || (c >= '\t' && c <= '\r');
}

} // namespace

std::string upper(std::string_view text) {
    std::string result(text);
    for (char& c : result)
        c = upperChar(c);
    return result;
}

bool equalsNoCase(std::string_view a, std::string_view b) {
    if (a.size() != b.size())
        return false;
    for (std::size_t i = 0; i < a.size(); ++i)
        if (upperChar(a[i]) != upperChar(b[i]))
            return false;
    return true;
}

std::string_view strip(std::string_view text) {
    const auto isBlank = [](char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; };
    while (!text.empty() && isBlank(text.front()))
        text.remove_prefix(1);
    while (!text.empty() && isBlank(text.back()))
        text.remove_suffix(1);
    return text;
}

std::string_view withoutLast(std::string_view list, char separator) {
    if (list.ends_with(separator))
        list.remove_suffix(1);
    return list;
}

std::vector<std::string_view> split(std::string_view text, char separator) {
    std::vector<std::string_view> pieces;
    for (;;) {
        const std::size_t at = text.find(separator);
        pieces.push_back(text.substr(0, at));
        if (at == std::string_view::npos)
            return pieces;
        text.remove_prefix(at + 1);
    }
}

std::string_view plural(std::int64_t n) {
    return n == 1 ? "" : "s";
}

std::optional<std::int32_t> leadingInt(std::string_view text) {
    while (!text.empty() && isBlank(text.front()))
        text.remove_prefix(1);
    // from_chars knows the minus but not the plus.
    if (!text.empty() && text.front() == '+') {
        text.remove_prefix(1);
        if (!text.empty() && text.front() == '-')
            return std::nullopt;
    }
    std::int32_t value = 0;
    if (std::from_chars(text.data(), text.data() + text.size(), value).ec != std::errc{})
        return std::nullopt;
    return value;
}

std::string generalOneDigit(double value) {
    std::array<char, 32> buffer{};
    const auto end = std::to_chars(buffer.data(), buffer.data() + buffer.size(), value, std::chars_format::general, 1);
    return {buffer.data(), end.ptr};
}

std::string shortest(double value) {
    std::array<char, 32> buffer{};
    const auto end = std::to_chars(buffer.data(), buffer.data() + buffer.size(), value);
    return {buffer.data(), end.ptr};
}

std::string_view unquoted(std::string_view value) {
    const std::size_t first = value.starts_with('"') ? 0 : value.find('"');
    if (first == std::string_view::npos)
        return value;
    const std::size_t next = value.find('"', first + 1);
    return next == std::string_view::npos ? std::string_view() : value.substr(first + 1, next - first - 1);
}

} // namespace kes
