// SPDX-License-Identifier: MIT
// Foreign text files as UTF-8, the coding of all texts of the system: marks at a file's beginning, 16-bit text, and the
// old Western single-byte code. Written by hand: iconv is no part of Windows and the converters there are part of
// nothing else, while these few lines do the same on both. Pure functions, any thread.
#pragma once

#include <string>
#include <string_view>

namespace kes {

/// What the mark at the beginning of a file tells.
enum class TextMark { none, utf8, utf16Little, utf16Big };

TextMark markOf(std::string_view bytes); ///< of the file that begins with these bytes
/// A text without the mark of UTF-8, if it has one.
std::string_view withoutMark(std::string_view text);

/// Adds 16-bit text, without a mark, to a text. Each broken surrogate and a lone last byte become U+FFFD; false when
/// there was one.
bool appendUtf16(std::string& out, std::string_view bytes, bool bigEndian);

/// The text behind the mark of a file as UTF-8. Bytes without a mark, and behind that of UTF-8, are taken as they are,
/// and without a copy: the view is into `bytes`, and into `converted` for 16-bit text, which `appendUtf16` converts.
std::string_view decodeText(std::string_view bytes, std::string& converted);

bool isUtf8(std::string_view text); ///< all of it; an empty text is
/// Text in ISO 8859-1: each byte is the character of its number.
std::string fromLatin1(std::string_view bytes);
/// A text as it is, or taken as ISO 8859-1 when it is no UTF-8.
std::string utf8OrLatin1(std::string_view text);

} // namespace kes
