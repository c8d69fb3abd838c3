// SPDX-License-Identifier: MIT
// How long a start takes from reading to ready with a full data base (500,000 registrations), all airports (44,000) and
// a large collection of liveries (30,000), and how much memory it peaks at. Every measurement runs in a process of its
// own, so that neither warm tables nor the making of the files count.
#include "airports/airport_table.h"
#include "bench/reference/full_reference.h"
#include "core/folders.h"
#include "core/parameters.h"
#include "core/xml_file.h"
#include "liveries/store.h"
#include "platform/zip.h"
#include "reference/reference.h"
#include "reference/reference_document.h"
#include "reference/scramble.h"
#include "tests/reference_text.h"

#include <array>
#include <benchmark/benchmark.h>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fmt/format.h>
#include <fstream>
#include <iterator>
#include <pugixml.hpp>
#include <string>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace kes {

using namespace bench;

namespace {

namespace fs = std::filesystem;

constexpr std::size_t airports = 44000, liveries = 30000, regcodeTitles = 10000;

std::string liveryTitle(std::size_t i) {
    return fmt::format("Model {} airline {} livery {}", typeCode(i % types), airlineCode(i / types), i);
}

bool writeZip(const fs::path& file, std::string content) {
    platform::ZipArchive zip(file);
    return zip.open(platform::ZipArchive::OpenMode::create) && zip.addData("document.xml", std::move(content)) &&
           zip.close();
}

/// What a program folder holds before its start.
bool makeFiles() {
    for (const fs::path& folder :
         {path::input, path::output, path::outputErrors, path::outputInfo, path::myRegcodes, fs::path("updates")})
        fs::create_directories(folder);
    std::string aig = "<AIG-regcodes>\n";
    for (std::size_t i = 0; i < regcodeTitles; ++i)
        aig += fmt::format("<livery title=\"{}\" reg=\"{}\"/>\n", liveryTitle(i * 3),
                           test::escaped(encryptRegcode(regcode(i * 41 + 1))));
    std::ofstream table(path::airportsMsfs, std::ios::binary);
    table << "<airports>\n";
    for (std::size_t i = 0; i < airports; ++i) {
        table << fmt::format("<airport code=\"{}\" alt=\"{}\" lat=\"{:.6f}\" lon=\"{:.6f}\" iata=\"{}\"/>\n",
                             letters(i * 7919 % 456976, 4), i % 9000, static_cast<double>(i % 17000) / 100.0 - 85.0,
                             static_cast<double>(i * 31 % 36000) / 100.0 - 180.0, i % 5 == 0 ? letters(i, 3) : "");
    }
    table << "</airports>\n";
    pugi::xml_document document;
    pugi::xml_node root = document.append_child("liveries");
    appendMeta(root);
    for (std::size_t i = 0; i < liveries; ++i) {
        pugi::xml_node liv = root.append_child("liv");
        liv.append_attribute("airl") = airlineCode(i / types).c_str();
        liv.append_attribute("type") = typeCode(i % types).c_str();
        if (i % 40 == 0)
            liv.append_attribute("cargo") = "true";
        liv.append_attribute("title") = liveryTitle(i).c_str();
        if (i % 2 == 0)
            liv.append_attribute("atcid") = regcode(i * 7 + 3).c_str();
    }
    return writeZip("updates/dbase.zip", fullReference()) &&
           writeZip("updates/AIG-regcodes.zip", aig + "</AIG-regcodes>\n") && table.good() &&
           document.save_file(path::liveriesScanned.c_str());
}

struct Measured {
    double reference = 0, table = 0, store = 0; ///< seconds
    long peakKb = 0;                            ///< largest resident size of the process so far
    std::size_t registrations = 0, airports = 0, liveries = 0;
};

long peakKb() {
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);)
        if (line.starts_with("VmHWM:"))
            return std::atol(line.c_str() + 6);
    return 0;
}

double seconds(std::chrono::steady_clock::time_point& since) {
    const auto now = std::chrono::steady_clock::now();
    const double passed = std::chrono::duration<double>(now - since).count();
    since = now;
    return passed;
}

