// How fast folders of packages are scanned: 20,000 files, copies of the real ones beside the project when they are
// there, of one made file otherwise. The baseline reads the same files' bytes with the same number of threads.
#include "core/folders.h"
#include "core/parameters.h"
#include "liveries/folder_walk.h"
#include "liveries/matching.h"
#include "liveries/scan.h"
#include "liveries/store.h"
#include "platform/file.h"
#include "platform/system.h"
#include "tests/reference_text.h"

#include <atomic>
#include <benchmark/benchmark.h>
#include <fmt/format.h>
#include <fstream>
#include <nlohmann/json.hpp>
#include <thread>

namespace kes {
namespace {

namespace fs = std::filesystem;
constexpr std::size_t fileCount = 20000;

std::string madeFile() {
    std::string text =
        "[VERSION]\r\nmajor=1\r\n\r\n[GENERAL]\r\natc_type=\"BOEING\"\r\nicao_type_designator=\"A320\"\r\n";
    for (int i = 0; i < 40; ++i) {
        text +=
            fmt::format("\r\n[FLTSIM.{0}]\r\ntitle=\"Made livery {0}\"\r\nmodel=\"\"\r\npanel=\"\"\r\nsound=\"\"\r\n"
                        "texture=\"dlh{0}\"\r\natc_id=\"D-AI{0:02}\"\r\natc_airline=\"LUFTHANSA\"\r\n"
                        "icao_airline=\"DLH\"\r\natc_parking_types=\"GATE,RAMP\"\r\nui_variation=\"Made {0}\"\r\n",
                        i);
    }
    return text;
}

struct World {
    fs::path folder;
    std::vector<std::string> files;
    std::size_t bytes = 0;
    bool real = false;

