// SPDX-License-Identifier: MIT
// A Community folder of 20,000 files, 400 of them scenery and 40 of these with airports, against the leanest walk that
// sees each entry and reads the first block of each scenery file. The airports have no stands, so that nothing is
// written: that is the disk's time.
#include "airports/addon_link.h"
#include "airports/addon_scan.h"
#include "core/folders.h"
#include "platform/file.h"
#include "tests/airports/bgl_file.h"

#include <array>
#include <benchmark/benchmark.h>
#include <filesystem>
#include <fmt/format.h>
#include <fstream>
#include <string>

namespace {

namespace fs = std::filesystem;
using namespace kes;

constexpr int packages = 400, texturesEach = 49;

struct Community {
    Community() {
        path = fs::temp_directory_path() / "kestrelune-bench-addons";
        fs::remove_all(path);
        const std::string airports = test::bglFile(test::bglAirport("EDDF", 0, "")) + std::string(100000, '\0');
        const std::string others = test::bglFile({{7, 0, std::string(100000, '\0')}});
        for (int i = 0; i < packages; ++i) {
            const fs::path package = path / "Community" / fmt::format("maker-place{:03}", i);
            for (const char* folder : {"scenery", "texture"})
                fs::create_directories(package / folder);
            std::ofstream(package / "manifest.json") << R"({"title":"Place","creator":"Maker"})";
            std::ofstream(package / "scenery/place.bgl", std::ios::binary) << (i % 10 == 0 ? airports : others);
            for (int n = 1; n < texturesEach; ++n)
                std::ofstream(package / "texture" / fmt::format("wall{}.dds", n)) << "dds";
        }
        fs::create_directories(path / "input");
        fs::current_path(path);
        createFolders();
    }
    ~Community() {
        std::error_code ignored;
        fs::current_path(fs::temp_directory_path(), ignored);
        fs::remove_all(path, ignored);
    }
    fs::path path;
};
const Community& community() {
    static const Community made;
    return made;
}

void leanWalk(benchmark::State& state) {
    community();
    for (auto _ : state) {
        std::size_t read = 0;
        std::array<char, 4096> block{};
        for (const fs::directory_entry& entry : fs::recursive_directory_iterator("Community")) {
            if (entry.path().extension() != ".bgl" || !entry.is_regular_file())
                continue;
            platform::InputFile file;
            if (file.open(entry.path().string()) == 0 && file.read(block.data(), block.size()) > 0)
                ++read;
        }
        if (read != packages)
            state.SkipWithError("files are missing");
    }
}
BENCHMARK(leanWalk)->Unit(benchmark::kMillisecond)->UseRealTime();

void scanCommunity(benchmark::State& state) {
    community();
    for (auto _ : state) {
        (void)scanRoots({"Community"});
        if (addonAirports.size() != packages / 10)
            state.SkipWithError("airports are missing");
    }
    resetAddonAirports();
}
BENCHMARK(scanCommunity)->Unit(benchmark::kMillisecond)->UseRealTime();

} // namespace
