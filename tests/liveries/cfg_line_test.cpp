// SPDX-License-Identifier: MIT
// One line at a time against the regular expressions that define it.
#include "core/text.h"
#include "liveries/cfg_line.h"
#include "liveries/cfg_pick.h"
#include "platform/file.h"

#include <algorithm>
#include <fmt/format.h>
#include <gtest/gtest.h>
#include <map>
#include <random>
#include <regex>
#include <string>
#include <vector>

namespace kes {
namespace {

constexpr auto flags = std::regex::ECMAScript | std::regex::icase | std::regex::optimize;

const std::vector<std::string> keys{"title",  "texture",      "base_container",   "icao_type_designator",
                                    "atc_id", "icao_airline", "atc_parking_types"};

std::optional<std::string> keyOracle(const std::string& line, const std::string& key) {
    static std::map<std::string, std::regex> made;
    const auto added = made.try_emplace(key, "\\s*(" + key + ")\\s*=\\s*(.*\\S)\\s*", flags);
    std::smatch match;
    if (!std::regex_match(line, match, added.first->second))
        return {};
    return match[2].str();
}

std::string headerOracle(const std::string& line) {
    static const std::regex header("\\s*(\\[fltsim\\.)(\\d+)\\]\\s*", flags);
    std::smatch match;
    return std::regex_match(line, match, header) ? match[2].str() : std::string();
}

/// A line of pieces that matter, so that matches and near misses are both frequent.
std::string randomLine(std::mt19937& random) {
    using namespace std::string_view_literals;
    static const auto pieces =
        split(" |\t|\r|\v|=|==|title|Title|TITLE|ui_|atc_id|ATC_ID|icao_airline|\"|\"\"|x|a b|[|]|[fltsim.|"
              "[FLTSIM.|[FltSim.|0|12|.|;|//|\xFC|\xC3\xA9|texture|base_container|\0"sv,
              '|');
    static const auto starts = split("title=|[fltsim.1| [FLTSIM.0]| atc_id|icao_airline =", '|');
    std::string line;
    if (random() % 3 == 0) // near a match
        line = starts[random() % starts.size()];
    const auto count = random() % 6;
    for (unsigned i = 0; i < count; ++i)
        line += pieces[random() % pieces.size()];
    return line;
}

TEST(CfgLine, MeansWhatTheExpressionsMean) {
    std::mt19937 random(4);
    int matches = 0, headers = 0;
    const auto compare = [&](const std::string& line) {
        for (const std::string& key : {keys[0], keys[4], keys[5]}) {
            const auto wanted = keyOracle(line, key);
            const auto got = keyValue(line, key);
            ASSERT_EQ(got.has_value(), wanted.has_value()) << key << " in " << testing::PrintToString(line);
            if (wanted) {
                ++matches;
                ASSERT_EQ(*got, *wanted) << testing::PrintToString(line);
            }
        }
        const std::string digits = headerOracle(line);
        ASSERT_EQ(headerDigits(line), digits) << testing::PrintToString(line);
        headers += !digits.empty();
    };
    for (int i = 0; i < 20000 && !testing::Test::HasFatalFailure(); ++i)
        compare(randomLine(random));
    // Lines that a file would really hold, with one byte changed anywhere.
    for (const std::string line : {"title = \"A B\" ; Variation name", "  TITLE=x", "ui_title=x", "[fltsim.12]",
                                   " [FLTSIM.0] ", "atc_id=D-AIPA,F-GKXA", "icao_airline\t=\tDLH"}) {
        compare(line);
        for (std::size_t at = 0; at < line.size() && !testing::Test::HasFatalFailure(); ++at) {
            for (const char c : {' ', '\r', '=', '"', 'T', '\xFF', '0'}) {
                std::string changed = line;
                changed[at] = c;
                compare(changed);
            }
        }
    }
    EXPECT_GT(matches, 500);
    EXPECT_GT(headers, 50);
}

TEST(CfgLine, TakesTheTextBetweenTheFirstTwoQuotes) {
    const std::vector<std::pair<std::string_view, std::string_view>> table{
        {"x", "x"},          {"\"A B\" ; c", "A B"}, {"a \"b\" c", "b"},  {"\"\"", ""}, {"\"open", ""},
        {"x\"\"y\"z\"", ""}, {"\" a \"", " a "},     {"\"a\"\"b\"", "a"}, {"", ""}};
    for (const auto& [value, wanted] : table)
        EXPECT_EQ(unquoted(value), wanted) << value;
}

/// Each place that the pass must mark, found byte by byte.
std::string plainMarks(std::string_view text) {
    std::string all;
    for (std::size_t at = 0; at < text.size(); ++at) {
        const std::string three = at > 0 ? upper(text.substr(at - 1, 3)) : "";
        const std::string_view letters = "TIT O_A C_P C_I O_T E_C";
        if (text[at] == '[' || (three.size() == 3 && letters.find(three) != std::string_view::npos &&
                                three.find(' ') == std::string::npos))
            all += fmt::format("{} ", at);
    }
    return all + fmt::format("{}", std::count(text.begin(), text.end(), '\n'));
}

TEST(CfgLine, TheVectorPassMarksWhatAPassByBytesMarks) {
    std::mt19937 random(7);
    cfg::Marks marks;
    platform::FileBytes bytes;
    const auto found = [&] {
        std::string all;
        for (std::size_t i = 0; i < marks.count; ++i) {
            all += fmt::format("{} ", marks.at[i]);
            EXPECT_EQ(marks.letters[i] == 0, bytes.view()[marks.at[i]] == '[');
        }
        return all + fmt::format("{}", marks.feeds);
    };
    std::vector<std::string> texts{std::string(70000, '\n'), std::string(300, '['), "tit", "Tit_o_a[", "ti", "_a", ""};
    for (std::size_t size = 0; size < 400; ++size) {
        for (std::string& text = texts.emplace_back(size, '\0'); char& c : text)
            c = "[\n\r_tTiIoOaAcCpPeE= \xF4\x7F"[random() % 22];
    }
    for (const std::string& text : texts) {
        const std::string wanted = plainMarks(text);
        bytes.assign(text);
        cfg::findMarks<platform::Bytes16>(bytes.view(), marks);
        ASSERT_EQ(found(), wanted) << text;
        cfg::findMarks<platform::PlainBytes16>(bytes.view(), marks);
        ASSERT_EQ(found(), wanted) << text;
    }
}

TEST(CfgLine, FindsBytesAndSpecialTitlesAtEveryPlace) {
    platform::FileBytes bytes;
    for (std::size_t size = 0; size < 40; ++size) {
        for (std::size_t at = 0; at <= size; ++at) {
            std::string text(size, 'x');
            if (at < size)
                text[at] = '"';
            bytes.assign(text + "\"");
            const char* const begin = bytes.view().data();
            EXPECT_EQ(cfg::findByte(begin, begin + size, '"', '\n') - begin, at);
            EXPECT_EQ(cfg::findByte(begin, begin + size, '\r', '"') - begin, at);
            for (const std::string_view word : {std::string_view("FenixA320"), std::string_view("PMDG 737"),
                                                std::string_view("\0", 1), std::string_view("Fx Fo PA eFMP")}) {
                std::string title = text.substr(0, at) + std::string(word) + text.substr(at);
                bytes.assign(title);
                EXPECT_EQ(cfg::titleNeedsALook(bytes.view()), word != "Fx Fo PA eFMP");
                bytes.assign(text.substr(0, at) + "x" + std::string(word));
                EXPECT_FALSE(cfg::titleNeedsALook(bytes.view().substr(0, at)));
            }
        }
    }
}

TEST(CfgLine, TakesLinesOfAnyLength) {
    const std::string long_(5'000'000, 'x');
    EXPECT_EQ(keyValue(" title=" + long_ + "  ", "title")->size(), long_.size());
    EXPECT_TRUE(headerDigits("[fltsim." + std::string(5'000'000, '1') + "]").size() == 5'000'000);
    EXPECT_FALSE(keyValue(std::string(5'000'000, ' '), "title"));
}

} // namespace
} // namespace kes
