#include "liveries/cfg_line.h"

namespace kes {

namespace {

constexpr char lower(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c;
}

std::size_t behindSpace(std::string_view line, std::size_t at) {
    while (at < line.size() && isSpace(line[at]))
        ++at;
    return at;
}

/// The position behind `word` at `at`, or 0 when something else stands there.
std::size_t behindWord(std::string_view line, std::size_t at, std::string_view word) {
    if (line.size() - at < word.size())
        return 0;
    for (std::size_t i = 0; i < word.size(); ++i) {
        if (lower(line[at + i]) != word[i])
            return 0;
    }
    return at + word.size();
}

} // namespace

std::optional<std::string_view> keyValue(std::string_view line, std::string_view key) {
    std::size_t at = behindWord(line, behindSpace(line, 0), key);
    if (at == 0)
        return {};
    at = behindSpace(line, at);
    if (at == line.size() || line[at] != '=')
        return {};
    at = behindSpace(line, at + 1);
    std::size_t end = line.size();
    while (end > at && isSpace(line[end - 1]))
        --end;
    if (end == at)
        return {};
    const std::string_view value = line.substr(at, end - at);
    if (value.find('\r') != std::string_view::npos)
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
