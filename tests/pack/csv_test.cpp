// SPDX-License-Identifier: MIT
#include "tools/csv/csv.h"

#include <algorithm>
#include <gtest/gtest.h>

namespace kes::test {
namespace {

TEST(Csv, NastyTexts) {
    using namespace std::string_literals;
    struct Case {
        const char* name;
        std::string text;
        std::string rows; ///< line and columns b and a of each good row, as "2[b|a]"
        std::string bad;  ///< lines of bad rows, each with a blank behind it
        CsvForm form = CsvForm::plain;
    };
    const std::string longQuote = "a,b\n\"x\n" + std::string(25, '\n') + "3,4\n\"5\",6\n";
    const Case cases[] = {
        {"no line end at the end", "a,b\n1,2", "2[2|1]", ""},
        {"crlf, mark and blank lines", "\xEF\xBB\xBF\r\na,b\r\n\r\n1,2\r\n  \r\n3,4\r\n", "4[2|1]6[4|3]", ""},
        {"head in any case, order and with more columns", "x,B, A \n0,2,1,9\n", "2[2|1]", ""},
        {"quotes", "a,b\n\"x, \"\"y\"\"\",\" 2 \"\n", "2[ 2 |x, \"y\"]", ""},
        {"quoted line end", "a,b\n\"x\ny\",2\n3,4\n", "2[2|x\ny]4[4|3]", ""},
        {"quote inside a field", "a,b\nx\"y,2\n", "2[2|x\"y]", ""},
        {"open quote loses its line only", "a,b\n\"x,2\n3,4\n", "3[4|3]", "2 "},
        {"quote that is closed far away", longQuote, "28[4|3]29[6|5]", "2 "},
        {"too few fields", "a,b\n1\n3,4\n,\n", "3[4|3]4[|]", "2 "},
        {"only a head", "a,b\n", "", ""},
        {"bytes that are no text", "a,b\n\xFF\xC3,\0x\n"s, "2[\0x|\xFF\xC3]"s, ""},
        {"semicolons are no separator of the plain form", "a,b\n1;2,3\n", "2[3|1;2]", ""},
        {"semicolons", "a;b;c,d\r\n1,5;\"2;3\";\r\n", "2[2;3|1,5]", "", CsvForm::guessed},
        {"tabs and empty fields", "x\ta\tb\n\t\t2\n1\t\t\n", "2[2|]3[|]", "", CsvForm::guessed},
        {"single quotes", "'a','b'\n'O''Hare, Mr','say \"x\"'\n", "2[say \"x\"|O'Hare, Mr]", "", CsvForm::guessed},
        {"apostrophe in a double quoted list", "\"a\",\"b\"\n'x,2\n", "2[2|'x]", "", CsvForm::guessed},
        {"refused by its reader", "a,b\n1,2\nnot this one,2\n3,4\n", "2[2|1]4[4|3]", "3 not this one "},
    };
    for (const Case& c : cases) {
        std::string rows, bad, problem;
        const auto count = readCsvText(
            c.text, {"b", "a"},
            [&](const CsvRow& row) {
                if (row[1] == "not this one")
                    return std::string(row[1]);
                rows += std::to_string(row.line) + "[" + std::string(row[0]) + "|" + std::string(row[1]) + "]";
                return std::string();
            },
            [&](std::size_t line, const std::string& reason) {
                EXPECT_FALSE(reason.empty());
                bad += std::to_string(line) + " " + (reason == "not this one" ? reason + " " : "");
            },
            problem, c.form);
        ASSERT_TRUE(count) << c.name << ": " << problem;
        EXPECT_EQ(count->bad, c.bad.empty() ? 0U : 1U) << c.name;
        EXPECT_EQ(count->good, static_cast<std::size_t>(std::ranges::count(rows, '['))) << c.name;
        EXPECT_EQ(rows, c.rows) << c.name;
        EXPECT_EQ(bad, c.bad) << c.name;
    }
}

TEST(Csv, HeadLineDecides) {
    std::string problem;
    const auto take = [](const CsvRow&) { return std::string(); };
    for (const char* text : {"", "\n\n", "a\n1\n", "\"a,b\n1,2\n"}) {
        problem.clear();
        EXPECT_FALSE(readCsvText(text, {"a", "b"}, take, nullptr, problem)) << text;
        EXPECT_FALSE(problem.empty());
    }
    EXPECT_TRUE(readCsvText("a\n1\n", {"a", "?b"}, take, nullptr, problem));
    EXPECT_FALSE(readCsv("no such file.csv", {"a"}, take, nullptr, problem));
    EXPECT_EQ(problem, "no such file.csv not found");
}

} // namespace
} // namespace kes::test
