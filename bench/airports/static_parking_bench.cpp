// SPDX-License-Identifier: MIT
// What the calculations of static parking cost the tick they run in, at an airport of 600 stands with 30 options each:
// the first fill, a renewal with 500 static and 300 live aircraft, and one creation.
#include "airports/airport_ref.h"
#include "airports/live_parking.h"
#include "airports/stands.h"
#include "airports/static_parking.h"
#include "core/folders.h"
#include "core/hh_now.h"
#include "core/parameters.h"
#include "core/random.h"
#include "core/user_aircraft.h"
#include "core/xml_file.h"
#include "liveries/store.h"
#include "reference/reference_document.h"
#include "sim/orders.h"
#include "tests/small_reference.h"

#include <benchmark/benchmark.h>
#include <filesystem>
#include <fmt/format.h>
#include <random>

namespace {

using namespace kes;

constexpr int standCount = 600, optionCount = 30, liveCount = 300;
constexpr double metre = 1.0 / 1852.0 / 60.0;
constexpr LatLon field{50.0, 8.0};

std::vector<LiveAtStand> live;
std::vector<Stand> freshStands;

void makeFolder() {
    namespace fs = std::filesystem;
    const fs::path folder = fs::temp_directory_path() / "kestrelune-bench-airports";
    fs::remove_all(folder);
    fs::create_directories(folder / "input");
    fs::create_directories(folder / "output");
    fs::current_path(folder);
    setUserDataFolder(folder);
    test::writeSmallReference({.types = "A320,Large,34\nB77W,Heavy,64\n",
                               .airlines = "DLH,Lufthansa\n",
                               .registrations = "D-AIZA,DLH,A320,,\n"});
    pugi::xml_document document;
    pugi::xml_node root = document.append_child("liveries");
    appendMeta(root);
    for (const char* type : {"A320", "B77W"}) {
        pugi::xml_node liv = root.append_child("liv");
        liv.append_attribute("airl") = "DLH";
        liv.append_attribute("type") = type;
        liv.append_attribute("title") = fmt::format("Bench {}", type).c_str();
    }
    saveXml(document, path::liveriesScanned);
    setParameterDefaults();
    readDataBase();
    processScannedLiveries();
}

/// Uses of three half-hours each, as an airport file that saw a week of traffic has them.
void makeStands() {
    std::mt19937 dice(5);
    const auto roll = [&](int n) { return static_cast<int>(dice() % static_cast<unsigned>(n)); };
    stands.clear();
    for (int n = 0; n < standCount; ++n) {
        Stand& stand = stands.emplace_back();
        stand.sid = static_cast<std::uint32_t>(n + 1);
        stand.id = fmt::format("A{}", n + 1);
        stand.lat = field.lat + 60.0 * (n / 10) * metre;
        stand.lon = field.lon + 90.0 * (n % 10) * metre;
        stand.radius = (n % 7 == 0 ? 40.0 : 20.0) / metresPerNm;
        for (int o = 0; o < optionCount; ++o) {
            ParkPosOption& option = stand.options.emplace_back();
            option.airline = "DLH";
            option.model = roll(5) == 0 ? "B77W" : "A320";
            option.regcode = fmt::format("D-A{:05}", roll(20000));
            option.coupledCs1 = fmt::format("DLH{}", roll(9000));
            option.coupledCs2 = roll(2) == 0 ? fmt::format("DLH{}", roll(9000)) : "";
            option.hours = std::uint64_t{7} << roll(46);
            option.day = static_cast<std::uint32_t>(1 + roll(7));
            option.real = roll(3) == 0 ? 0 : 1;
            option.optIndex = o + 1;
        }
    }
    findAdjacent(stands);
    freshStands = stands;
    liveCallsigns.clear();
    while (liveCallsigns.size() < liveCount)
        liveCallsigns.insert(fmt::format("DLH{}", roll(9000)));
}

void makeAirport() {
    static const bool once = [] {
        makeFolder();
        return true;
    }();
    benchmark::DoNotOptimize(once);
    setRandomSeed(3);
    setHhNow({3, 20});
    setAirportRef(AirportRef{"EDDF", "FRA", field.lat, field.lon, 364});
    makeStands();
    parkedAircraft.clear();
    live.clear();
    clearOrders();
    par::parking_percentage.value = 90;
    par::RANDOM.value = true;
    par::LOG.value = false;
    liveParkingHooks.atStands = [] { return live; };
    liveParkingHooks.remove = [](std::uint32_t) {};
}

/// Argument: percent wanted.
void firstFill(benchmark::State& state) {
    makeAirport();
    par::parking_percentage.value = static_cast<std::int32_t>(state.range(0));
    for (auto _ : state) {
        state.PauseTiming();
        stands = freshStands;
        state.ResumeTiming();
        clearPlan();
        setWanted();
        runPasses(0);
        sortByFit(true);
    }
    state.counters["planned"] = static_cast<double>(toPark.size());
}
BENCHMARK(firstFill)->Arg(30)->Arg(90)->Arg(100)->Unit(benchmark::kMillisecond);

void fillWithStatic() {
    clearPlan();
    setWanted();
    runPasses(0);
    sortByFit(true);
    while (staticAircraftWait() && parkedAircraft.size() < 500)
        createNextStatic();
    std::uint32_t object = 100;
    for (AiAircraft& a : parkedAircraft) {
        a.st = AircraftStatus::active;
        a.objectid = ++object;
    }
    clearOrders();
}

void addLive() {
    for (std::uint32_t n = 0; n < liveCount; ++n)
        live.push_back({.hexid = 0x400000 + n,
                        .sid = n % 3 == 0 ? standCount - n / 3 : 0,
                        .callsign = fmt::format("BAW{}", n),
                        .label = "label",
                        .parked = n % 3 == 0,
                        .feedAtStand = n % 2 == 0});
}

void renewal(benchmark::State& state) {
    makeAirport();
    fillWithStatic();
    addLive();
    const std::vector<AiAircraft> parked = parkedAircraft;
    const std::set<std::string> callsigns = liveCallsigns;
    setHhNow({3, 21});
    for (auto _ : state) {
        state.PauseTiming();
        parkedAircraft = parked;
        stands = freshStands;
        clearOrders();
        state.ResumeTiming();
        renewParking(callsigns);
    }
    state.counters["static"] = static_cast<double>(parked.size());
    state.counters["removed"] = static_cast<double>(toRemove.size());
    state.counters["added"] = static_cast<double>(toPark.size());
}
BENCHMARK(renewal)->Unit(benchmark::kMillisecond);

/// With 500 static and 300 live aircraft about.
void creation(benchmark::State& state) {
    makeAirport();
    fillWithStatic();
    addLive();
    const StaticPlacement placement{.sid = 0, .airline = "DLH", .model = "A320"};
    Stand& free = stands.emplace_back(stands.front());
    free.sid = standCount + 1;
    free.adjacent.clear();
    for (auto _ : state) {
        toPark.assign(1, placement);
        toPark[0].sid = free.sid;
        createNextStatic();
        parkedAircraft.pop_back();
        clearOrders();
    }
}
BENCHMARK(creation)->Unit(benchmark::kMicrosecond);

} // namespace
