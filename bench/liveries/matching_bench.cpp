// SPDX-License-Identifier: MIT
// One search for a livery among 30,000 titles, 7,500 of them special and 2,000 refused, for an aircraft of each step
// and for an airline whose 3,000 liveries are all special but one; and the building of the tables. The baseline is one
// look-up in a hash table of the same titles.
#include "core/folders.h"
#include "core/parameters.h"
#include "core/random.h"
#include "liveries/livery.h"
#include "liveries/matching.h"
#include "liveries/store.h"
#include "tests/reference_text.h"

#include <benchmark/benchmark.h>
#include <filesystem>
#include <fmt/format.h>
#include <fstream>

namespace kes {
namespace {

namespace fs = std::filesystem;

constexpr int titleCount = 27000, crowd = 3000;
constexpr const char* crowdedAirline = "QCR";

std::string code(int i, int size) {
    std::string text;
    for (; size > 0; --size, i /= 26)
        text += static_cast<char>('A' + i % 26);
    return text;
}

struct Installed {
    std::vector<Livery> liveries;
    std::string crowdedModel;
    fs::path folder;

    Installed() {
        std::string pattern = (fs::temp_directory_path() / "kestrelune-bench-XXXXXX").string();
        folder = mkdtemp(pattern.data());
        fs::current_path(folder);
        setUserDataFolder(folder);
        setParameterDefaults();
        for (const fs::path& needed : {path::outputInfo, path::outputErrors, path::myRegcodes})
            fs::create_directories(needed);
        test::ReferenceText text;
        for (int i = 0; i < 300; ++i) {
            static constexpr AircraftCategory kinds[] = {AircraftCategory::large, AircraftCategory::heavy,
                                                         AircraftCategory::buzjets, AircraftCategory::rotorcraft,
                                                         AircraftCategory::highPerf};
            if (i % 6 == 5)
                text.otherTypes.push_back("L" + code(i, 3));
            else
                text.types[kinds[i % 6]].push_back("T" + code(i, 3));
        }
        std::vector<std::string> all = text.otherTypes;
        for (const auto& [kind, codes] : text.types) {
            for (std::size_t i = 0; i + 4 < codes.size(); i += 4)
                text.similar.push_back({codes[i], codes[i + 1], codes[i + 2], codes[i + 3]});
            all.insert(all.end(), codes.begin(), codes.end());
        }
        for (int i = 0; i < 600; ++i)
            text.airlines.push_back(code(i, 3));
        text.airframes = {{"D-OPER", "AAA", all[10], "BAA", false}};
        text.read();
        std::ofstream regcodes(path::myRegcodes / "special.txt");
        for (int i = 0; i < titleCount; ++i) {
            const std::string& model = all[static_cast<std::size_t>(i * 7 % 290)]; // some models have no livery
            const std::string airline = i % 40 == 0 ? "ZZZ" : i % 41 == 0 ? "PVT" : code(i % 590, 3);
            liveries.push_back({airline, model, fmt::format("Some Airline Name Model {} - D-{:05}", model, i),
                                fmt::format("D-{:05}", i)});
            if (i % 6 == 0)
                regcodes << liveries.back().title << ";S-" << i << "\n";
        }
        crowdedModel = all[1];
        for (int i = 0; i < crowd; ++i) {
            liveries.push_back(
                {crowdedAirline, crowdedModel, fmt::format("Crowded Airline Livery - {:05}", i), "", 0, false});
            if (i != crowd / 2)
                regcodes << liveries.back().title << ";C-" << i << "\n";
        }
        regcodes.close();
        sortLiveries(liveries);
        writeLiveriesScanned(liveries);
        setRandomSeed(5);
        processScannedLiveries();
        for (int i = 0; i < 2000; ++i)
            refuseTitle(liveries[static_cast<std::size_t>(i * 15)].title, "T", "A");
    }
    ~Installed() {
        std::error_code ignored;
        fs::current_path(fs::temp_directory_path(), ignored);
        fs::remove_all(folder, ignored);
    }
};

Installed& installed() {
    static Installed one;
    return one;
}

void hashLookup(benchmark::State& state) {
    auto& liveries = installed().liveries;
    std::size_t i = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(findTitle(liveries[i].title));
        i = (i + 997) % liveries.size();
    }
}
BENCHMARK(hashLookup);

/// Aircraft that a search ends for at this step; 0 = none fits.
std::vector<AiAircraft> aircraftOfStep(int step) {
    installed();
    std::vector<AiAircraft> found;
    const ReferenceData& data = referenceData();
    int tried = 0;
    for (const std::string& airline : data.icaoAirlines) {
        for (const std::string& model : data.aircraftTypes) {
            AiAircraft a;
            a.airline = airline;
            a.model = model;
            a.category = categoryOf(model);
            if (step == 1)
                a.regcode = fmt::format("D{:05}", tried % titleCount); // as feeds write it, without the dash
            AiAircraft copy = a;
            if (matchLive(copy) == step)
                found.push_back(a);
            if (found.size() >= 500 || ++tried > 200000)
                return found;
        }
    }
    return found;
}

void match(benchmark::State& state) {
    const auto aircraft = aircraftOfStep(static_cast<int>(state.range(0)));
    if (aircraft.empty()) {
        state.SkipWithError("no aircraft ends at this step");
        return;
    }
    std::size_t i = 0;
    AiAircraft a = aircraft[0];
    for (auto _ : state) {
        a.airline = aircraft[i].airline;
        a.model = aircraft[i].model;
        a.regcode = aircraft[i].regcode;
        a.category = aircraft[i].category;
        a.title = {};
        benchmark::DoNotOptimize(matchLive(a));
        i = (i + 1) % aircraft.size();
    }
    state.counters["aircraft"] = static_cast<double>(aircraft.size());
}
BENCHMARK(match)->DenseRange(0, 6);

void matchCrowded(benchmark::State& state) {
    AiAircraft a;
    a.airline = crowdedAirline;
    a.model = installed().crowdedModel;
    a.category = categoryOf(a.model);
    par::RANDOM.value = state.range(0) != 0;
    for (auto _ : state) {
        a.title = {};
        benchmark::DoNotOptimize(matchLive(a));
    }
    par::RANDOM.value = true;
}
BENCHMARK(matchCrowded)->ArgName("random")->Arg(0)->Arg(1);

void buildTables(benchmark::State& state) {
    fs::current_path(installed().folder);
    for (auto _ : state) {
        resetLiveries();
        processScannedLiveries();
    }
    state.counters["titles"] = static_cast<double>(liveryCount());
}
BENCHMARK(buildTables)->Unit(benchmark::kMillisecond);

} // namespace
} // namespace kes
