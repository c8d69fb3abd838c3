// SPDX-License-Identifier: MIT
#include "core/text_encoding.h"

#include "platform/utf8.h"

namespace kes {

namespace {

constexpr std::string_view utf8Mark = "\xEF\xBB\xBF";
constexpr char32_t replacement = 0xFFFD;

} // namespace

TextMark markOf(std::string_view bytes) {
    if (bytes.starts_with("\xFF\xFE"))
        return TextMark::utf16Little;
    if (bytes.starts_with("\xFE\xFF"))
        return TextMark::utf16Big;
    return bytes.starts_with(utf8Mark) ? TextMark::utf8 : TextMark::none;
}

std::string_view withoutMark(std::string_view text) {
    return text.starts_with(utf8Mark) ? text.substr(utf8Mark.size()) : text;
}

bool appendUtf16(std::string& out, std::string_view bytes, bool bigEndian) {
    const auto unit = [&](std::size_t at) {
        const auto first = static_cast<unsigned char>(bytes[at]), second = static_cast<unsigned char>(bytes[at + 1]);
        return static_cast<char32_t>(bigEndian ? first << 8 | second : second << 8 | first);
    };
    bool whole = true;
    std::size_t at = 0;
    for (; at + 1 < bytes.size(); at += 2) {
        char32_t c = unit(at);
        if (c >= 0xD800 && c < 0xE000) {
            const char32_t low = c < 0xDC00 && at + 3 < bytes.size() ? unit(at + 2) : 0;
            if (low >= 0xDC00 && low < 0xE000) {
                c = 0x10000 + ((c - 0xD800) << 10) + (low - 0xDC00);
                at += 2;
            } else {
                c = replacement;
                whole = false;
            }
        }
        platform::appendUtf8(out, c);
    }
    if (at == bytes.size())
        return whole;
    platform::appendUtf8(out, replacement);
    return false;
}

std::string_view decodeText(std::string_view bytes, std::string& converted) {
    const TextMark mark = markOf(bytes);
    if (mark != TextMark::utf16Little && mark != TextMark::utf16Big)
        return withoutMark(bytes);
    converted.clear();
    appendUtf16(converted, bytes.substr(2), mark == TextMark::utf16Big);
    return converted;
}

bool isUtf8(std::string_view text) {
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t length = platform::utf8Length(text, at);
        if (length == 0)
            return false;
        at += length;
    }
    return true;
}

std::string fromLatin1(std::string_view bytes) {
    std::string text;
    text.reserve(2 * bytes.size());
    for (const char c : bytes)
        platform::appendUtf8(text, static_cast<unsigned char>(c));
    return text;
}

std::string utf8OrLatin1(std::string_view text) {
    return isUtf8(text) ? std::string(text) : fromLatin1(text);
}

} // namespace kes
