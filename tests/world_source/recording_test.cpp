// SPDX-License-Identifier: MIT
#include "world/source/recording.h"
#include "world_source/source_test_files.h"

using namespace kes::source;

namespace {

std::vector<double> offsets(const std::vector<std::optional<double>>& times) {
    Pace pace;
    std::vector<double> out;
    for (const auto& t : times)
        out.push_back(paceOf(pace, t));
    return out;
}

std::vector<std::string> texts(Recording& recording) {
    std::vector<std::string> all;
    while (auto line = recording.next())
        all.push_back(line->text);
    return all;
}

} // namespace

TEST(Recording, PaceSurvivesTimesThatDoNotFit) {
    const std::optional<double> none;
    struct Case {
        const char* what;
        std::vector<std::optional<double>> times;
        std::vector<double> offsets;
    };
    const Case cases[] = {
        {"even", {100, 101, 103.5}, {0, 1, 3.5}},
        {"lines without a time, at the start and inside", {none, 100, none, 102}, {0, 0, 0, 2}},
        {"slightly out of order", {100, 104, 103, 105}, {0, 4, 4, 5}},
        {"one wild time ahead", {100, 9e9, 101, 102}, {0, 0, 1, 2}},
        {"one wild time behind", {100, 3, 101}, {0, 0, 1}},
        {"two wild times of different kinds", {100, 9e9, 5, 101}, {0, 0, 0, 1}},
        {"a cut to another day", {100, 90000, 90001, 90003}, {0, 0, 1, 3}},
        {"a cut back, as of two recordings in one file", {5000, 100, 100.5, 102}, {0, 0, 0.5, 2}},
    };
    for (const Case& c : cases)
        EXPECT_EQ(offsets(c.times), c.offsets) << c.what;
}

TEST(Recording, OnlyFieldFourteenMoves) {
    const std::string line = feedLine(20001, 1000.5);
    EXPECT_EQ(timeField(line), 1000.5);
    EXPECT_EQ(withTime(line, 1753000000.25), feedLine(20001, 1753000000.2));
    // A short line, one with a text in the place of the time, and noise stay as they are.
    for (const std::string bad :
         {"RTTFC,1,2,3", "a,b,c,d,e,f,g,h,i,j,k,l,m,n,null,p", ",,,,,,,,,,,,,,,,", "\xff\x01"}) {
        EXPECT_EQ(timeField(bad), std::nullopt) << bad;
        EXPECT_EQ(withTime(bad, 5.0), bad);
    }
}

TEST(Recording, PlainAndGzipReadAlike) {
    const SourceFolder folder;
    const std::string big(70000, 'x'), huge(400000, 'y');
    const std::string content = feedLine(20001, 10) + "\r\n\n" + big + "\nno time\n" + huge + "\n" +
                                feedLine(20002, 11) + "\n" + feedLine(20003, 12);
    folder.write("plain.txt", content);
    folder.writeGzip("packed.rttfc.gz", content);
    const std::vector<std::string> expected{feedLine(20001, 10), "no time", feedLine(20002, 11), feedLine(20003, 12)};
    for (const char* name : {"plain.txt", "packed.rttfc.gz"}) {
        Recording recording;
        std::string error;
        ASSERT_TRUE(recording.open(folder.path / name, error)) << error;
        EXPECT_EQ(texts(recording), expected) << name;
        EXPECT_EQ(recording.skipped(), 3U) << name;
        EXPECT_EQ(recording.problem(), "") << name;
    }
}

TEST(Recording, DamagedFileEndsWhereTheDamageIs) {
    const SourceFolder folder;
    std::string content;
    for (int i = 0; i < 6000; ++i)
        content += feedLine(20001 + static_cast<std::uint32_t>(i * 7919 % 60000), 100 + i * 0.3) + "\n";
    folder.writeGzip("whole.gz", content);
    std::filesystem::resize_file(folder.path / "whole.gz", std::filesystem::file_size(folder.path / "whole.gz") / 2);
    Recording recording;
    std::string error;
    ASSERT_TRUE(recording.open(folder.path / "whole.gz", error));
    std::size_t lines = 0;
    while (auto line = recording.next()) {
        ASSERT_EQ(line->text, content.substr(content.find(line->text), line->text.size()));
        ASSERT_TRUE(line->timed) << "half a line: " << line->text;
        ++lines;
    }
    EXPECT_GT(lines, 900U);
    EXPECT_LT(lines, 5100U);
    EXPECT_NE(recording.problem(), "");
    EXPECT_FALSE(Recording().open(folder.path / "not there", error));
    EXPECT_FALSE(Recording().open(folder.path, error)) << "a folder is no recording";
}

TEST(Recording, MiddlePlacePrefersTheGround) {
    const SourceFolder folder;
    std::string content = "noise\n";
    for (int i = 0; i < 30; ++i)
        content += feedLine(20001, i, 50 + i, 10, 9000) + "\n";
    folder.write("air.txt", content);
    folder.write("ground.txt", content + feedLine(20002, 31, 41.3, 2.08, 0) + "\n" +
                                   feedLine(20002, 32, 41.31, 2.07, 0) + "\n" + feedLine(20002, 33, 10, 20, 0) + "\n");
    const auto air = middlePlace(folder.path / "air.txt", 1000), ground = middlePlace(folder.path / "ground.txt", 1000);
    ASSERT_TRUE(air && ground);
    EXPECT_EQ(air->lat, 65);
    EXPECT_EQ(ground->lat, 41.3);
    EXPECT_EQ(ground->lon, 2.08);
    EXPECT_FALSE(middlePlace(folder.path / "air.txt", 1)) << "the first line tells no place";
}
