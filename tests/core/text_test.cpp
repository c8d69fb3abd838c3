// SPDX-License-Identifier: MIT
#include "core/text.h"
#include "core/text_encoding.h"

#include <cmath>
#include <cstdlib>
#include <gtest/gtest.h>
#include <limits>

namespace kes {
namespace {

TEST(Text, LeadingIntReadsLikeTheStandardConversion) {
    const struct {
        const char* text;
        std::int32_t value;
    } cases[] = {{"42", 42},
                 {"  \t-7", -7},
                 {"+5 nm", 5},
                 {"12abc", 12},
                 {"3.9", 3},
                 {"2147483647", 2147483647},
                 {"-2147483648", INT32_MIN},
                 {"007", 7}};
    for (const auto& row : cases)
        EXPECT_EQ(leadingInt(row.text), row.value) << row.text;
    for (const char* none : {"2147483648", "99999999999999999999", "", "   ", "abc", "+-5", "- 5", "+"})
        EXPECT_FALSE(leadingInt(none)) << none;
}

TEST(Text, DoublesPrintAsAStandardFormatterDoes) {
    const struct {
        double value;
        const char* oneDigit;
        const char* shortest;
    } cases[] = {
        {0, "0", "0"},
        {-0.0, "-0", "-0"},
        {100000, "1e+05", "1e+05"},
        {-3.4, "-3", "-3.4"},
        {0.1, "0.1", "0.1"},
        {12.5, "1e+01", "12.5"},
        {0.00001, "1e-05", "1e-05"},
        {NAN, "nan", "nan"},
        {INFINITY, "inf", "inf"},
        {123456.75, "1e+05", "123456.75"},
        {1.0 / 3, "0.3", "0.3333333333333333"},
    };
    for (const auto& row : cases) {
        EXPECT_EQ(generalOneDigit(row.value), row.oneDigit);
        EXPECT_EQ(shortest(row.value), row.shortest);
    }
    for (const double widest : {-std::numeric_limits<double>::max(), -std::numeric_limits<double>::denorm_min()})
        EXPECT_EQ(std::strtod(shortest(widest).c_str(), nullptr), widest);
}

TEST(Text, ForeignTextBecomesUtf8) {
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

TEST(Text, PiecesAndEdges) {
    using Pieces = std::vector<std::string_view>;
    EXPECT_EQ(split("a,,b,", ','), (Pieces{"a", "", "b", ""}));
    EXPECT_EQ(split("", ','), Pieces{""});
    EXPECT_EQ(strip(" \t a b\r\n"), "a b");
    EXPECT_EQ(strip(" \r\n"), "");
    EXPECT_EQ(upper("b73\xC3\xA9z"), "B73\xC3\xA9Z") << "bytes beyond ASCII stay";
    EXPECT_TRUE(equalsNoCase("Eddf", "eDDF"));
    EXPECT_FALSE(equalsNoCase("EDDF", "EDD"));
    EXPECT_FALSE(equalsNoCase("[", "{")) << "letters only";
    EXPECT_EQ(plural(1), "");
    EXPECT_EQ(plural(0), "s");
    EXPECT_EQ(plural(-1), "s");
}

} // namespace
} // namespace kes
