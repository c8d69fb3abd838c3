// SPDX-License-Identifier: MIT
// What several test programs need: waiting for a condition, and a temporary program folder with a log.
#pragma once

#include "core/folders.h"
#include "core/log.h"

#include <chrono>
#include <filesystem>
#include <fstream>
#include <functional>
#include <gtest/gtest.h>
#include <iterator>
#include <sstream>
#include <string>
#include <thread>
#include <unistd.h>
#include <vector>

namespace kes::test {

/// Polls until `condition` holds; false after `ms` milliseconds. The limit is generous: sanitizers are slow.
inline bool waitFor(const std::function<bool()>& condition, int ms = 20000) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(ms);
    while (!condition()) {
        if (std::chrono::steady_clock::now() > end)
            return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    return true;
}

/// What has been logged so far is in the log's file.
inline std::string readFile(const std::filesystem::path& file) {
    flushLog();
    std::ifstream in(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
}

/// A command line by its blanks.
inline std::vector<std::string> words(const std::string& line) {
    std::istringstream in(line);
    return {std::istream_iterator<std::string>(in), {}};
}

/// A folder of its own, removed at the end.
struct TempFolder {
    TempFolder() {
        std::string pattern = (std::filesystem::temp_directory_path() / "kestrelune-test-XXXXXX").string();
        path = mkdtemp(pattern.data());
    }
    ~TempFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(path, ignored);
    }
    TempFolder(const TempFolder&) = delete;
    TempFolder& operator=(const TempFolder&) = delete;

    std::filesystem::path write(const std::filesystem::path& name, std::string_view content) const {
        std::filesystem::create_directories((path / name).parent_path());
        std::ofstream(path / name, std::ios::binary) << content;
        return path / name;
    }
    std::filesystem::path path;
};

/// A fresh folder as the current directory, with user data folder and open log; everything is put back at the end.
struct ProgramFolder {
    ProgramFolder() {
        std::filesystem::current_path(folder);
        std::filesystem::create_directories(folder / "appdata" / "Kestrelune");
        setUserDataFolder(folder / "appdata" / "Kestrelune");
        openLog("Log.txt");
    }
    ~ProgramFolder() {
        closeLog();
        std::filesystem::current_path(before);
    }

    std::string logText() const { return readFile(folder / "Log.txt"); }
    bool logHas(std::string_view text) const { return logText().find(text) != std::string::npos; }
    std::size_t logCount(std::string_view text) const {
        const std::string all = logText();
        std::size_t n = 0;
        for (std::size_t at = all.find(text); at != std::string::npos; at = all.find(text, at + text.size()))
            ++n;
        return n;
    }

    const TempFolder temporary;
    const std::filesystem::path folder = temporary.path, before = std::filesystem::current_path();
};

} // namespace kes::test
