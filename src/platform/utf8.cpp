// SPDX-License-Identifier: MIT
#include "platform/utf8.h"

namespace kes::platform {

std::size_t utf8Length(std::string_view text, std::size_t at) {
    const auto byte = [&](std::size_t index) { return static_cast<unsigned char>(text[index]); };
    const unsigned char first = byte(at);
    if (first < 0x80)
        return 1;
    const std::size_t length = first >= 0xF0 ? 4 : first >= 0xE0 ? 3 : 2;
    if (first < 0xC2 || first > 0xF4 || length > text.size() - at)
        return 0;
    for (std::size_t i = 1; i < length; ++i) {
        if ((byte(at + i) & 0xC0) != 0x80)
            return 0;
    }
    const unsigned char second = byte(at + 1);
    const bool overlong = (first == 0xE0 && second < 0xA0) || (first == 0xF0 && second < 0x90);
    const bool surrogate = first == 0xED && second >= 0xA0;
    const bool beyond = first == 0xF4 && second >= 0x90;
    return overlong || surrogate || beyond ? 0 : length;
}

void appendUtf8(std::string& text, char32_t character) {
    const auto put = [&](char32_t bits) { text += static_cast<char>(bits); };
    const auto follow = [&](int shift) { put(0x80 | (character >> shift & 0x3F)); };
    if (character < 0x80)
        return put(character);
    if (character < 0x800) {
        put(0xC0 | character >> 6);
    } else {
        if (character < 0x10000) {
            put(0xE0 | character >> 12);
        } else {
            put(0xF0 | character >> 18);
            follow(12);
        }
        follow(6);
    }
    follow(0);
}

} // namespace kes::platform
