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

TEST(CfgLine, MeansWhatTheExpressionsMean) {
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
    // Lines that a file would really hold, with one byte changed anywhere.
    for (const std::string line :
         {"title = \"A B\" ; Variation name", "  TITLE=x", "ui_title=x", "title==", "[fltsim.12]", " [FLTSIM.0] ",
          "\t[FltSim.10]\r", "atc_id=D-AIPA,F-GKXA", "icao_airline\t=\tDLH"}) {
        compare(line);
        for (std::size_t at = 0; at < line.size() && !testing::Test::HasFatalFailure(); ++at) {
            for (const char c : {' ', '\r', '\v', '=', '"', 'T', '\xFF', '0', ']', '\0'}) {
                std::string changed = line;
                changed[at] = c;
                compare(changed);
            }
        }
    }
    EXPECT_GT(matches, 300);
    EXPECT_GT(headers, 15);
}

TEST(CfgLine, TakesTheTextBetweenTheFirstTwoQuotes) {
    const std::vector<std::pair<std::string_view, std::string_view>> table{
        {"x", "x"},          {"\"A B\" ; c", "A B"}, {"a \"b\" c", "b"},  {"\"\"", ""}, {"\"open", ""},
        {"x\"\"y\"z\"", ""}, {"\" a \"", " a "},     {"\"a\"\"b\"", "a"}, {"", ""}};
    for (const auto& [value, wanted] : table)
        EXPECT_EQ(unquoted(value), wanted) << value;
}

TEST(CfgLine, EachWidthOfTheSearchMarksWhatASearchByBytesMarks) {
    std::mt19937 random(7);
    const std::vector<std::string> pieces{
        "title=",       "icao_airline ",     "atc_parking_types=",   "atc_parking_codes=", "atc_id =",
        "atc_id_color", "base_container=\"", "icao_type_designator", "[FLTSIM.0]\r\n",     "ui_typerole tit"};
    std::vector<std::string> texts{std::string(70000, '\n'), std::string(9000, '['), "tit", "Titlo_a[", "ti", "_a", ""};
    for (std::size_t size = 0; size < 400; ++size) {
        std::string& text = texts.emplace_back();
        while (text.size() < size) {
            if (random() % 3 == 0) {
                std::string piece = pieces[random() % pieces.size()];
                char& changed = piece[random() % piece.size()];
                changed = static_cast<char>(changed ^ (random() % 2 == 0 ? 0x20 : 0));
                text += piece;
            } else {
                text += "[\n\r_tTiIoOaAcCpPeElLdDrR= \xF4\x7F"[random() % 28];
            }
        }
        text.resize(size);
    }
    platform::FileBytes bytes;
    cfg::Marks marks;
    int seen = 0;
    for (const std::string& text : texts) {
        bytes.assign(text);
        std::string byBytes;
        for (const cfg::Width width : {cfg::Width::byBytes, cfg::Width::of16, cfg::Width::of32}) {
            if (width > cfg::widest())
                continue;
            cfg::findMarks(bytes.view(), marks, width);
            std::string found;
            for (std::size_t i = 0; i < marks.count; ++i) {
                found += fmt::format("{}:{} ", marks.at[i], marks.letters[i]);
                seen |= marks.letters[i];
            }
            byBytes = width == cfg::Width::byBytes ? found : byBytes;
            ASSERT_EQ(found, byBytes) << text;
        }
    }
    EXPECT_EQ(seen, 2 * cfg::bracketLetters - 1);
}

TEST(CfgLine, AKeyIsComparedToItsLastLetterInAnyCase) {
    constexpr cfg::KeyWord shortest("title"), longest("icao_type_designator");
    for (const auto& [key, word] : {std::pair(&shortest, "title"), std::pair(&longest, "icao_type_designator")}) {
        platform::FileBytes bytes;
        for (std::size_t at = 0; at < key->size; ++at) {
            std::string text = word;
            text[at] = upper(text.substr(at, 1))[0];
            bytes.assign(text);
            EXPECT_TRUE(key->standsAt(bytes.view().data())) << text;
            text[at] = static_cast<char>(text[at] ^ 0x40); // near enough to be taken for it in another case
            bytes.assign(text);
            EXPECT_FALSE(key->standsAt(bytes.view().data())) << text;
        }
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
