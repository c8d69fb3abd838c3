// SPDX-License-Identifier: MIT
#include "core/clock.h"
#include "core/foreign_log.h"
#include "support.h"

namespace kes {
namespace {

TEST(Quoted, KeepsWholeCharactersAndNothingThatActs) {
    const struct {
        std::string_view text, wanted;
        std::size_t longest = longestQuote;
    } cases[] = {
        {"plain", "plain"},
        {"a\nb\tc\rd", "a b c d"},
        {"\x1b[2J\x7f", "?[2J?"},
        {"A\xC3\xA9ro \xE2\x9C\x88 \xF0\x9F\x9B\xA9", "A\xC3\xA9ro \xE2\x9C\x88 \xF0\x9F\x9B\xA9"},
        {"A\xE9ro", "A?ro"},
        {"\xC2\x85", "??"},                  // a control character beyond ASCII
        {"\xC0\xAF \xE0\x80\xAF", "?? ???"}, // overlong
        {"\xED\xA0\x80", "???"},             // half a pair
        {"\xF4\x90\x80\x80", "????"},        // beyond the last character
        {"\xE2\x9C", "??"},                  // cut by its sender
        {"abc", "abc", 3},
        {"abcd", "abc...", 3},
        {"ab\xC3\xA9", "ab...", 3},
    };
    for (const auto& c : cases)
        EXPECT_EQ(quoted(c.text, c.longest), c.wanted) << c.text;
}

TEST(ForeignBudget, IsSharedByAllAndBeginsAnewEachMinute) {
    test::ProgramFolder folder;
    setWallClockMs(1'800'000'000'000);
    resetForeignBudget();
    const std::string line(30000, 'x');
    LogLimiter first{"feed"};
    LogLimiter second{"simulator"};
    for (int i = 0; i < 50; ++i) {
        first.write(line);
        second.writeWarning(line);
    }
    setWallClockMs(1'800'000'000'000 + foreignBudgetMs);
    first.write("a new minute");
    second.finish();
    setWallClockMs(-1);
    resetForeignBudget();

    std::istringstream text(folder.logText());
    std::size_t kept = 0;
    std::vector<std::string> ends;
    for (std::string one; std::getline(text, one);)
        if (one.size() > 1000)
            ++kept;
        else
            ends.push_back(one);
    EXPECT_EQ(kept, foreignBudgetBytes / line.size());
    ASSERT_EQ(ends.size(), 4U);
    EXPECT_EQ(ends[1], "17 more messages about the feed were left out");
    EXPECT_EQ(ends[2], "a new minute");
    EXPECT_EQ(ends[3], "17 more messages about the simulator were left out");
}

} // namespace
} // namespace kes
