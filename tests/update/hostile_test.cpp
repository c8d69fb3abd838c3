// Packages that lie: sizes that are not true, names that are no names, a good entry before a bad one.
#include "update_folder.h"

#include <cstdint>
#include <fmt/format.h>

namespace kes::test {
namespace {

namespace fs = std::filesystem;
using Hostile = UpdateFolder;

/// Makes a zip of one entry tell another unpacked size, in both of its heads.
std::string claiming(std::string zip, std::uint32_t size) {
    for (const std::size_t at : {std::size_t{22}, zip.find("PK\x01\x02") + 24})
        for (std::size_t i = 0; i < 4; ++i)
            zip[at + i] = static_cast<char>(size >> (8 * i) & 0xFF);
    return zip;
}

TEST_F(Hostile, aBadEntryTakesNoGoodOnesPlace) {
    std::string zip = zipOf({{"setup.exe", "installer"}, {"worse.exe", std::string(5000, 'x')}});
    const std::size_t second = zip.find("PK\x03\x04", 4);
    ASSERT_NE(second, std::string::npos);
    zip[second + 40] = static_cast<char>(zip[second + 40] ^ 0x55); // inside the packed bytes
    server.put("release/setup_Kestrelune_d_v11.0.0.zip", {zip});
    std::ofstream("install_new_version.exe") << "of the last update";
    EXPECT_TRUE(installNewVersion({11, 0, 0}));
    EXPECT_EQ(readFile("install_new_version.exe"), "installer");
    EXPECT_TRUE(program.logHas("unzipping error code : "));
    EXPECT_EQ(leftovers(), "install_new_version.exe ");
}

TEST_F(Hostile, sizesMustBeTrueAndSane) {
    const std::string honest = zipOf({{"a", std::string(3'000'000, 'y')}});
    struct Case {
        std::uint32_t claimed;
        const char* document; ///< what the log says of it
        const char* installer;
    };
    const std::vector<Case> table{{10, "a in doc.zip is damaged", "unzipping error code : "},
                                  {4'000'000, "a in doc.zip is damaged", "unzipping error code : "},
                                  {0x40000001, "a in doc.zip has 1073741825 bytes, which is too much",
                                   "a in setup_Kestrelune_d_v11.0.0.zip has 1073741825 bytes, which is too much"}};
    for (const auto& [claimed, document, installer] : table) {
        server.put("doc.zip", {claiming(honest, claimed)});
        server.put("release/setup_Kestrelune_d_v11.0.0.zip", {claiming(honest, claimed)});
        std::ofstream("input/doc.xml") << "old";
        EXPECT_FALSE(fetchZipAsText("doc.zip", "input/doc.xml")) << claimed;
        EXPECT_EQ(readFile("input/doc.xml"), "old") << claimed;
        EXPECT_TRUE(program.logHas(document)) << claimed;
        EXPECT_FALSE(installNewVersion({11, 0, 0})) << claimed;
        EXPECT_TRUE(program.logHas(installer)) << claimed;
    }
    EXPECT_EQ(leftovers(), "");
}

TEST_F(Hostile, namesThatAreNoneAndFilesThatCannotBe) {
    server.put("mysimaddon24/version.json", {"1.4.0"});
    server.put("mysimaddon24/my_simaddon2024.zip",
               {zipOf({{"...", "a"}, {"..txt", "b"}, {std::string(300, 'n') + ".xml", "c"}, {"EDDF.xml", "d"}})});
    EXPECT_TRUE(updateMySimaddon());
    EXPECT_EQ(countFiles(path::mySimaddon), 1u);
    EXPECT_EQ(program.logCount("names no file, skipped"), 2u);
    EXPECT_TRUE(program.logHas("could not open output file: "));
    EXPECT_TRUE(program.logHas("my_simaddon2024.zip unzipped 1 files\n"));
}

TEST_F(Hostile, aDocumentThatCannotBeWrittenLeavesTheOld) {
    server.put("doc.zip", {zipOf({{"a.xml", "new"}})});
    fs::create_directories("input/doc.xml/full");
    EXPECT_FALSE(fetchZipAsText("doc.zip", "input/doc.xml"));
    EXPECT_TRUE(fs::is_directory("input/doc.xml/full"));
    EXPECT_TRUE(program.logHas("could not open output file: input/doc.xml\n"));
    EXPECT_EQ(countFiles("input"), 1u) << "only the server's name";
}

TEST_F(Hostile, aServerThatNeverAnswersCostsTheLimit) {
    const int mute = ::socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    ASSERT_EQ(::bind(mute, reinterpret_cast<sockaddr*>(&address), size), 0);
    ASSERT_EQ(::listen(mute, 4), 0); // connections come about, nobody takes them
    ASSERT_EQ(::getsockname(mute, reinterpret_cast<sockaddr*>(&address), &size), 0);
    downloadLimits = {1, 1, 100};
    for (const char* scheme : {"http", "HTTPS"})
        EXPECT_FALSE(
            downloadToFile(curl, fmt::format("{}://127.0.0.1:{}/x", scheme, ntohs(address.sin_port)), "x", true));
    ::close(mute);
}

TEST_F(Hostile, numbersAndSchemesAtTheEdge) {
    EXPECT_EQ(parseVersion(R"({"major":2147483647,"minor":-2147483648})"), (Version{2147483647, -2147483647 - 1, 0}));
    for (const char* text :
         {R"({"major":2147483648})", R"({"major":18446744073709551615})", R"({"patch":-2147483649})"})
        EXPECT_THROW((void)parseVersion(text), std::out_of_range) << text;
    useBase("HTTPS://example.org/x");
    EXPECT_EQ(downloadBase(), "HTTPS://example.org/x/");
}

} // namespace
} // namespace kes::test