    World() {
        std::string pattern = (fs::temp_directory_path() / "kestrelune-bench-XXXXXX").string();
        folder = mkdtemp(pattern.data());
        fs::current_path(folder);
        setUserDataFolder(folder);
        setParameterDefaults();
        for (const fs::path& needed : {path::outputInfo, path::outputErrors, path::input})
            fs::create_directories(needed);
        const fs::path shared = fs::path(KES_SOURCE_DIR) / ".." / "shared" / "data" / "liveries";
        std::vector<std::string> sources;
        test::ReferenceText reference;
        real = fs::exists(shared / "refdata.json");
        if (real) {
            for (const fs::directory_entry& entry : fs::recursive_directory_iterator(shared / "Community")) {
                if (entry.path().filename() == "aircraft.cfg")
                    sources.emplace_back(), platform::readFile(entry.path().string(), sources.back());
            }
            std::ifstream in(shared / "refdata.json");
            const auto known = nlohmann::json::parse(in);
            reference.otherTypes = known["types"].get<std::vector<std::string>>();
            reference.types[AircraftCategory::large] = known["large"].get<std::vector<std::string>>();
            reference.types[AircraftCategory::heavy] = known["heavy"].get<std::vector<std::string>>();
            reference.airlines = known["airlines"].get<std::vector<std::string>>();
        } else {
            sources.push_back(madeFile());
            reference.types[AircraftCategory::large] = {"A320"};
            reference.airlines.push_back("DLH");
        }
        reference.read();
        for (std::size_t i = 0; i < fileCount; ++i) {
            const fs::path package = folder / "packages" / fmt::format("package-{:03}", i / 100) / "SimObjects" /
                                     "Airplanes" / fmt::format("Aircraft_{:05}", i);
            fs::create_directories(package);
            files.push_back((package / "aircraft.cfg").string());
            const std::string& content = sources[i % sources.size()];
            std::ofstream(files.back(), std::ios::binary) << content;
            bytes += content.size();
        }
    }
    ~World() {
        std::error_code ignored;
        fs::current_path(fs::temp_directory_path(), ignored);
        fs::remove_all(folder, ignored);
    }
};

World& world() {
    static World one;
    return one;
}

void tell(benchmark::State& state, std::size_t liveries) {
    state.SetBytesProcessed(static_cast<std::int64_t>(world().bytes) * state.iterations());
    state.counters["files"] = static_cast<double>(world().files.size());
    state.counters["liveries"] = static_cast<double>(liveries);
    state.SetLabel(world().real ? "real files" : "made files");
}

/// The baseline: nothing but bytes, in as many threads as the scan uses, from a list of files that is known.
void readBytes(benchmark::State& state) {
    World& w = world();
    for (auto _ : state) {
        std::atomic<std::size_t> next{0}, sum{0};
        std::vector<std::thread> threads;
        for (unsigned i = 0; i < hardwareThreads(); ++i) {
            threads.emplace_back([&] {
                std::string content;
                std::size_t read = 0;
                for (std::size_t at = next++; at < w.files.size(); at = next++) {
                    platform::readFile(w.files[at], content);
                    read += content.size();
                }
                sum += read;
            });
        }
        for (std::thread& thread : threads)
            thread.join();
        if (sum != w.bytes)
            state.SkipWithError("not all bytes were read");
    }
    tell(state, 0);
}
BENCHMARK(readBytes)->UseRealTime()->Unit(benchmark::kMillisecond);

/// Walk, reading and judging, in the order of the walk.
void walkAndJudge(benchmark::State& state) {
    World& w = world();
    std::size_t liveries = 0;
    for (auto _ : state) {
        liveries = 0;
        CfgRules rules;
        walkFolder(rules, (w.folder / "packages").string(),
                   [&liveries](CfgJudgement& judgement) { liveries += judgement.liveries.size(); });
    }
    tell(state, liveries);
}
BENCHMARK(walkAndJudge)->UseRealTime()->Unit(benchmark::kMillisecond);

/// The same with one thread's judging alone, the bytes in memory: what the reading of a line costs.
void judgeWarmFiles(benchmark::State& state) {
    World& w = world();
    std::size_t liveries = 0;
    for (auto _ : state) {
        liveries = 0;
        CfgRules rules;
        for (std::size_t i = 0; i < w.files.size(); i += 20)
            liveries += judgeFile(rules, w.files[i]).liveries.size();
    }
    state.counters["liveries"] = static_cast<double>(liveries);
}
BENCHMARK(judgeWarmFiles)->UseRealTime()->Unit(benchmark::kMillisecond);

/// All of it with unique titles, corrections, the list file and the reports.
void wholeScan(benchmark::State& state) {
    World& w = world();
    fs::current_path(w.folder); // another benchmark may have changed it
    for (auto _ : state)
        scanFolders({w.folder / "packages"});
    tell(state, readLiveriesScanned().size());
}
BENCHMARK(wholeScan)->UseRealTime()->Unit(benchmark::kMillisecond)->Iterations(2);

/// The road of a first start over the real packages: scan, list, tables, and a search for each livery's airline and
/// type.
void sharedRoad(benchmark::State& state) {
    World& w = world();
    if (!w.real) {
        state.SkipWithError("the real packages are not beside the project");
        return;
    }
    fs::current_path(w.folder);
    const fs::path community =
        fs::canonical(fs::path(KES_SOURCE_DIR) / ".." / "shared" / "data" / "liveries" / "Community");
    std::size_t matched = 0, asked = 0;
    for (auto _ : state) {
        resetLiveries();
        scanFolders({community});
        processScannedLiveries();
        matched = asked = 0;
        for (const auto& [airline, models] : liveryTables().liveryStore) {
            for (const auto& [model, titles] : models) {
                AiAircraft aircraft;
                aircraft.airline = airline;
                aircraft.model = model;
                aircraft.category = categoryOf(model);
                ++asked;
                matched += matchLive(aircraft) > 0;
            }
        }
    }
    tell(state, liveryCount());
    state.counters["asked"] = static_cast<double>(asked);
    state.counters["matched"] = static_cast<double>(matched);
    resetLiveries();
}
BENCHMARK(sharedRoad)->UseRealTime()->Unit(benchmark::kMillisecond);

} // namespace
} // namespace kes
