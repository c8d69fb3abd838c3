// SPDX-License-Identifier: MIT
// A program folder whose update server is a server of the test's own, and zips by hand.
#pragma once

#include "core/parameters.h"
#include "core/run_state.h"
#include "http_server.h"
#include "platform/zip.h"
#include "support.h"
#include "update/airport_package.h"
#include "update/download.h"
#include "update/packages.h"
#include "update/program_update.h"
#include "update/server_version.h"

#include <fmt/format.h>
#include <utility>

namespace kes::test {

struct UpdateFolder : testing::Test {
    ProgramFolder program;
    HttpServer server;
    CURL* curl = nullptr;

    UpdateFolder() {
        std::filesystem::create_directories("input");
        std::filesystem::create_directories("airports");
        setParameterDefaults();
        resetRunFlags();
        resetStatus();
        useBase(server.base());
        downloadLimits.connectSeconds = 2;
        downloadLimits.stallSeconds = 1;
        curl = curl_easy_init();
    }
    ~UpdateFolder() override {
        curl_easy_cleanup(curl);
        downloadLimits = {};
        packageLimits = {};
        resetRunFlags();
        setParameterDefaults();
    }
    static void useBase(const std::string& line) { std::ofstream(path::updateServer, std::ios::binary) << line; }

    /// Has the update server be the folder "served".
    static void useFolder() { useBase("served"); }
    static void offer(const std::filesystem::path& name, const std::string& bytes) {
        std::filesystem::create_directories(("served" / name).parent_path());
        std::ofstream("served" / name, std::ios::binary) << bytes;
    }
    static void offerInstaller(const std::string& zip) { offer("release/setup_Kestrelune_d_v11.0.0.zip", zip); }

    static std::string zipOf(const std::vector<std::pair<std::string, std::string>>& entries) {
        {
            platform::ZipArchive zip("made.zip");
            EXPECT_TRUE(zip.open(platform::ZipArchive::OpenMode::create));
            for (const auto& [name, content] : entries)
                EXPECT_TRUE(zip.addData(name, content));
            EXPECT_TRUE(zip.close());
        }
        std::string bytes = readFile("made.zip");
        std::filesystem::remove("made.zip");
        return bytes;
    }
    /// Names in the current folder, without those that every test has.
    static std::string leftovers() {
        std::string all;
        for (const auto& entry : std::filesystem::directory_iterator(".")) {
            const std::string name = entry.path().filename().string();
            if (name != "input" && name != "airports" && name != "Log.txt" && name != "appdata" && name != "served")
                all += name + " ";
        }
        return all;
    }
};

} // namespace kes::test
