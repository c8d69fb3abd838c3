// SPDX-License-Identifier: MIT
// Who published a scenery file: by its path on either system, and by manifests good and bad.
#include "core/foreign_log.h"
#include "install/publisher.h"
#include "reference/reference.h"
#include "reference_text.h"
#include "support.h"

#include <algorithm>

namespace kes::test {
namespace {

namespace fs = std::filesystem;

struct PublisherTest : testing::Test {
    ProgramFolder program;
    std::vector<std::string> lines;

    void SetUp() override {
        ReferenceText text;
        text.types = {{AircraftCategory::large, {"A320"}}};
        text.publishers = {{"Orbx", "ORBX Simulations"}, {"FlyTampa", "fly tampa"}};
        text.read();
    }
    void TearDown() override { resetReference(); }
    void put(const std::string& file, std::string_view content) const { (void)program.temporary.write(file, content); }
    /// The publisher of a path, and what the last line told.
    std::string find(const std::string& path) {
        lines.clear();
        const PublisherInfo info = findPublisher(path, lines);
        EXPECT_EQ(lines.front(), "\nTry find publisher in: " + path);
        return info.publisher + ": " + lines.back();
    }
};

TEST_F(PublisherTest, ThePathTellsOnBothSystems) {
    put("Community/x/manifest.json", R"({"manufacturer":"Orbx"})");
    struct Case {
        const char *path, *expected;
    };
    for (const Case& c :
         {Case{"C:\\Sim\\Official\\MICROSOFT-Airport-kjfk\\a.bgl", "simaddon: from filename => publisher simaddon"},
          {"Community/x/asobo-AIRPORT-flytampa/a.bgl", "simaddon: from filename => publisher simaddon"},
          {"C:\\Sim\\Community\\flytampa-ams\\a.bgl", "FlyTampa: publisher \"FlyTampa\" found"},
          {"/sim/Community/flytampa-ams/a.bgl", "FlyTampa: publisher \"FlyTampa\" found"},
          {"/sim/Community/orbx and flytampa/a.bgl", "FlyTampa: publisher \"FlyTampa\" found"},
          {"/sim/microsoft-airplane/a.bgl", "unknown: ===> No publisher found"}})
        EXPECT_EQ(find(c.path), c.expected) << c.path;
}

TEST_F(PublisherTest, TheManifestIsSearchedInOrder) {
    const std::string orbx = R"({"manufacturer":"orbx", "creator":"fly tampa", "title":"EGLL London"})",
                      tampa = R"({"creator":"flytampa"})",
                      found = "Orbx: from manifest.json: manufacturer \"orbx\" => publisher \"Orbx\"",
                      none = "unknown: ===> No publisher found", bgl = "Community/p/scenery/b.bgl";
    struct Case {
        const char* name;
        std::map<std::string, std::string> files;
        std::string path, expected;
    };
    const Case cases[] = {
        {"in the package", {{"Community/p/manifest.json", orbx}}, "Community/p/scenery/a/b.bgl", found},
        {"the other system's", {{"Community/p/manifest.json", orbx}}, "Community\\p\\scenery\\b.bgl", found},
        {"the package goes before what is below it",
         {{"Community/p/manifest.json", orbx}, {"Community/p/scenery/manifest.json", tampa}},
         bgl,
         found},
        {"a broken one in the package ends the search",
         {{"Community/p/manifest.json", "{"}, {"manifest.json", orbx}, {"Community/p/scenery/manifest.json", orbx}},
         bgl,
         none},
        {"none in the package: from the root on",
         {{"Community/manifest.json", orbx}, {"Community/p/scenery/manifest.json", tampa}},
         bgl,
         found},
        {"a broken one on the way down is passed",
         {{"Official/manifest.json", "[1]"}, {"Official/p/manifest.json", orbx}},
         "Official/p/b.bgl",
         found},
        {"directly below Community", {{"Community/manifest.json", orbx}}, "Community/b.bgl", found},
        {"of another case", {{"Community/p/Manifest.json", orbx}, {"Community/p/manifest.JSON", orbx}}, bgl, none},
        {"a folder of that name", {{"Community/p/manifest.json/x", orbx}}, bgl, none},
        {"by the creator",
         {{"Community/p/manifest.json", R"({"manufacturer":"me","creator":"Fly Tampa Ltd"})"}},
         bgl,
         "FlyTampa: from manifest.json creator \"Fly Tampa Ltd\" => publisher \"FlyTampa\""},
        {"of nobody",
         {{"Community/p/manifest.json", R"({"title":"orbx"})"}},
         bgl,
         "unknown: no valid info found in manifest about publisher, manufacturer:\"\", creator:\"\" " + bgl},
    };
    for (const Case& c : cases) {
        for (const char* folder : {"Community", "Official", "manifest.json"})
            fs::remove_all(folder);
        for (const auto& [file, content] : c.files)
            put(file, content);
        EXPECT_EQ(find(c.path), c.expected) << c.name;
        const bool read = c.expected != none;
        EXPECT_EQ(std::ranges::count_if(
                      lines, [](const std::string& line) { return line.ends_with("manifest.json found"); }) > 0,
                  read || std::string_view(c.name).find("broken") != std::string_view::npos)
            << c.name;
    }
    EXPECT_EQ(findPublisher("Official/none/b.bgl", lines).title, "");
    put("Community/p/manifest.json", R"({"manufacturer":"me","creator":"you","title":"EGLL London"})");
    const PublisherInfo info = findPublisher("Community/p/b.bgl", lines);
    EXPECT_EQ(info.publisher + info.manufacturer + info.creator + info.title, "unknownmeyouEGLL London");
}

TEST_F(PublisherTest, AManifestOfAnyKindLetsNoExceptionOut) {
    const std::string big(10'000'000, 'x');
    struct Case {
        const char* name;
        std::string bytes;
        std::optional<std::string> expected; ///< manufacturer, creator and title
        std::size_t told = 0;
    };
    const Case cases[] = {
        {"all three", R"({"manufacturer":"a","creator":"b","title":"c"})", "a|b|c"},
        {"a mark", "\xEF\xBB\xBF{\"creator\":\"\xC3\xBC\"}", "|\xC3\xBC|"},
        {"16 bits", std::string("\xFF\xFE{\0\"\0t\0i\0t\0l\0e\0\"\0:\0\"\0\xFC\0\"\0}\0", 28), "||\xC3\xBC"},
        {"the old Western code", "{\"creator\":\"M\xFCller\"}", "|M\xC3\xBCller|"},
        {"lines of either system", "{\"manufacturer\":\r\n\"a b\",\n\"title\":\n\"c\"}\r\n", "a b||c"},
        {"a text over two lines", "{\"title\":\"a\nb\"}", "||ab"},
        {"members of other types", R"({"manufacturer":5,"creator":["b"],"title":{"title":"c"}})", "||", 3},
        {"null", R"({"manufacturer":null,"creator":"b"})", "|b|", 1},
        {"deeper ones do not count", R"({"package":{"creator":"b"},"title":"c"})", "||c"},
        {"control characters", R"({"title":"a\nb\u0000\u001b"})", "||a b??"},
        {"a list", R"(["manufacturer"])", {}},
        {"a text", R"("manufacturer")", {}},
        {"cut off", R"({"manufacturer":"a","creator":"b")", {}},
        {"more behind it", R"({"manufacturer":"a"}{)", {}},
        {"nothing", "", {}},
        {"deep", std::string(1'000'000, '['), {}},
        {"10 MB of other members", "{\"x\":[\"" + big + "\",[1]],\"title\":\"c\"}", "||c"},
        {"a text of 10 MB", "{\"creator\":\"" + big + "\"}", "|" + std::string(longestQuote, 'x') + "...|"},
        {"more than a manifest can be", "{\"creator\":\"" + big + big + "\"}", {}},
    };
    for (const Case& c : cases) {
        put("manifest.json", c.bytes);
        lines.clear();
        const auto info = readManifest("manifest.json", lines);
        const auto found =
            info ? std::optional(info->manufacturer + "|" + info->creator + "|" + info->title) : std::nullopt;
        EXPECT_EQ(found, c.expected) << c.name;
        EXPECT_EQ(lines.size(), c.told) << c.name;
    }
    put("Community/p/manifest.json", R"({"manufacturer":5,"creator":"flytampa"})");
    EXPECT_TRUE(find("Community/p/b.bgl").starts_with("FlyTampa"));
    EXPECT_TRUE(lines[2].starts_with("exception in lf_searchManifest: ") &&
                lines[2].ends_with("type must be string, but is number"))
        << lines[2];
    EXPECT_FALSE(readManifest("none.json", lines));
}

TEST_F(PublisherTest, AnExpressionThatIsNoneCostsThePublisherOnly) {
    ReferenceText text;
    text.types = {{AircraftCategory::large, {"A320"}}};
    text.publishers = {{"Nice("}};
    text.read();
    EXPECT_TRUE(find("Community/p/nice b.bgl").starts_with("unknown: ")) << lines.back();
}

} // namespace
} // namespace kes::test