Measured startUpData() {
    Measured m;
    auto clock = std::chrono::steady_clock::now();
    readDataBase();
    m.reference = seconds(clock);
    readAirportTable();
    m.table = seconds(clock);
    reserveLiveryTables();
    processScannedLiveries();
    m.store = seconds(clock);
    m.peakKb = peakKb();
    m.registrations = dbaseSize();
    m.airports = airportTable.size();
    m.liveries = liveryCount();
    return m;
}

/// What cannot be saved: the same documents unpacked and parsed, and nothing made of them.
Measured parseOnly() {
    Measured m;
    auto clock = std::chrono::steady_clock::now();
    const auto parseZip = [](const char* file) {
        platform::ZipArchive zip(file);
        zip.open();
        std::string text = zip.getEntries().at(0).readAsText();
        pugi::xml_document document;
        benchmark::DoNotOptimize(document.load_buffer_inplace(text.data(), text.size()).status);
    };
    parseZip("updates/dbase.zip");
    m.reference = seconds(clock);
    pugi::xml_document table;
    benchmark::DoNotOptimize(table.load_file(path::airportsMsfs.c_str()).status);
    m.table = seconds(clock);
    pugi::xml_document scanned;
    benchmark::DoNotOptimize(scanned.load_file(path::liveriesScanned.c_str()).status);
    parseZip("updates/AIG-regcodes.zip");
    m.store = seconds(clock);
    m.peakKb = peakKb();
    return m;
}

/// Runs `body` in a process of its own. False when that failed.
template <class Body> bool inProcess(Body body, Measured& result) {
    std::array<int, 2> ends{};
    if (pipe(ends.data()) != 0)
        return false;
    const pid_t child = fork();
    if (child == 0) {
        int code = 1;
        try {
            const Measured m = body();
            code = write(ends[1], &m, sizeof m) == sizeof m ? 0 : 1;
        } catch (const std::exception& error) {
            std::fprintf(stderr, "%s\n", error.what());
        }
        _exit(code);
    }
    close(ends[1]);
    const bool whole = read(ends[0], &result, sizeof result) == sizeof result;
    close(ends[0]);
    int status = 0;
    waitpid(child, &status, 0);
    return whole && status == 0;
}

/// A program folder for all measurements of this process; removed at its end.
struct Folder {
    Folder() {
        std::string pattern = (fs::temp_directory_path() / "kestrelune-bench-XXXXXX").string();
        folder = mkdtemp(pattern.data());
        fs::current_path(folder);
        setUserDataFolder(folder);
        setParameterDefaults();
        Measured unused;
        made = inProcess(
            [] {
                if (!makeFiles())
                    throw std::runtime_error("the files could not be made");
                return Measured();
            },
            unused);
    }
    ~Folder() {
        std::error_code ignored;
        fs::current_path(fs::temp_directory_path(), ignored);
        fs::remove_all(folder, ignored);
    }
    fs::path folder;
    bool made = false;
};

template <class Body> void measure(benchmark::State& state, Body body, bool filled) {
    static const Folder folder;
    Measured m;
    long peak = 0;
    for (auto _ : state) {
        fs::current_path(folder.folder);
        if (!folder.made || !inProcess(body, m)) {
            state.SkipWithError("the start-up failed");
            break;
        }
        if (filled && (m.registrations != registrations || m.airports != airports || m.liveries != liveries)) {
            state.SkipWithError(
                fmt::format("{} registrations, {} airports, {} liveries", m.registrations, m.airports, m.liveries)
                    .c_str());
            break;
        }
        state.SetIterationTime(m.reference + m.table + m.store);
        peak = std::max(peak, m.peakKb);
    }
    state.counters["referenceSeconds"] = m.reference;
    state.counters["airportSeconds"] = m.table;
    state.counters["liverySeconds"] = m.store;
    state.counters["peakMB"] = static_cast<double>(peak) / 1024.0;
}

void startUpParseOnly(benchmark::State& state) {
    measure(state, parseOnly, false);
}
BENCHMARK(startUpParseOnly)->UseManualTime()->Unit(benchmark::kSecond)->Iterations(3);

/// To stay below 2 seconds and 350 MB.
void startUpWhole(benchmark::State& state) {
    measure(state, startUpData, true);
}
BENCHMARK(startUpWhole)->UseManualTime()->Unit(benchmark::kSecond)->Iterations(3);

} // namespace
} // namespace kes
