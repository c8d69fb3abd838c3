// SPDX-License-Identifier: MIT
#include "core/text_encoding.h"

#include <gtest/gtest.h>
#include <string>
#include <string_view>

namespace kes {
namespace {

TEST(TextEncoding, ForeignTextBecomesUtf8) {
    using namespace std::string_literals;
    const struct {
        std::string bytes, text;
        bool whole = true; ///< 16-bit text without a fault
    } cases[] = {
        {"", ""},
        {"K\xF6ln", "K\xF6ln"}, // plain bytes stay
        {"\xEF\xBB\xBF\xEF\xBB\xBFx", "\xEF\xBB\xBFx"},
        {"\xEF\xBBx", "\xEF\xBBx"},
        {"\xFF\xFE", ""},
        {"\xFF\xFE\x00\x00\xFC\x00"s, "\0\xC3\xBC"s},
        {"\xFE\xFF\x20\xAC\x07\xFF\x08\x00"s, "\xE2\x82\xAC\xDF\xBF\xE0\xA0\x80"},
        {"\xFF\xFE\x3D\xD8\xEB\xDE\xFF\xDB\xFF\xDF", "\xF0\x9F\x9B\xAB\xF4\x8F\xBF\xBF"},
        {"\xFF\xFE\x3D\xD8\x3D\xD8\xEB\xDE", "\xEF\xBF\xBD\xF0\x9F\x9B\xAB", false}, // two first halves
        {"\xFF\xFE\xEB\xDE\xEB\xDEx\x00"s, "\xEF\xBF\xBD\xEF\xBF\xBDx", false},      // two second halves
        {"\xFE\xFF\xD8\x3D\x00x"s, "\xEF\xBF\xBDx", false},
        {"\xFE\xFF\x00x\xD8\x3D"s, "x\xEF\xBF\xBD", false}, // cut between the halves, and in a unit
        {"\xFE\xFF\x00x\xD8\x3D\xDE"s, "x\xEF\xBF\xBD\xEF\xBF\xBD", false},
        {"\xFF\xFEx"s, "\xEF\xBF\xBD", false},
    };
    for (const auto& row : cases) {
        std::string converted = "of the last file";
        EXPECT_EQ(decodeText(row.bytes, converted), row.text);
        std::string appended;
        if (row.bytes.size() >= 2 && (row.bytes[0] == '\xFF' || row.bytes[0] == '\xFE')) {
            EXPECT_EQ(appendUtf16(appended, row.bytes.substr(2), row.bytes[0] == '\xFE'), row.whole) << row.text;
        } else
            EXPECT_EQ(converted, "of the last file") << "plain bytes are not copied";
    }
    EXPECT_EQ(utf8OrLatin1("\x80K\xF6ln\xFF"), "\xC2\x80K\xC3\xB6ln\xC3\xBF");
    EXPECT_EQ(utf8OrLatin1("K\xC3\xB6ln"), "K\xC3\xB6ln");
}

} // namespace
} // namespace kes
