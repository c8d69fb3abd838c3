// SPDX-License-Identifier: MIT
// Loading the stands of a great airport, beside the XML library alone on the same bytes, and their neighbours beside
// the plain double loop.
#include "airports/airport_file.h"
#include "airports/airport_ref.h"
#include "airports/airport_xml.h"
#include "core/folders.h"
#include "core/xml_file.h"
#include "platform/system.h"

#include <benchmark/benchmark.h>
#include <filesystem>
#include <fmt/format.h>
#include <pugixml.hpp>
#include <string>

namespace {

namespace fs = std::filesystem;
using namespace kes;

constexpr int standCount = 600, optionCount = 30;

std::vector<Stand> greatAirport() {
    std::vector<Stand> list(standCount);
    for (int i = 0; i < standCount; ++i) {
        Stand& stand = list[static_cast<std::size_t>(i)];
        stand.id = fmt::format("{}{}", static_cast<char>('A' + i / 100), i % 100);
        stand.lat = 51.45 + i / 40 * 0.0015;
        stand.lon = -0.48 + i % 40 * 0.0007;
        stand.radius = (i % 5 == 0 ? 32.5 : 18.0) / metresPerNm;
        for (int o = 0; o < optionCount; ++o) {
            ParkPosOption& option = stand.options.emplace_back();
            option.airline = "BAW";
            option.model = "A320";
            option.regcode = fmt::format("G-E{}{:02}", static_cast<char>('A' + i % 26), o);
            option.coupledCs1 = fmt::format("BAW{}", i + o);
            option.coupledCs2 = fmt::format("BAW{}", i + o + 1);
            option.hours = std::uint64_t{7} << (o + 5);
            option.day = static_cast<std::uint32_t>(o % 7 + 1);
            option.optIndex = o + 1;
            option.real = o % 2;
        }
    }
    return list;
}

/// A program folder with the airport as a generated file, current while the benchmarks run.
struct Folder {
    Folder() {
        path = fs::temp_directory_path() / "kestrelune-bench-airports";
        fs::create_directories(path / "input");
        fs::current_path(path);
        createFolders();
        pugi::xml_document document;
        document.append_child("parameters").append_child("parameter").append_attribute("name") = "altitude";
        document.child("parameters").child("parameter").append_attribute("value") = "83";
        appendStands(document, greatAirport(), true, true);
        saveXml(document, file);
        setAirportRef(AirportRef{"EGLL", "LHR", 51.46, -0.47, 0});
    }
    ~Folder() {
        std::error_code ignored;
        fs::current_path(fs::temp_directory_path(), ignored);
        fs::remove_all(path, ignored);
    }
    static constexpr const char* file = "airports/my_thirdparty/EGLL.xml";
    fs::path path;
};
const Folder& folder() {
    static const Folder made;
    return made;
}

void parseOnly(benchmark::State& state) {
    folder();
    for (auto _ : state) {
        pugi::xml_document document;
        benchmark::DoNotOptimize(static_cast<bool>(loadXml(document, Folder::file)));
    }
}
BENCHMARK(parseOnly)->Unit(benchmark::kMillisecond);

void loadAirport(benchmark::State& state) {
    folder();
    for (auto _ : state) {
        if (!gf_readApf(Folder::file, parkAirportFile, qualityPair, stands).empty() || stands.size() != standCount)
            state.SkipWithError("not read");
    }
}
BENCHMARK(loadAirport)->Unit(benchmark::kMillisecond);

void adjacentByGrid(benchmark::State& state) {
    std::vector<Stand> list = greatAirport();
    giveSids(list);
    for (auto _ : state)
        findAdjacent(list);
}
BENCHMARK(adjacentByGrid)->Unit(benchmark::kMicrosecond);

void adjacentByPairs(benchmark::State& state) {
    std::vector<Stand> list = greatAirport();
    giveSids(list);
    for (auto _ : state) {
        for (Stand& a : list) {
            a.adjacent.clear();
            for (const Stand& b : list) {
                if (a.sid != b.sid && a.radius + b.radius > distanceNm(a.position(), b.position()) * 1.1)
                    a.adjacent.push_back(b.sid);
            }
        }
    }
}
BENCHMARK(adjacentByPairs)->Unit(benchmark::kMicrosecond);

} // namespace
