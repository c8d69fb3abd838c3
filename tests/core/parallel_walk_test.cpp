// SPDX-License-Identifier: MIT
// The walk alone, over real folders: order, threads, what fails, links, and a stop in the middle.
#include "core/parallel_walk.h"
#include "support.h"

#include <atomic>
#include <fmt/format.h>
#include <stdexcept>
#include <sys/resource.h>

namespace kes::test {
namespace {

namespace fs = std::filesystem;

struct ParallelWalk : testing::Test {
    ProgramFolder program;
    std::atomic<bool> stop = false;
    std::vector<std::string> told; ///< paths and problems as they were handed over
    WalkClient<std::string> client;

    void SetUp() override {
        client.select = [](const WalkEntry& entry) {
            EXPECT_EQ(entry.pathSize, (fs::path(entry.folder) / entry.name).string().size());
            if (entry.name.starts_with("not"))
                return WalkStep::pass;
            return entry.isFolder ? WalkStep::enter : WalkStep::pick;
        };
        client.work = [](const PickedEntry& entry, std::string& result) {
            EXPECT_EQ(fs::path(entry.path).filename(), entry.name);
            platform::FileBytes bytes;
            const int error = entry.folder ? entry.folder->read(entry.name, entry.isRegular, bytes)
                                           : platform::readFile(entry.path, bytes);
            EXPECT_EQ(error, 0) << entry.path;
            EXPECT_EQ(bytes.view(), fs::path(entry.path).stem().string());
            result = entry.path;
        };
        client.take = [this](std::string& result) { told.push_back(result); };
        client.tell = [this](const WalkProblem& problem) {
            static constexpr const char* kinds[] = {"unreadable", "failed", "fewer threads", "untold"};
            told.push_back(fmt::format("{} {} {}", kinds[problem.kind], problem.path,
                                       problem.cause.empty() ? platform::errorText(problem.error) : problem.cause));
        };
        client.stopWanted = [this] { return stop.load(); };
    }

