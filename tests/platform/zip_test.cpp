// The zip layer: what goes in comes out, and damage is told.
#include "platform/zip.h"
#include "support.h"

#include <random>
#include <sstream>

namespace kes::test {
namespace {

using platform::ZipArchive;

std::string made(const std::vector<std::pair<std::string, std::string>>& entries) {
    ZipArchive zip("made.zip");
    EXPECT_TRUE(zip.open(ZipArchive::OpenMode::create));
    for (const auto& [name, content] : entries)
        EXPECT_TRUE(zip.addData(name, content));
    EXPECT_TRUE(zip.close());
    return readFile("made.zip");
}

TEST(Zip, givesBackWhatWasPut) {
    const ProgramFolder folder;
    std::mt19937 random(1);
    std::string noise(1'500'000, '\0');
    for (char& c : noise)
        c = static_cast<char>(random());
    const std::vector<std::pair<std::string, std::string>> entries{
        {"b.txt", "text"}, {"a/empty", ""}, {"M\xC3\xBCnchen.xml", noise}, {"a/zeros", std::string(700'000, '\0')}};
    const std::string bytes = made(entries);
    EXPECT_EQ(made(entries), bytes) << "the same content gives the same zip";
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

TEST(Zip, tellsDamage) {
    const ProgramFolder folder;
    ZipArchive none("nowhere.zip");
    EXPECT_FALSE(none.open());
    EXPECT_TRUE(none.getEntries().empty());
    const std::string bytes = made({{"a", std::string(4000, 'a')}});
    const auto opens = [](const std::string& content) {
        std::ofstream("other.zip", std::ios::binary) << content;
        ZipArchive zip("other.zip");
        return zip.open() && !zip.getEntries().empty();
    };
    EXPECT_TRUE(opens(bytes));
    EXPECT_FALSE(opens("no zip"));
    EXPECT_FALSE(opens(bytes.substr(0, bytes.size() - 1)));
    std::string flipped = bytes;
    flipped[35] = static_cast<char>(flipped[35] ^ 0x40);
    std::ofstream("other.zip", std::ios::binary) << flipped;
    ZipArchive zip("other.zip");
    ASSERT_TRUE(zip.open());
    const auto entries = zip.getEntries();
    ASSERT_EQ(entries.size(), 1u);
    bool good = true;
    (void)entries[0].readAsText(&good);
    EXPECT_FALSE(good);
    std::ostringstream out;
    EXPECT_NE(entries[0].readContent(out), 0);
    std::ostringstream closed;
    closed.setstate(std::ios::failbit);
    std::ofstream("other.zip", std::ios::binary) << bytes;
    ASSERT_TRUE(zip.open());
    EXPECT_EQ(zip.getEntries()[0].readContent(closed), -1);
}

} // namespace
} // namespace kes::test
