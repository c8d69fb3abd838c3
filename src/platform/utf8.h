// SPDX-License-Identifier: MIT
// The characters of UTF-8, for all that checks or writes them. Pure functions, any thread.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace kes::platform {

/// The bytes of the character that starts at `at`, which lies in the text: 1 to 4, or 0 when none does. Over-long
/// forms, surrogates and numbers above 0x10FFFF are no characters.
std::size_t utf8Length(std::string_view text, std::size_t at);

/// Adds a character, up to 0x10FFFF.
void appendUtf8(std::string& text, char32_t character);

} // namespace kes::platform
