// What is made of downloads: versions, the installer, zipped documents, the package of airport files.
#include "core/errors.h"
#include "update_folder.h"

namespace kes::test {
namespace {

namespace fs = std::filesystem;
using Packages = UpdateFolder;

TEST(ServerVersion, isTextOrJson) {
    const std::vector<std::pair<std::string_view, Version>> table{{"1.2.3", {1, 2, 3}},
                                                                  {"1-2-3", {1, 2, 3}},
                                                                  {"10.10.9", {10, 10, 9}},
                                                                  {"123", {}}, // a JSON number, and no object
                                                                  {"12345", {1, 3, 5}},
                                                                  {"1.2", {}},
                                                                  {"1.2.3 ", {}},
                                                                  {"v1.2.3", {}},
                                                                  {"", {}},
                                                                  {R"({"major":1,"minor":2,"patch":3})", {1, 2, 3}},
                                                                  {R"({"major":1})", {1, 0, 0}},
                                                                  {R"({"major":"1","minor":2.5})", {}},
                                                                  {R"(["1.2.3"])", {}},
                                                                  {"{", {}}};
    for (const auto& [text, wanted] : table)
        EXPECT_EQ(parseVersion(text), wanted) << text;
    EXPECT_THROW((void)parseVersion("1.2.99999999999"), std::out_of_range);
    EXPECT_THROW((void)parseVersion(R"({"major":99999999999})"), std::out_of_range);
    EXPECT_EQ(parseVersion(std::string(100000, '1')), Version{});
}

TEST_F(Packages, fetchesTheFirstLineOfAVersionFile) {
    const auto fetched = [&](const std::string& body) {
        server.put("v", {body});
        return toText(fetchVersion(curl, server.base() + "v"));
    };
    EXPECT_EQ(fetched("1.2.3\r\n9.9.9\n"), "1.2.3");
    EXPECT_EQ(fetched("{\"major\":4}"), "4.0.0");
    EXPECT_EQ(fetched("{\n\"major\":4}"), "0.0.0") << "only the first line counts";
    EXPECT_EQ(fetched(""), "0.0.0");
    EXPECT_EQ(fetched("1.2.99999999999"), "0.0.0");
    EXPECT_EQ(toText(fetchVersion(curl, server.base() + "none")), "0.0.0");
    EXPECT_TRUE(program.logHas(fmt::format("downloading \"{}none\" failed\n", server.base())));
    EXPECT_EQ(leftovers(), "");
}

TEST_F(Packages, installsOnlyANewerProgram) {
    checkProgramVersion();
    EXPECT_TRUE(program.logHas("Program Version file not found?"));
    for (const char* version : {"10.10.9", "10.9.20", "1.0.0"}) {
        server.put("release/version.json", {version});
        EXPECT_NO_THROW(checkProgramVersion()) << version;
    }
    EXPECT_FALSE(program.logHas("installer"));
    server.put("release/version.json", {"10.10.10"});
    checkProgramVersion();
    EXPECT_TRUE(program.logHas("Downloading program installer file version 10.10.10 failed\n"));
    EXPECT_TRUE(
        program.logHas("The downloading/unzipping of the new version failed? Try manually via ombrevale website\n"));
    server.put("release/setup_Kestrelune_d_v10.10.10.zip", {"no zip"});
    checkProgramVersion();
    EXPECT_TRUE(program.logHas("could not open setup_Kestrelune_d_v10.10.10.zip\n"));
    server.put("release/setup_Kestrelune_d_v10.10.10.zip",
               {zipOf({{"../../evil.exe", "first"}, {"setup.exe", "installer"}})});
    par::PROGRAM_INSTALL_PATH.set("/prog");
    try {
        checkProgramVersion();
        FAIL() << "nobody was told";
    } catch (const nwk::UserErrorException& e) {
        EXPECT_STREQ(e.what(), "New version 10.10.10 available, exit Kestrelune. Run as administrator: "
                               "\"/prog/install_new_version.exe\"");
        EXPECT_EQ(e.number, 99u);
    }
    EXPECT_EQ(readFile("install_new_version.exe"), "installer") << "the last entry stays";
    EXPECT_TRUE(program.logHas("setup.exe unzipped to install_new_version.exe\n"));
    EXPECT_EQ(leftovers(), "install_new_version.exe ");
}

TEST_F(Packages, damagedInstallersAreNotLeftToBeRun) {
    std::string zip = zipOf({{"setup.exe", std::string(5000, 'x')}});
    zip[40] = static_cast<char>(zip[40] ^ 0x55); // inside the packed bytes
    server.put("release/setup_Kestrelune_d_v11.0.0.zip", {zip});
    EXPECT_FALSE(installNewVersion({11, 0, 0}));
    EXPECT_TRUE(program.logHas("unzipping error code : "));
    EXPECT_EQ(leftovers(), "");
}

TEST_F(Packages, unzipsDocuments) {
    EXPECT_FALSE(fetchZipAsText("doc.zip", "input/doc.xml"));
    EXPECT_TRUE(program.logHas("downloading doc.zip failed?\n"));
    EXPECT_FALSE(fs::exists("input/doc.xml"));
    server.put("doc.zip", {zipOf({{"folder/", ""}, {"a.xml", "first"}, {"folder/b.xml", "second"}})});
    EXPECT_TRUE(fetchZipAsText("doc.zip", "input/doc.xml"));
    EXPECT_EQ(readFile("input/doc.xml"), "second");
    server.put("doc.zip", {"no zip at all"});
    EXPECT_FALSE(fetchZipAsText("doc.zip", "input/doc.xml"));
    EXPECT_TRUE(program.logHas("unzipping doc.zip failed?\n"));
    EXPECT_FALSE(fs::exists("input/doc.xml"));
    const std::string good = zipOf({{"a.xml", std::string(3000, 'y')}});
    for (const std::size_t size : {std::size_t{1}, good.size() / 2, good.size() - 1}) {
        server.put("doc.zip", {good.substr(0, size)});
        EXPECT_FALSE(fetchZipAsText("doc.zip", "input/doc.xml")) << size;
    }
    std::string damaged = good;
    damaged[38] = static_cast<char>(damaged[38] ^ 0x55);
    server.put("doc.zip", {damaged});
    EXPECT_FALSE(fetchZipAsText("doc.zip", "input/doc.xml"));
    EXPECT_EQ(leftovers(), "");
}

TEST_F(Packages, updatesTheAirportFiles) {
    EXPECT_TRUE(simaddonFolderMissing());
    EXPECT_FALSE(updateMySimaddon());
    EXPECT_TRUE(program.logHas("No mysimaddon version info found at the KLUN server?"));
    server.put("mysimaddon24/version.json", {"{\"major\":1,\"minor\":4}"});
    EXPECT_TRUE(updateMySimaddon());
    EXPECT_TRUE(simaddonFolderMissing()) << "nothing is touched before the package is there";
    const std::string package = zipOf({{"dir/", ""},
                                       {"EDDF.xml", "eddf"},
                                       {"deep/er/LIRF.dat", "lirf"},
                                       {"../../../escaped.txt", "a"},
                                       {"..\\..\\windows.ini", "b"},
                                       {"C:\\drive.txt", "c"},
                                       {"/absolute.txt", "d"},
                                       {"x/..", "no file"}});
    server.put("mysimaddon24/my_simaddon2024.zip", {package});
    EXPECT_TRUE(updateMySimaddon());
    std::string files;
    for (const char* name : {"EDDF", "LIRF", "escaped", "windows", "drive", "absolute"})
        files += readFile(path::mySimaddon / fmt::format("{}.txt", name)) + " ";
    EXPECT_EQ(files, "eddf lirf a b c d ");
    EXPECT_EQ(countFiles(path::mySimaddon), 6u);
    EXPECT_FALSE(fs::exists("../escaped.txt"));
    EXPECT_EQ(par::MYSIMADDON24_VERSION.get(), "1.4.0");
    EXPECT_TRUE(program.logHas("my_simaddon2024.zip unzipped 6 files\n"));
    EXPECT_EQ(statusText(), "mysimaddon has been updated to version 1.4.0");
    const std::size_t asked = server.asked().size();
    EXPECT_TRUE(updateMySimaddon());
    EXPECT_EQ(server.asked().size(), asked + 1) << "the same version is not fetched again";
    fs::remove_all(path::mySimaddon);
    EXPECT_TRUE(updateMySimaddon());
    EXPECT_EQ(countFiles(path::mySimaddon), 6u) << "unless the folder has gone";
    server.put("mysimaddon24/version.json", {"1.5.0"});
    server.put("mysimaddon24/my_simaddon2024.zip", {"no zip"});
    EXPECT_TRUE(updateMySimaddon());
    EXPECT_TRUE(program.logHas("could not open my_simaddon2024.zip\n"));
    EXPECT_EQ(par::MYSIMADDON24_VERSION.get(), "1.4.0") << "so the next start tries again";
    EXPECT_EQ(leftovers(), "");
}

} // namespace
} // namespace kes::test