    static void put(const fs::path& file) {
        fs::create_directories(file.parent_path());
        std::ofstream(file) << file.stem().string();
    }
    std::vector<std::string> walk(const std::vector<std::string>& roots, unsigned threads = 0) {
        told.clear();
        client.threads = threads;
        const std::size_t picked = walkFolders(roots, client).picked;
        std::size_t taken = 0;
        for (const std::string& line : told)
            taken += line.find(' ') == std::string::npos;
        EXPECT_EQ(picked, taken);
        return told;
    }
    /// The order by the plainest walk.
    static void plainWalk(const std::string& folder, std::vector<std::string>& found) {
        std::vector<std::string> names;
        for (const fs::directory_entry& entry : fs::directory_iterator(folder))
            names.push_back(entry.path().filename().string());
        std::sort(names.begin(), names.end(), nameComesFirst);
        for (const std::string& name : names) {
            const std::string path = folder + "/" + name;
            if (name.starts_with("not"))
                continue;
            if (fs::is_directory(path))
                plainWalk(path, found);
            else
                found.push_back(path);
        }
    }
};

TEST_F(ParallelWalk, HandsOverInTheOrderOfTheWalkWhateverThreadIsFaster) {
    for (int i = 0; i < 60; ++i) {
        for (int j = 0; j < i % 7; ++j)
            put(fmt::format("one/{}older{}/{}/a.bgl", i % 2 ? "F" : "f", i, j * j));
        put(fmt::format("one/folder{}.cfg", i));
        put(fmt::format("one/not{}/x.cfg", i));
    }
    for (int i = 0; i < 700; ++i)
        put(fmt::format("two/{}.bgl", i * 7919 % 700));
    fs::create_directory("three");
    std::vector<std::string> wanted;
    for (const char* root : {"one", "two", "three", "one"})
        plainWalk(root, wanted);
    ASSERT_GT(wanted.size(), 900u);
    for (const unsigned threads : {1u, 2u, 3u, 16u}) {
        EXPECT_EQ(walk({"one", "two", "three", "one"}, threads), wanted) << threads;
        EXPECT_EQ(walkFolders({"one"}, client).closedFolders, 60u);
    }
    EXPECT_TRUE(walk({}).empty());
    EXPECT_EQ(walk({"two/"}).front(), "two/0.bgl");
}

TEST_F(ParallelWalk, WhatFailsCostsItselfAndIsToldInItsPlace) {
    for (const char* file : {"in/a", "in/bad", "in/c/bad", "in/c/d", "in/gone/x", "in/h", "other/y"})
        put(file);
    const auto select = client.select;
    client.select = [&](const WalkEntry& entry) {
        if (entry.name == "gone")
            fs::remove_all(fs::path(entry.folder) / entry.name); // between the look at it and the entering
        return select(entry);
    };
    const auto work = client.work;
    client.work = [&](const PickedEntry& entry, std::string& result) {
        result = "spoilt";
        if (std::string_view(entry.name) == "bad")
            throw std::runtime_error("cause");
        work(entry, result);
    };
    const std::string none = platform::errorText(ENOENT);
    for (const unsigned threads : {1u, 4u}) {
        put("in/gone/x");
        EXPECT_EQ(
            walk({"in", "nowhere", "other"}, threads),
            (std::vector<std::string>{"in/a", "failed in/bad cause", "failed in/c/bad cause", "in/c/d",
                                      "unreadable in/gone " + none, "in/h", "unreadable nowhere " + none, "other/y"}));
    }
    client.take = [this](std::string& result) {
        told.push_back(result);
        throw std::runtime_error("of the caller");
    };
    EXPECT_THROW(walk({"in", "other"}, 4), std::runtime_error);
    EXPECT_EQ(told.size(), 1u) << "nothing more after what the caller throws";
}

TEST_F(ParallelWalk, AStopEndsItBetweenTwoEntries) {
    for (int i = 0; i < 500; ++i)
        put(fmt::format("in/{:03}/x", i));
    std::atomic<int> worked = 0;
    int workToStop = 100;
    std::size_t takesToStop = 0;
    client.work = [&](const PickedEntry&, std::string&) {
        if (++worked == workToStop)
            stop = true;
    };
    client.take = [&](std::string&) {
        told.emplace_back();
        if (told.size() == takesToStop)
            stop = true;
    };
    for (const unsigned threads : {1u, 4u}) {
        stop = false;
        worked = 0;
        walk({"in"}, threads);
        EXPECT_LT(worked, workToStop + static_cast<int>(threads));
        EXPECT_GE(worked, workToStop);
    }
    workToStop = 0;
    takesToStop = 50;
    stop = false;
    EXPECT_EQ(walk({"in"}, 4).size(), takesToStop) << "nothing more is handed over";
    EXPECT_EQ(walk({"in", "in"}).size(), 0u) << "and before the first";
}

TEST_F(ParallelWalk, EntersALinkedFolderOncePerRoot) {
    put("in/a/x");
    put("out/y");
    put("out/deep/z");
    const auto link = [](const fs::path& to, const char* name) {
        fs::create_directory_symlink(fs::absolute(to), name);
    };
    link("in", "in/a/loop");
    link("in/a", "in/a/self");
    link("out", "in/b-link");
    link("out", "in/c-again");
    link("out/deep", "in/d-inner");
    link("out", "out/deep/loop");
    link("nowhere", "in/broken");
    fs::create_symlink(fs::absolute("out/y"), "in/y");
    const std::vector<std::string> once{"in/a/x", "in/b-link/deep/z", "in/b-link/y", "in/d-inner/z", "in/y"};
    std::vector<std::string> twice = once;
    twice.insert(twice.end(), once.begin(), once.end());
    const auto select = client.select;
    client.select = [&](const WalkEntry& entry) {
        return entry.isFolder || entry.isFile ? select(entry) : WalkStep::pass; // the broken link
    };
    for (const unsigned threads : {1u, 4u})
        EXPECT_EQ(walk({"in", "in"}, threads), twice) << threads;
}

TEST_F(ParallelWalk, GoesDeeperThanFoldersCanBeOpen) {
    fs::path folder = "deep";
    std::vector<std::string> wanted;
    for (int i = 0; i < 300; ++i) {
        put(folder / "a");
        put(folder / "z");
        wanted.push_back((folder / "a").string());
        folder /= "d";
    }
    for (std::size_t i = 300; i-- > 0;)
        wanted.push_back(fs::path(wanted[i]).replace_filename("z").string());
    rlimit before{};
    ASSERT_EQ(::getrlimit(RLIMIT_NOFILE, &before), 0);
    const rlimit few{200, before.rlim_max};
    ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &few), 0);
    for (const unsigned threads : {1u, 8u})
        EXPECT_EQ(walk({"deep"}, threads), wanted) << threads;
    ::setrlimit(RLIMIT_NOFILE, &before);
}

} // namespace
} // namespace kes::test
