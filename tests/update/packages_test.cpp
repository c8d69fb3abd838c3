// SPDX-License-Identifier: MIT
// What is made of downloads: versions, the installer, zipped documents, the package of airport files.
#include "core/errors.h"
#include "core/text.h"
#include "update/sha256.h"
#include "update_folder.h"

namespace kes::test {
namespace {

namespace fs = std::filesystem;
using Packages = UpdateFolder;

TEST(ServerVersion, IsTextOrJson) {
    const std::string most = R"({"major":2147483647,"minor":-2147483648})";
    const std::vector<std::pair<std::string_view, Version>> table{{"1.2.3", {1, 2, 3}},
                                                                  {most, {2147483647, -2147483647 - 1, 0}},
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
    for (const char* text : {"1.2.99999999999", R"({"major":99999999999})", R"({"major":2147483648})",
                             R"({"major":18446744073709551615})", R"({"patch":-2147483649})"})
        EXPECT_THROW((void)parseVersion(text), std::out_of_range) << text;
    EXPECT_EQ(parseVersion(std::string(100000, '1')), Version{});
}

TEST_F(Packages, InstallsOnlyANewerProgram) {
    checkProgramVersion();
    EXPECT_TRUE(program.logHas(fmt::format("downloading \"{}release/version.json\" failed\n", server.base())));
    EXPECT_TRUE(program.logHas("Program Version file not found?"));
    for (const char* version : {"10.10.9", "10.9.20", "1.0.0"}) {
        server.put("release/version.json", {version});
        EXPECT_NO_THROW(checkProgramVersion()) << version;
    }
    EXPECT_FALSE(program.logHas("installer"));
    useFolder();
    offer("release/version.json", "10.10.10");
    checkProgramVersion();
    EXPECT_TRUE(program.logHas("Downloading program installer file version 10.10.10 failed\n"));
    EXPECT_TRUE(
        program.logHas("The downloading/unzipping of the new version failed? Try manually via ombrevale website\n"));
    const char* const file = "release/setup_Kestrelune_d_v10.10.10.zip";
    offer(file, "no zip");
    checkProgramVersion();
    EXPECT_TRUE(program.logHas("could not open setup_Kestrelune_d_v10.10.10.zip\n"));
    const std::string zip = zipOf({{"../../evil.exe", "first"}, {"setup.exe", "installer"}});
    offer(file, zip);
    for (const std::string& hash : {std::string("12"), "\"" + sha256Of("other") + "\""}) {
        offer("release/version.json", fmt::format(R"({{"major":10,"minor":10,"patch":10,"sha256":{}}})", hash));
        checkProgramVersion();
        EXPECT_FALSE(fs::exists("install_new_version.exe")) << hash;
    }
    EXPECT_EQ(program.logCount("is not what the server promised"), 2u);
    offer("release/version.json",
          fmt::format(R"({{"major":10,"minor":10,"patch":10,"sha256":"{}"}})", upper(sha256Of(zip))));
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

TEST(Sha256, IsTheStandards) {
    EXPECT_EQ(sha256Of("abc"), "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");
    const ProgramFolder folder;
    const std::string many(1'200'000, 'k');
    std::ofstream("file", std::ios::binary) << many;
    EXPECT_EQ(sha256OfFile("file"), sha256Of(many)) << "in pieces";
    EXPECT_EQ(sha256OfFile("nowhere"), "");
}

TEST_F(Packages, UnzipsDocuments) {
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

TEST_F(Packages, UpdatesTheAirportFiles) {
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
    EXPECT_EQ(leftovers(), "");
}

TEST_F(Packages, ReplacesTheAirportFilesAsAWholeOrNotAtAll) {
    const auto offered = [&](const std::string& version, const std::string& zip) {
        serveAirports(version, zip);
        EXPECT_TRUE(updateMySimaddon());
        std::string all = par::MYSIMADDON24_VERSION.get();
        for (const char* name : {"EDDF", "LIRF", "my own"})
            all += " " + readFile(path::mySimaddon / fmt::format("{}.txt", name));
        return all;
    };
    EXPECT_EQ(offered("1.0.0", zipOf({{"EDDF.xml", "eddf"}, {"LIRF.xml", "lirf"}})), "1.0.0 eddf lirf ");
    std::ofstream(path::mySimaddon / "my own.txt") << "mine";
    const std::string fresh = zipOf({{"EDDF.xml", "new"}, {"LIRF.xml", std::string(3000, 'n')}});
    std::string damaged = fresh;
    const std::size_t second = damaged.find("PK\x03\x04", 4);
    damaged[second + 40] = static_cast<char>(damaged[second + 40] ^ 0x55); // inside the packed bytes
    const std::string json = R"({"major":2,"sha256":")";
    const std::vector<std::pair<std::string, std::string>> bad{
        {"1.5.0", "no zip"},
        {"1.5.0", damaged},
        {"1.5.0", zipOf({{"EDDF.xml", "new"}, {std::string(300, 'n') + ".xml", "no file system takes it"}})},
        {json + sha256Of("other") + "\"}", fresh},
    };
    for (const auto& [version, zip] : bad)
        EXPECT_EQ(offered(version, zip), "1.0.0 eddf lirf mine") << version;
    EXPECT_TRUE(program.logHas("could not open my_simaddon2024.zip\n"));
    EXPECT_TRUE(program.logHas("LIRF.xml in my_simaddon2024.zip is damaged\n"));
    EXPECT_TRUE(program.logHas("could not open output file: "));
    EXPECT_EQ(program.logCount("1 of 2 could not be unzipped, the airport files stay as they were"), 2u);
    EXPECT_EQ(offered(json + sha256Of(fresh) + "\"}", fresh), "2.0.0 new " + std::string(3000, 'n') + " ");
    EXPECT_EQ(countFiles(path::airports), 0u);
    EXPECT_EQ(std::distance(fs::directory_iterator(path::airports), fs::directory_iterator()), 1) << "nothing beside";
}

TEST_F(Packages, NeverEmptiesALinkedFolderAndMendsAfterACrash) {
    serveAirports("1.5.0", zipOf({{"EDDF.xml", "eddf"}}));
    putFile("precious/photo", "mine");
    fs::create_directory_symlink(fs::absolute("precious"), path::mySimaddon);
    EXPECT_TRUE(updateMySimaddon());
    EXPECT_EQ(statusText(), "airports/my_simaddon is a link, so mysimaddon 1.5.0 is not installed");
    EXPECT_EQ(server.asked().size(), 1u) << "not even fetched";
    EXPECT_EQ(readFile("precious/photo"), "mine");
    fs::remove(path::mySimaddon);
    // A link where the new files are unpacked goes, and not what it leads to.
    fs::create_directory_symlink(fs::absolute("precious"), "airports/my_simaddon.unpacking");
    // The last exchange was cut between its two moves, and the start has made the folder anew.
    putFile("airports/my_simaddon.before-exchange/EDDM.txt", "eddm");
    fs::create_directories(path::mySimaddon);
    userClosed = true; // so that nothing is fetched
    EXPECT_FALSE(updateMySimaddon());
    EXPECT_EQ(readFile(path::mySimaddon / "EDDM.txt"), "eddm");
    userClosed = false;
    EXPECT_TRUE(updateMySimaddon());
    EXPECT_EQ(readFile(path::mySimaddon / "EDDF.txt"), "eddf");
    EXPECT_EQ(countFiles(path::mySimaddon), 1u);
    EXPECT_EQ(readFile("precious/photo"), "mine");
}

} // namespace
} // namespace kes::test
