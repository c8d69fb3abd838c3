// SPDX-License-Identifier: MIT
#include "support.h"
#include "thrown.h"

namespace kes {
namespace {

namespace fs = std::filesystem;

TEST(Folders, AFreshStartMakesTheTreeButNotTheInput) {
    const test::ProgramFolder folder;
    EXPECT_THROW(createFolders(), fs::filesystem_error);
    const std::string refused = test::thrownBy(createFolders);
    EXPECT_NE(refused.find("create_directory"), std::string::npos) << refused;
    EXPECT_NE(refused.find("[" + path::myRegcodes.string() + "]"), std::string::npos) << refused;
    EXPECT_TRUE(fs::is_directory("airports/my_thirdparty")) << "all in front of the failing one stand";
    EXPECT_FALSE(fs::exists("input"));
    fs::create_directory("input");
    createFolders();
    createFolders();
    for (const char* made : {"output/info", "output/errors", "airports/learned/stock", "airports/learned/simaddon",
                             "airports/learned/thirdparty", "airports/my_simaddon", "input/my_regcodes"})
        EXPECT_TRUE(fs::is_directory(made)) << made;
}

TEST(Folders, CountsFilesOnly) {
    const test::ProgramFolder folder;
    EXPECT_EQ(countFiles("nowhere"), 0u);
    fs::create_directories("some/below");
    std::ofstream("some/one") << 1;
    std::ofstream("some/two") << 2;
    std::ofstream("some/below/three") << 3;
    EXPECT_EQ(countFiles("some"), 2u);
    EXPECT_EQ(countFiles("some/one"), 0u);
}

TEST(Folders, OneThatCannotBeEmptiedIsAUserError) {
    const test::ProgramFolder program;
    std::filesystem::create_directories("full/below");
    std::ofstream("full/below/file") << "x";
    std::ofstream("full/file") << "x";
    emptyFolder("full");
    EXPECT_TRUE(std::filesystem::is_empty("full"));
    // Nobody, not even root, removes a file there.
    for (const char* folder : {"/proc/self/fdinfo", "nowhere"})
        EXPECT_EQ(test::thrownBy([&] { emptyFolder(folder); }).substr(0, 21), "5: filesystem error: ") << folder;
}

} // namespace
} // namespace kes
