// SPDX-License-Identifier: MIT
// The zip layer: what goes in comes out, and damage is told.
#include "files.h"
#include "pipe_guard.h"

#include <random>

namespace kes::test {
namespace {

using platform::ZipArchive;

TEST(Zip, GivesBackWhatWasPut) {
    const ProgramFolder folder;
    std::mt19937 random(1);
    std::string noise(1'500'000, '\0');
    for (char& c : noise)
        c = static_cast<char>(random());
    const std::vector<std::pair<std::string, std::string>> entries{
        {"b.txt", "text"}, {"a/empty", ""}, {"M\xC3\xBCnchen.xml", noise}, {"a/zeros", std::string(700'000, '\0')}};
    const std::string bytes = zipOf(entries);
    EXPECT_EQ(zipOf(entries), bytes) << "the same content gives the same zip";
    ZipArchive zip("made.zip");
    ASSERT_TRUE(zip.open());
    const auto found = zip.getEntries();
    ASSERT_EQ(found.size(), entries.size());
    for (std::size_t i = 0; i < found.size(); ++i) {
        EXPECT_EQ(found[i].getName(), entries[i].first);
        EXPECT_EQ(found[i].getSize(), entries[i].second.size());
        bool good = false;
        EXPECT_EQ(found[i].readAsText(&good), entries[i].second);
        EXPECT_TRUE(good);
        std::ostringstream out;
        EXPECT_EQ(found[i].readContent(out, 1000), 0);
        EXPECT_EQ(out.str(), entries[i].second);
    }
}

int asked = 0, stopAt = 0;
bool stop() {
    return ++asked > stopAt;
}

TEST(Zip, OpensOnlyFilesAndStopsWhenTold) {
    const ProgramFolder folder;
    {
        const PipeGuard pipe("pipe.zip");
        EXPECT_FALSE(ZipArchive("pipe.zip").open());
        EXPECT_FALSE(ZipArchive(".").open());
    }
    zipOf({{"a", std::string(12'000'000, 'a')}});
    ZipArchive zip("made.zip", stop);
    stopAt = 1'000'000;
    asked = 0;
    ASSERT_TRUE(zip.open());
    EXPECT_EQ(zip.countEntries(), 1u);
    const int toOpen = asked;
    EXPECT_GT(toOpen, 0);
    ZipArchive deaf("made.zip", stop);
    for (stopAt = 0; stopAt < toOpen; ++stopAt) {
        asked = 0;
        EXPECT_FALSE(deaf.open()) << stopAt;
    }
    stopAt = 6; // of some 24 pieces
    asked = 0;
    std::ostringstream out;
    EXPECT_NE(zip.getEntries()[0].readContent(out), 0);
    EXPECT_LE(out.str().size(), 6'000'000u);
    asked = 0;
    bool good = true;
    EXPECT_LE(zip.getEntries()[0].readAsText(&good).size(), 6'000'000u);
    EXPECT_FALSE(good);
}

TEST(Zip, ReadsNoEndlessTableOfEntries) {
    const ProgramFolder folder;
    const auto opens = [](std::size_t count) {
        std::vector<std::pair<std::string, std::string>> entries;
        for (std::size_t i = 0; i < count; ++i)
            entries.emplace_back(std::to_string(i) + std::string(60'000, 'n'), "");
        zipOf(entries);
        return ZipArchive("made.zip").open();
    };
    EXPECT_TRUE(opens(100));
    EXPECT_FALSE(opens(300)); // 18 MB of names
}

} // namespace
} // namespace kes::test
