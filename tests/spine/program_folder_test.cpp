// SPDX-License-Identifier: MIT
#include "spine/program_folder.h"
#include "support.h"
#include "thrown.h"

#include <cstdlib>

namespace kes::test {
namespace {

namespace fs = std::filesystem;

/// An installation and a user; the current directory is the user's home.
struct ProgramFolderTest : testing::Test {
    ProgramFolder place;
    fs::path content = place.folder / "share/kestrelune", home = place.folder / "home";
    fs::path own = home / "data/Kestrelune";

    ProgramFolderTest() {
        put("docs/manual.md", "manual");
        put("input/update_server.txt", "updates\n");
        put("input/airports_msfs.xml", "airports");
        put("updates/dbase.zip", "data");
        fs::create_directories(home / "docs"); // of the user
        fs::current_path(home);
        setenv("XDG_DATA_HOME", (home / "data").c_str(), 1);
    }
    ~ProgramFolderTest() override {
        fs::current_path(place.folder);
        unsetenv("XDG_DATA_HOME");
    }
    void put(const fs::path& name, const char* text) const {
        fs::create_directories((content / name).parent_path());
        std::ofstream(content / name) << text;
    }
    static std::string read(const fs::path& file) { return readFile(file); }
};

TEST_F(ProgramFolderTest, StaysWhereAnUnpackedProgramIsStarted) {
    enterProgramFolder({}, {});
    EXPECT_EQ(fs::current_path(), home);
    fs::current_path(content);
    enterProgramFolder({}, place.folder / "share/kestrelune");
    EXPECT_EQ(fs::current_path(), content) << "a program folder is one, installed or not";
}

TEST_F(ProgramFolderTest, AnInstalledProgramMakesTheUsersOwnAndKeepsHisSettings) {
    enterProgramFolder({}, content);
    EXPECT_EQ(fs::current_path(), own);
    EXPECT_EQ(read("docs/manual.md") + read("input/airports_msfs.xml") + read("updates/dbase.zip"),
              "manualairportsdata");

    // A second start copies nothing, an update all but what is the user's.
    std::ofstream("updates/dbase.zip") << "newer, from the server";
    std::ofstream("input/update_server.txt") << "https://example.invalid/\n";
    fs::create_directories("input/my_regcodes");
    std::ofstream("input/my_regcodes/mine.txt") << "mine";
    fs::current_path(home);
    enterProgramFolder({}, content);
    EXPECT_EQ(read("updates/dbase.zip"), "newer, from the server");
    put("updates/dbase.zip", "next");
    put("docs/new.md", "new");
    fs::current_path(home);
    enterProgramFolder({}, content);
    EXPECT_EQ(read("updates/dbase.zip") + read("docs/new.md"), "nextnew");
    EXPECT_EQ(read("input/update_server.txt") + read("input/my_regcodes/mine.txt"), "https://example.invalid/\nmine");

    // A copy that was broken off has left no mark, or has lost a part since.
    for (const char* gone : {"installed_content.txt", "docs"}) {
        fs::remove_all(gone);
        fs::remove("docs/manual.md");
        fs::current_path(home);
        enterProgramFolder({}, content);
        EXPECT_EQ(read("docs/manual.md"), "manual") << gone;
    }
}

TEST_F(ProgramFolderTest, ANamedFolderIsMadeOrRefusedWithAReason) {
    enterProgramFolder("a/b", content);
    EXPECT_EQ(fs::current_path(), home / "a/b");
    EXPECT_EQ(read("docs/manual.md"), "manual");
    fs::current_path(home);
    std::ofstream("file") << "no folder";
    for (const auto& from : {content, fs::path()}) {
        const std::string error = thrownBy([&] { enterProgramFolder("file", from); });
        EXPECT_TRUE(error.starts_with("the folder file cannot be used (")) << error;
        EXPECT_EQ(fs::current_path(), home);
    }
}

} // namespace
} // namespace kes::test
