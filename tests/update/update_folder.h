// SPDX-License-Identifier: MIT
// A program folder whose update server is a server of the test's own, and zips by hand.
#pragma once

#include "core/parameters.h"
#include "core/run_state.h"
#include "files.h"
#include "http_server.h"
#include "update/airport_package.h"
#include "update/download.h"
#include "update/packages.h"
#include "update/program_update.h"
#include "update/server_version.h"

#include <fmt/format.h>
#include <set>

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
    static void offer(const std::filesystem::path& name, const std::string& bytes) { putFile("served" / name, bytes); }
    static void offerInstaller(const std::string& zip) { offer("release/setup_Kestrelune_d_v11.0.0.zip", zip); }
    static void offerAirports(const std::string& version, const std::string& zip) {
        offer("mysimaddon24/version.json", version);
        offer("mysimaddon24/my_simaddon2024.zip", zip);
    }
    void serveAirports(const std::string& version, const std::string& zip) {
        server.put("mysimaddon24/version.json", {version});
        server.put("mysimaddon24/my_simaddon2024.zip", {zip});
    }
    /// Names in the current folder, without those that every test has.
    static std::string leftovers() {
        std::string all;
        for (const auto& entry : std::filesystem::directory_iterator(".")) {
            const std::string name = entry.path().filename().string();
            if (!std::set<std::string>{"input", "airports", "Log.txt", "appdata", "served", "made.zip"}.contains(name))
                all += name + " ";
        }
        return all;
    }
};

} // namespace kes::test
