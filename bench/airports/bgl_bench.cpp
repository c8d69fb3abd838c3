// SPDX-License-Identifier: MIT
// Stands out of real scenery files, against a plain reading of their bytes, and how much the quick test reads.
#include "airports/bgl_reader.h"
#include "platform/file.h"

#include <benchmark/benchmark.h>
#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;
using namespace kes;

struct Files {
    Files() {
        const fs::path folder = fs::path(KES_SOURCE_DIR) / "../shared/data/bgl";
        std::error_code error;
        for (fs::recursive_directory_iterator it(folder, error), end; !error && it != end; it.increment(error)) {
            const std::string extension = it->path().extension().string();
            if (extension != ".bgl" && extension != ".BGL")
                continue;
            paths.push_back(it->path().string());
            bytes += static_cast<std::int64_t>(it->file_size());
        }
    }
    std::vector<std::string> paths;
    std::int64_t bytes = 0;
};
const Files& files() {
    static const Files found;
    return found;
}

/// One pass over all files; `work` returns what it made of one.
template <typename Work> void pass(benchmark::State& state, Work work) {
    if (files().paths.empty()) {
        state.SkipWithError("no scenery files in ../shared/data/bgl");
        return;
    }
    std::size_t made = 0;
    for (auto _ : state) {
        for (const std::string& path : files().paths)
            made += work(path);
    }
    benchmark::DoNotOptimize(made);
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations()) * files().bytes);
}

void readBytesOnly(benchmark::State& state) {
    platform::FileBytes content;
    pass(state, [&](const std::string& path) {
        (void)platform::readFile(path, content);
        return content.view().size();
    });
}
BENCHMARK(readBytesOnly)->Unit(benchmark::kMicrosecond);

void scanFiles(benchmark::State& state) {
    pass(state, [](const std::string& path) -> std::size_t {
        return hasAirportSection(path) ? lf_toParkingPositions(path, false).airports.size() : 0;
    });
}
BENCHMARK(scanFiles)->Unit(benchmark::kMicrosecond);

void decodeFromMemory(benchmark::State& state) {
    std::vector<std::string> contents;
    for (const std::string& path : files().paths) {
        std::string content;
        if (hasAirportSection(path) && platform::readFile(path, content) == 0)
            contents.push_back(std::move(content));
    }
    std::int64_t bytes = 0;
    for (auto _ : state) {
        for (const std::string& content : contents) {
            benchmark::DoNotOptimize(readBgl(content, "", false));
            bytes += static_cast<std::int64_t>(content.size());
        }
    }
    state.SetBytesProcessed(bytes);
}
BENCHMARK(decodeFromMemory)->Unit(benchmark::kMicrosecond);

} // namespace
