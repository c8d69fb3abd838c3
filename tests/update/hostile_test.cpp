// SPDX-License-Identifier: MIT
// Packages that lie: sizes that are not true, names that are no names, a good entry before a bad one.
#include "pipe_guard.h"
#include "update_folder.h"

#include <cstdint>
#include <tuple>

namespace kes::test {
namespace {

namespace fs = std::filesystem;
using Hostile = UpdateFolder;

/// Makes all entries of a zip tell another unpacked size, in both of their heads.
std::string claiming(std::string zip, std::uint32_t size) {
    const auto patch = [&](const char* mark, std::size_t offset) {
        for (std::size_t at = zip.find(mark); at != std::string::npos; at = zip.find(mark, at + 4))
            for (std::size_t i = 0; i < 4; ++i)
                zip[at + offset + i] = static_cast<char>(size >> (8 * i) & 0xFF);
    };
    patch("PK\x03\x04", 22);
    patch("PK\x01\x02", 24);
    return zip;
}

std::string entriesNamed(std::size_t count, const std::string& content, const std::string& last) {
    std::vector<std::pair<std::string, std::string>> entries;
    for (std::size_t i = 1; i < count; ++i)
        entries.emplace_back(fmt::format("{}.xml", i), content);
    entries.emplace_back("last.xml", last);
    return zipOf(entries);
}

TEST_F(Hostile, TheInstallerIsTheEntryOfItsName) {
    const std::string good = "setup_Kestrelune_d_v11.0.0.exe", zeros(5000, 'x');
    struct Case {
        std::vector<std::pair<std::string, std::string>> entries;
        std::string damaged; ///< an entry
        std::string result;  ///< empty = no installer
    };
    const std::vector<Case> table{
        {{{"setup.exe", "one"}, {"folder/", ""}}, "", "one"},
        {{{"setup.exe", "one"}, {"nothing.exe", ""}}, "", "one"},
        {{{"folder/", ""}}, "", ""},
        {{{good, "right"}, {"evil.exe", "wrong"}, {"x/" + good, "elsewhere"}}, "", "right"},
        {{{"SETUP_Kestrelune_d_v11.0.0.EXE", "right"}, {"evil.exe", "wrong"}}, "", "right"},
        {{{"evil.exe", "wrong"}, {good, zeros}}, good, ""},
        {{{"setup.exe", "one"}, {"worse.exe", zeros}}, "worse.exe", "one"},
        {{{"worse.exe", zeros}}, "worse.exe", ""},
    };
    useFolder();
    for (const Case& c : table) {
        std::string zip = zipOf(c.entries);
        if (!c.damaged.empty()) {
            const std::size_t at = zip.find(c.damaged) + c.damaged.size() + 4; // inside the packed bytes
            zip[at] = static_cast<char>(zip[at] ^ 0x55);
        }
        offerInstaller(zip);
        std::ofstream("install_new_version.exe") << "of the last update";
        SCOPED_TRACE(c.entries.back().first + " " + c.damaged);
        EXPECT_EQ(installNewVersion({11, 0, 0}), !c.result.empty());
        EXPECT_EQ(readFile("install_new_version.exe"), c.result);
        EXPECT_EQ(leftovers(), c.result.empty() ? "" : "install_new_version.exe ");
    }
    EXPECT_EQ(program.logCount("unzipping error code : "), 3u);

    server.put("release/setup_Kestrelune_d_v11.0.0.zip", {zipOf({{good, "from somebody on the way"}})});
    useBase(server.base());
    EXPECT_FALSE(installNewVersion({11, 0, 0}));
    EXPECT_TRUE(server.asked().empty());
    EXPECT_EQ(statusText(), "Downloading program installer file version 11.0.0 failed");
}

TEST_F(Hostile, SizesMustBeTrueAndSane) {
    const std::string honest = zipOf({{"a", std::string(3'000'000, 'y')}}), two = zipOf({{"a", "y"}, {"b", "y"}});
    const char *damaged = "a in doc.zip is damaged", *much = "doc.zip unpacks to more than 1073741824 bytes";
    const std::vector<std::tuple<std::string, std::uint32_t, const char*>> table{
        {honest, 10, damaged},      {honest, 4'000'000, damaged}, {honest, 0x40000000, damaged},
        {honest, 0x40000001, much}, {two, 0x20000000, damaged},   {two, 0x20000001, much},
        {two, 0xFFFFFFFE, much},
    };
    useFolder();
    for (const auto& [zip, claimed, told] : table) {
        offer("doc.zip", claiming(zip, claimed));
        offerInstaller(claiming(zip, claimed));
        std::ofstream("input/doc.xml") << "old";
        const std::size_t before = program.logCount(told);
        EXPECT_FALSE(fetchZipAsText("doc.zip", "input/doc.xml")) << claimed;
        EXPECT_EQ(program.logCount(told), before + 1) << claimed << program.logText();
        EXPECT_EQ(readFile("input/doc.xml"), told == damaged ? "old" : "") << claimed;
        EXPECT_FALSE(installNewVersion({11, 0, 0})) << claimed;
    }
    EXPECT_EQ(leftovers(), "");
}

TEST_F(Hostile, AZipHoldsNoMoreEntriesThanItMay) {
    useFolder();
    offer("doc.zip", entriesNamed(10'000, "other", "last"));
    EXPECT_TRUE(fetchZipAsText("doc.zip", "input/doc.xml"));
    EXPECT_EQ(readFile("input/doc.xml"), "last");
    const std::string much = entriesNamed(10'001, "other", "last");
    offer("doc.zip", much);
    EXPECT_FALSE(fetchZipAsText("doc.zip", "input/doc.xml"));
    EXPECT_TRUE(program.logHas("doc.zip has 10001 entries, which is too much\n"));
    offerInstaller(much);
    EXPECT_FALSE(installNewVersion({11, 0, 0}));
    offerAirports("1.4.0", much);
    EXPECT_TRUE(updateMySimaddon());
    EXPECT_EQ(par::MYSIMADDON24_VERSION.get(), "");
    EXPECT_EQ(program.logCount(" has 10001 entries, which is too much\n"), 3u);
}

TEST_F(Hostile, UnpackingHearsTheClose) {
    useFolder();
    offerAirports("1.4.0", entriesNamed(9'000, "other", "last"));
    putFile(path::mySimaddon / "EDDF.txt", "eddf");
    std::thread closer([] {
        EXPECT_TRUE(waitFor([] { return fs::exists("airports/my_simaddon.unpacking/1.txt"); }));
        userClosed = true;
    });
    EXPECT_TRUE(updateMySimaddon());
    closer.join();
    EXPECT_EQ(par::MYSIMADDON24_VERSION.get(), "");
    EXPECT_EQ(countFiles(path::mySimaddon), 1u);
    EXPECT_FALSE(fs::exists("airports/my_simaddon.unpacking"));
    EXPECT_FALSE(program.logHas("damaged")) << program.logText();
}

TEST_F(Hostile, NamesThatAreNone) {
    std::vector<std::pair<std::string, std::string>> entries{{"...", "a"}, {"..txt", "b"}, {"EDDF.xml", "d"}};
    for (const char* device : {"CON", "nul.xml", "Aux.tar.gz", "PRN .txt", "COM1", "x/lpt9.txt", "com\u00B2.xml",
                               "NUL. . .xml", "CONIN$", "conout$.xml", "Clock$", "a\\COM0.txt"})
        entries.emplace_back(device, "device");
    for (const char* name : {"CONE.xml", "COM10.txt", "COMA", "xNUL.txt", "LPT.txt"})
        entries.emplace_back(name, "file");
    entries.emplace_back("a\nForged line of the log/..", "e");
    serveAirports("1.4.0", zipOf(entries));
    EXPECT_TRUE(updateMySimaddon());
    EXPECT_EQ(countFiles(path::mySimaddon), 6u);
    EXPECT_EQ(program.logCount("names no file, skipped"), 15u) << program.logText();
    EXPECT_FALSE(program.logHas("\nForged"));
    EXPECT_TRUE(program.logHas("my_simaddon2024.zip unzipped 6 files\n"));
    EXPECT_EQ(par::MYSIMADDON24_VERSION.get(), "1.4.0");
}

TEST_F(Hostile, PipesInThePlacesOfItsFiles) {
    useFolder();
    offerAirports("1.4.0", zipOf({{"EDDF.xml", "eddf"}}));
    offerInstaller(zipOf({{"setup.exe", "installer"}}));
    offer("doc.zip", zipOf({{"doc.xml", "text"}}));
    const PipeGuard document("input/doc.xml"), part("input/doc.xml.part"), half("install_new_version.exe.part"),
        fresh("airports/my_simaddon.unpacking");
    EXPECT_TRUE(fetchZipAsText("doc.zip", "input/doc.xml"));
    EXPECT_EQ(readFile("input/doc.xml"), "text");
    EXPECT_TRUE(installNewVersion({11, 0, 0}));
    EXPECT_TRUE(updateMySimaddon());
    EXPECT_EQ(par::MYSIMADDON24_VERSION.get(), "1.4.0");
    fs::remove("served/doc.zip");
    const PipeGuard served("served/doc.zip");
    EXPECT_FALSE(fetchZipAsText("doc.zip", "input/doc.xml"));
    const PipeGuard version("version.json"), zip("my_simaddon2024.zip");
    EXPECT_FALSE(updateMySimaddon());
    EXPECT_TRUE(program.logHas("could not open output file: version.json\n"));
}

TEST_F(Hostile, ADocumentThatCannotBeWrittenLeavesTheOld) {
    server.put("doc.zip", {zipOf({{"a.xml", "new"}})});
    fs::create_directories("input/doc.xml/full");
    EXPECT_FALSE(fetchZipAsText("doc.zip", "input/doc.xml"));
    EXPECT_TRUE(fs::is_directory("input/doc.xml/full"));
    EXPECT_TRUE(program.logHas("could not open output file: input/doc.xml\n"));
    EXPECT_EQ(countFiles("input"), 1u) << "only the server's name";
}

TEST_F(Hostile, AServerThatNeverAnswersCostsTheLimit) {
    platform::Socket mute;
    const char* step = "";
    ASSERT_EQ(mute.listenTcp("0", step, true), 0) << step; // connections come about, nobody takes them
    downloadLimits.connectSeconds = 1;
    for (const char* scheme : {"http", "HTTPS"})
        EXPECT_FALSE(downloadToFile(curl, fmt::format("{}://127.0.0.1:{}/x", scheme, mute.localPort()), "x", true));
}

} // namespace
} // namespace kes::test
