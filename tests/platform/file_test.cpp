// SPDX-License-Identifier: MIT
// Reading what may be no file, replacing a file at once, two folders that change places; and the zip layer: what goes
// in comes out, and damage is told.
#include "files.h"
#include "full_disk.h"
#include "pipe_guard.h"
#include "platform/file.h"
#include "platform/system.h"

#include <cerrno>
#include <random>
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

TEST(Zip, TellsDamage) {
    const ProgramFolder folder;
    ZipArchive none("nowhere.zip");
    EXPECT_FALSE(none.open());
    EXPECT_TRUE(none.getEntries().empty());
    const std::string bytes = zipOf({{"a", std::string(4000, 'a')}});
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
