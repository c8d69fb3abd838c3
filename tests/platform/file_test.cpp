// SPDX-License-Identifier: MIT
// Reading what may be no file, replacing a file at once, and two folders that change places.
#include "files.h"
#include "full_disk.h"
#include "pipe_guard.h"
#include "platform/file.h"
#include "platform/system.h"

#include <cerrno>
#include <sys/socket.h>
#include <sys/un.h>

namespace kes::test {
namespace {

namespace fs = std::filesystem;
using platform::notRegular;
using platform::replaceFile;

std::size_t entriesOf(const fs::path& folder) {
    return static_cast<std::size_t>(std::distance(fs::directory_iterator(folder), fs::directory_iterator()));
}

TEST(InputFile, ReadsFilesAndNothingElse) {
    const ProgramFolder program;
    fs::create_directories("in/folder");
    putFile("in/file", "0123456789");
    putFile("in/empty", "");
    fs::create_symlink("file", "in/link");
    fs::create_symlink("pipe", "in/link-to-pipe");
    fs::create_symlink("/dev/zero", "in/device");
    const PipeGuard pipe("in/pipe");
    const int socket = ::socket(AF_UNIX, SOCK_STREAM, 0);
    sockaddr_un address{AF_UNIX, "in/socket"};
    ASSERT_EQ(::bind(socket, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
    struct Case {
        const char* name;
        std::uint64_t most;
        int error;
        const char* content;
    };
    platform::Folder folder;
    platform::FileBytes bytes;
    ASSERT_EQ(folder.open("in"), 0);
    for (const Case& c : std::vector<Case>{{"file", platform::noLimit, 0, "0123456789"},
                                           {"file", 10, 0, "0123456789"},
                                           {"file", 9, EFBIG, ""},
                                           {"link", 10, 0, "0123456789"},
                                           {"empty", 0, 0, ""},
                                           {"folder", platform::noLimit, EISDIR, ""},
                                           {"nothing", platform::noLimit, ENOENT, ""},
                                           {"pipe", platform::noLimit, notRegular, ""},
                                           {"link-to-pipe", platform::noLimit, notRegular, ""},
                                           {"device", platform::noLimit, notRegular, ""},
                                           {"socket", platform::noLimit, notRegular, ""}}) {
        std::string content = "of the last file";
        EXPECT_EQ(platform::readFile(std::string("in/") + c.name, content, c.most), c.error) << c.name;
        EXPECT_EQ(content, c.content) << c.name;
        EXPECT_EQ(folder.read(c.name, false, bytes, c.most), c.error) << c.name;
        EXPECT_EQ(bytes.view(), c.content) << c.name;
        // An entry that was a regular file when the folder was listed, and changed since.
        const int changed = folder.read(c.name, true, bytes, std::min<std::uint64_t>(c.most, 100000));
        EXPECT_TRUE(changed == c.error || bytes.view().empty()) << c.name << changed;
    }
    for (const std::size_t size : {65535u, 65536u, 65537u, 131072u, 300000u}) { // around the room for bytes
        std::string written(size, 'x');
        written.back() = 'y';
        putFile("in/sized", written);
        EXPECT_EQ(folder.read("sized", true, bytes, size), 0);
        EXPECT_TRUE(bytes.view() == written) << size;
        EXPECT_EQ(folder.read("sized", true, bytes, size - 1), EFBIG);
    }
    std::string content;
    EXPECT_EQ(platform::readFile("/proc/self/status", content), 0) << "a file that does not know its size";
    EXPECT_NE(content.find("Threads:"), std::string::npos);
    EXPECT_EQ(platform::readFile("/proc/self/status", content, 10), EFBIG);
    EXPECT_EQ(platform::errorText(notRegular), "not a regular file");
    ::close(socket);
}

TEST(ReplaceFile, LeavesTheOldFileWholeAndNoTemporaryWhenItFails) {
    const test::ProgramFolder folder;
    std::string error;
    fs::create_directory("data");
    const fs::path target = "data/file.xml";
    ASSERT_TRUE(replaceFile(target, "old content", error)) << error;

    {
        const FullDisk full(1000);
        EXPECT_FALSE(replaceFile(target, std::string(5000, 'n'), error));
    }
    EXPECT_NE(error.find("write"), std::string::npos) << error;
    EXPECT_EQ(test::readFile(target), "old content");
    EXPECT_EQ(entriesOf("data"), 1u);

    fs::create_directories("data/folder/inside");
    error.clear();
    EXPECT_FALSE(replaceFile("data/folder", "x", error)) << "the target is a folder that is not empty";
    EXPECT_FALSE(error.empty());
    error.clear();
    EXPECT_FALSE(replaceFile("nowhere/file.xml", "x", error));
    EXPECT_FALSE(error.empty());
    EXPECT_EQ(entriesOf("data"), 2u);

    EXPECT_TRUE(replaceFile(target, "", error));
    EXPECT_EQ(fs::file_size(target), 0u);
    putFile("data/file.xml.tmp0", "half a docum"); // what a crash left behind is used up
    EXPECT_TRUE(replaceFile(target, "whole", error));
    EXPECT_EQ(test::readFile(target), "whole");
    EXPECT_EQ(entriesOf("data"), 2u);
}

TEST(ReplaceFile, ReadersSeeOneOfTheContentsAndNeverAPart) {
    const test::ProgramFolder folder;
    const fs::path target = folder.folder / "shared.txt";
    std::string error;
    ASSERT_TRUE(replaceFile(target, std::string(20000, 'a'), error));
    std::atomic<bool> done{false};
    std::vector<std::thread> writers;
    for (const char letter : {'a', 'b', 'c'})
        writers.emplace_back([&, letter] {
            std::string reason;
            for (int i = 0; i < 60; ++i)
                EXPECT_TRUE(replaceFile(target, std::string(20000, letter), reason)) << reason;
        });
    std::thread reader([&] {
        while (!done) {
            const std::string text = test::readFile(target);
            EXPECT_EQ(text.size(), 20000u);
            EXPECT_EQ(text.find_first_not_of(text[0]), std::string::npos);
        }
    });
    for (std::thread& writer : writers)
        writer.join();
    done = true;
    reader.join();
    EXPECT_EQ(entriesOf(folder.folder), 3u) << "Log.txt, appdata and the file";
}

TEST(ReplaceFile, WaitsForNoPipe) {
    const ProgramFolder program;
    const PipeGuard target("file"), temporary("file.tmp0");
    std::string error;
    EXPECT_FALSE(platform::replaceFile("file", "new", error));
    EXPECT_TRUE(error.starts_with("open: ")) << error;
    EXPECT_TRUE(platform::replaceFile("file", "new", error)) << "the pipe has gone";
    EXPECT_EQ(readFile("file"), "new");
}

TEST(Folders, ChangePlaces) {
    for (const auto exchange : {platform::exchangeFolders, platform::exchangeInSteps}) {
        const ProgramFolder program;
        std::string error;
        putFile("fresh/new", "n");
        EXPECT_TRUE(exchange("fresh", "target", error)) << "where there is none";
        EXPECT_EQ(readFile("target/new"), "n");
        EXPECT_FALSE(fs::exists("fresh"));
        putFile("fresh/newer", "nn");
        putFile("target.before-exchange/of a crash", "");
        EXPECT_TRUE(exchange("fresh", "target", error));
        EXPECT_EQ(readFile("target/newer"), "nn");
        EXPECT_EQ(readFile("fresh/new"), "n");
        EXPECT_FALSE(fs::exists("target/new"));
        fs::remove_all("target.before-exchange");
        EXPECT_FALSE(exchange("nowhere", "target", error));
        EXPECT_EQ(readFile("target/newer"), "nn") << "what was there comes back";
        EXPECT_FALSE(error.empty());
        EXPECT_FALSE(fs::exists("target.before-exchange"));
    }
}

TEST(Folders, ComeBackAfterACrash) {
    const ProgramFolder program;
    const auto after = [](bool aside, const char* target) { // of a target: null = none
        for (const char* folder : {"target", "target.before-exchange"})
            fs::remove_all(folder);
        if (aside)
            putFile("target.before-exchange/file", "old");
        if (target)
            fs::create_directory("target");
        if (target && *target)
            putFile("target/file", target);
        platform::restoreFolder("target");
        EXPECT_FALSE(fs::exists("target.before-exchange"));
        return fs::exists("target") ? "folder " + readFile("target/file") : "none";
    };
    EXPECT_EQ(after(true, nullptr), "folder old");
    EXPECT_EQ(after(true, ""), "folder old");
    EXPECT_EQ(after(true, "new"), "folder new");
    EXPECT_EQ(after(false, "new"), "folder new");
    EXPECT_EQ(after(false, ""), "folder ");
    EXPECT_EQ(after(false, nullptr), "none");
    putFile("link.before-exchange/file", "old");
    fs::create_directory_symlink("gone", "link");
    platform::restoreFolder("link");
    EXPECT_TRUE(fs::is_symlink("link")) << "somebody's own";
    EXPECT_TRUE(platform::isLink("link"));
    EXPECT_FALSE(platform::isLink(".") || platform::isLink("nothing"));
}

} // namespace
} // namespace kes::test
