// SPDX-License-Identifier: MIT
#include "liveries/cfg_line.h"

namespace kes {

using namespace cfg;

std::optional<std::string_view> keyValue(std::string_view line, std::string_view key) {
    const std::size_t at = behindWord(line, behindSpace(line, 0), key);
    const std::string_view value = at == 0 ? std::string_view() : valueBehind(line, at);
    if (!value.data() || value.find('\r') != std::string_view::npos)
        return {};
    return value;
}

std::string_view headerDigits(std::string_view line) {
    const std::size_t digits = behindWord(line, behindSpace(line, 0), "[fltsim.");
    if (digits == 0)
        return {};
    std::size_t end = digits;
    while (end < line.size() && line[end] >= '0' && line[end] <= '9')
        ++end;
    if (end == digits || end == line.size() || line[end] != ']' || behindSpace(line, end + 1) != line.size())
        return {};
    return line.substr(digits, end - digits);
}

} // namespace kes
