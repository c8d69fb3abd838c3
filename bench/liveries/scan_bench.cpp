// SPDX-License-Identifier: MIT
// How fast folders of packages are scanned: 20,000 files, copies of the real ones beside the project when they are
// there, of one made file otherwise, each with titles of its own. The baseline walks the same folders with the leanest
// system calls and reads the same files with the same number of threads; "ofWalkAndRead" tells how many times as long
// something takes, measured in turns with it. Walking and judging is meant to stay below 1.5.
#include "core/folders.h"
#include "core/parameters.h"
#include "core/text.h"
#include "liveries/cfg_line.h"
#include "liveries/folder_walk.h"
#include "liveries/scan.h"
#include "platform/file.h"
#include "platform/system.h"
#include "tests/reference_text.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <benchmark/benchmark.h>
#include <chrono>
#include <dirent.h>
#include <fcntl.h>
#include <fmt/format.h>
#include <fstream>
#include <memory>
#include <nlohmann/json.hpp>
#include <thread>
#include <unistd.h>

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

/// The file with a number before each title: no livery of one copy is one of another.
std::string withTitlesOf(std::size_t copy, std::string_view text) {
    if (text.starts_with("\xFF\xFE") || text.starts_with("\xFE\xFF"))
        return std::string(text); // 16-bit characters
    std::string out;
    for (std::size_t begin = 0; begin < text.size();) {
        const std::string_view line = text.substr(begin, text.find('\n', begin) - begin);
        begin += line.size() + 1;
        std::string_view content = line;
        if (content.ends_with('\r'))
            content.remove_suffix(1);
        const auto value = keyValue(content, "title");
        const std::string_view title = value ? unquoted(*value) : std::string_view();
        const std::size_t at = title.empty() ? 0 : static_cast<std::size_t>(title.data() - line.data());
        out += line.substr(0, at);
        if (!title.empty())
            out += fmt::format("{:05} ", copy);
        out += line.substr(at);
        if (begin <= text.size())
            out += '\n';
    }
    return out;
}

/// What the files are copies of, and the reference data that they are judged by.
struct Sources {
    std::vector<std::string> contents;
    bool real = false;
    fs::path folder; ///< of the benchmark's own files

    Sources() {
        std::string pattern = (fs::temp_directory_path() / "kestrelune-bench-XXXXXX").string();
        folder = mkdtemp(pattern.data());
        fs::current_path(folder);
        setUserDataFolder(folder);
        setParameterDefaults();
        const fs::path shared = fs::path(KES_SOURCE_DIR) / ".." / "shared" / "data" / "liveries";
        test::ReferenceText reference;
        real = fs::exists(shared / "refdata.json");
        if (real) {
            for (const fs::directory_entry& entry : fs::recursive_directory_iterator(shared / "Community")) {
                if (entry.path().filename() == "aircraft.cfg")
                    contents.emplace_back(), platform::readFile(entry.path().string(), contents.back());
            }
            std::ifstream in(shared / "refdata.json");
            const auto known = nlohmann::json::parse(in);
            reference.otherTypes = known["types"].get<std::vector<std::string>>();
            reference.types[AircraftCategory::large] = known["large"].get<std::vector<std::string>>();
            reference.types[AircraftCategory::heavy] = known["heavy"].get<std::vector<std::string>>();
            reference.airlines = known["airlines"].get<std::vector<std::string>>();
        } else {
            contents.push_back(madeFile());
            reference.types[AircraftCategory::large] = {"A320"};
            reference.airlines.push_back("DLH");
        }
        reference.read();
    }
    ~Sources() {
        std::error_code ignored;
        fs::current_path(fs::temp_directory_path(), ignored);
        fs::remove_all(folder, ignored);
    }
    Sources(const Sources&) = delete;
    Sources& operator=(const Sources&) = delete;
};

const Sources& sources() {
    static const Sources one;
    return one;
}

struct World {
    fs::path folder = sources().folder;
    std::vector<std::string> files;
    std::size_t bytes = 0;

    World() {
        for (const fs::path& needed : {path::outputInfo, path::outputErrors, path::input})
            fs::create_directories(needed);
        const std::vector<std::string>& contents = sources().contents;
        for (std::size_t i = 0; i < fileCount; ++i) {
            const fs::path package = folder / "packages" / fmt::format("package-{:03}", i / 100) / "SimObjects" /
                                     "Airplanes" / fmt::format("Aircraft_{:05}", i);
            fs::create_directories(package);
            files.push_back((package / "aircraft.cfg").string());
            const std::string content = withTitlesOf(i, contents[i % contents.size()]);
            std::ofstream(files.back(), std::ios::binary) << content;
            bytes += content.size();
        }
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
    state.counters["bytes"] = static_cast<double>(world().bytes);
    state.SetLabel(sources().real ? "real files" : "made files");
}

/// One thread of the baseline: whole trees, depth first, each folder and file opened relative to its folder, with
/// buffers that are kept. A file takes an opening, a reading and a closing, a folder the same and one look at its end.
struct LeanWalker {
    static constexpr std::size_t room = 16 << 20, listRoom = 1 << 16;
    std::unique_ptr<char[]> content = std::make_unique_for_overwrite<char[]>(room);
    std::vector<std::unique_ptr<char[]>> lists;
    std::size_t files = 0, bytes = 0;

