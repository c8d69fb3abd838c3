// SPDX-License-Identifier: MIT
#include "core/text.h"

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