    template <class Take> void list(int folder, std::size_t depth, Take&& take) {
        if (lists.size() <= depth)
            lists.push_back(std::make_unique_for_overwrite<char[]>(listRoom));
        char* const buffer = lists[depth].get();
        for (ssize_t got = 0; (got = ::getdents64(folder, buffer, listRoom)) > 0;) {
            for (ssize_t at = 0; at < got;) {
                const auto* const entry = reinterpret_cast<const dirent64*>(buffer + at);
                at += entry->d_reclen;
                if (entry->d_name[0] != '.')
                    take(*entry);
            }
        }
    }
    void walk(int parent, const char* name, std::size_t depth) {
        const int folder = ::openat(parent, name, O_RDONLY | O_DIRECTORY | O_CLOEXEC);
        list(folder, depth, [&](const dirent64& entry) {
            if (entry.d_type == DT_DIR)
                walk(folder, entry.d_name, depth + 1);
            else if (entry.d_type == DT_REG && equalsNoCase(entry.d_name, "aircraft.cfg"))
                read(folder, entry.d_name);
        });
        ::close(folder);
    }
    void read(int folder, const char* name) {
        const int file = ::openat(folder, name, O_RDONLY | O_CLOEXEC);
        bytes += static_cast<std::size_t>(std::max<ssize_t>(::read(file, content.get(), room), 0));
        ++files;
        ::close(file);
    }
};

/// The baseline over the whole world. False when it has missed something.
bool leanWalk(const World& w) {
    const int top = ::open((w.folder / "packages").c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    std::vector<std::string> packages;
    LeanWalker().list(top, 0, [&](const dirent64& entry) { packages.emplace_back(entry.d_name); });
    std::atomic<std::size_t> next{0}, files{0}, bytes{0};
    const auto work = [&] {
        LeanWalker walker;
        for (std::size_t at = next++; at < packages.size(); at = next++)
            walker.walk(top, packages[at].c_str(), 0);
        files += walker.files;
        bytes += walker.bytes;
    };
    std::vector<std::thread> threads;
    for (unsigned i = 1; i < hardwareThreads(); ++i)
        threads.emplace_back(work);
    work();
    for (std::thread& thread : threads)
        thread.join();
    ::close(top);
    return files == w.files.size() && bytes == w.bytes;
}

/// Runs something in turns with the baseline and tells its time alone, and the median of the ratios: who else uses the
/// machine for a moment spoils one turn.
template <class Run> void compare(benchmark::State& state, Run&& run) {
    using Seconds = std::chrono::duration<double>;
    World& w = world();
    std::vector<double> ratios;
    for (auto _ : state) {
        const auto start = std::chrono::steady_clock::now();
        if (!leanWalk(w)) {
            state.SkipWithError("not all bytes were read");
            return;
        }
        const auto between = std::chrono::steady_clock::now();
        run();
        const Seconds took = std::chrono::steady_clock::now() - between;
        ratios.push_back(took / Seconds(between - start));
        state.SetIterationTime(took.count());
    }
    const auto middle = ratios.begin() + static_cast<std::ptrdiff_t>(ratios.size() / 2);
    std::nth_element(ratios.begin(), middle, ratios.end());
    state.counters["ofWalkAndRead"] = *middle;
}

/// Walk, reading and judging, in the order of the walk.
void walkAndJudge(benchmark::State& state) {
    std::size_t liveries = 0;
    compare(state, [&liveries] {
        liveries = 0;
        walkFolder(CfgRules(), (world().folder / "packages").string(),
                   [&liveries](CfgJudgement& judgement) { liveries += judgement.liveries.size(); });
    });
    tell(state, liveries);
}
BENCHMARK(walkAndJudge)->UseManualTime()->Unit(benchmark::kMillisecond);

/// One thread's judging alone, the bytes in memory: what the reading of a line costs.
void judgeBytes(benchmark::State& state) {
    const Sources& from = sources();
    CfgJudgement judgement;
    std::size_t liveries = 0;
    std::int64_t bytes = 0;
    for (auto _ : state) {
        liveries = 0;
        for (const std::string& content : from.contents) {
            judgeFile(CfgRules(), "packages/SimObjects/Airplanes/Aircraft/aircraft.cfg", {&content}, judgement);
            liveries += judgement.liveries.size();
            bytes += static_cast<std::int64_t>(content.size());
        }
    }
    state.SetBytesProcessed(bytes);
    state.counters["liveries"] = static_cast<double>(liveries);
}
BENCHMARK(judgeBytes)->UseRealTime()->Unit(benchmark::kMillisecond);

/// All of it with unique titles, corrections, the list file and the reports.
void wholeScan(benchmark::State& state) {
    World& w = world();
    fs::current_path(w.folder); // another benchmark may have changed it
    compare(state, [&] { scanFolders({w.folder / "packages"}); });
    tell(state, readLiveriesScanned().size());
}
BENCHMARK(wholeScan)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(2);

} // namespace
} // namespace kes
