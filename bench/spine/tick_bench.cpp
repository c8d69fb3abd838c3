// SPDX-License-Identifier: MIT
// What one main tick costs with 300 and with 3000 active aircraft, against the bare additions of as many poses.
// Build type Release; prints ratios to the baseline of the same run.
#include "airports/airport_table.h"
#include "core/folders.h"
#include "core/parameters.h"
#include "core/random.h"
#include "core/run_state.h"
#include "core/xml_file.h"
#include "liveries/store.h"
#include "reference/reference.h"
#include "reference/reference_document.h"
#include "sim/ai_commands.h"
#include "spine/main_tick.h"
#include "tests/small_reference.h"
#include "traffic/live_table.h"
#include "world/replay/virtual_flight.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <ctime>
#include <filesystem>
#include <fmt/format.h>
#include <vector>

namespace {

using namespace kes;
using Clock = std::chrono::steady_clock;

constexpr LatLon field{48.354, 11.786};

/// Microseconds of each tick by the wall, and by this thread's own processor time.
struct Times {
    std::vector<double> us, cpuUs;
    double median() {
        std::nth_element(us.begin(), us.begin() + static_cast<std::ptrdiff_t>(us.size() / 2), us.end());
        return us[us.size() / 2];
    }
    double percentile(double p) {
        std::sort(us.begin(), us.end());
        return us[static_cast<std::size_t>(p * static_cast<double>(us.size() - 1))];
    }
};

// As many liveries as a well-filled simulator has: 5000.
constexpr int airlineCount = 500, typeCount = 10;

std::string airlineCode(int n) {
    return {static_cast<char>('A' + n / 100), static_cast<char>('A' + n / 10 % 10), static_cast<char>('A' + n % 10)};
}

std::string typeCode(int n) {
    return fmt::format("A32{}", n);
}

void makeFolder() {
    namespace fs = std::filesystem;
    const fs::path folder = fs::temp_directory_path() / "kestrelune-bench";
    fs::remove_all(folder);
    fs::create_directories(folder / "input");
    fs::create_directories(folder / "output");
    fs::current_path(folder);
    setUserDataFolder(folder);
    std::string types, airlines;
    for (int t = 0; t < typeCount; ++t)
        types += fmt::format("{},Large,34.1\n", typeCode(t));
    for (int a = 0; a < airlineCount; ++a)
        airlines += fmt::format("{},Airline {}\n", airlineCode(a), a);
    test::writeSmallReference({.types = types, .airlines = airlines});
    pugi::xml_document document;
    pugi::xml_node root = document.append_child("liveries");
    appendMeta(root);
    for (int i = 0; i < airlineCount * typeCount; ++i) {
        const std::string airline = airlineCode(i % airlineCount), type = typeCode(i / airlineCount);
        pugi::xml_node liv = root.append_child("liv");
        liv.append_attribute("airl") = airline.c_str();
        liv.append_attribute("type") = type.c_str();
        liv.append_attribute("title") = fmt::format("Bench {} {}", type, airline).c_str();
    }
    saveXml(document, path::liveriesScanned);
}

/// Aircraft i at a time: on a circle of its own round the field, 250 knots.
std::string circlingLine(std::uint32_t i, double seconds) {
    const double radiusNm = 3.0 + 0.06 * (i % 300);
    const double rate = 250.0 / 3600.0 / radiusNm;
    const double angle = i * 2.39996 + rate * seconds;
    const LatLon p = destination(field, normalizeAngle(angle), radiusNm * feetPerNm);
    const double track = normalizeAngle(angle + pi / 2) * radToDeg;
    const std::string airline = airlineCode(static_cast<int>(i * 7 % airlineCount));
    return fmt::format(
        "RTTFC,{},{:.5f},{:.5f},{},0,1,{:.2f},250.00,{}{},{},D-B{},MUC,LHR,{:.1f},X2,LH1,adsb_icao,9000,343,280,"
        "0.5,0.0,-5.0,54.49,{:.2f},1280,none,A3,1012.8,9000,-1,54.84,none,0.0,-20.8,227,19,-15,14,1,0,0,{}",
        4000000 + i, p.lat, p.lon, 4000 + 40 * (i % 300), track, airline, i, typeCode(static_cast<int>(i) % typeCount),
        i, 1700000000.0 + seconds, track, airline);
}

double cpuUs() {
    timespec now{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) * 1e6 + static_cast<double>(now.tv_nsec) / 1e3;
}

std::size_t activeCount() {
    return static_cast<std::size_t>(std::count_if(liveAircraft.begin(), liveAircraft.end(), [](const LiveAircraft& a) {
        return a.st == AircraftStatus::active;
    }));
}

struct Feed {
    std::uint32_t aircraft = 0;
    double interval = 5; ///< seconds between two reports of an aircraft
    bool bursts = false; ///< all aircraft report at once; else evenly spread
};

/// The tick with the feed going on.
Times flyCircles(const Feed& feed, double warmUpSeconds, double seconds) {
    Times times;
    std::uint64_t sent = 0;
    const auto total = static_cast<int>((warmUpSeconds + seconds) * 100);
    for (int tick = 0; tick < total; ++tick) {
        const double now = tick / 100.0;
        const double cycles = now / feed.interval;
        while (static_cast<double>(sent) < (feed.bursts ? std::floor(cycles) : cycles) * feed.aircraft) {
            const auto i = static_cast<std::uint32_t>(sent % feed.aircraft);
            world::virtualDatagram(circlingLine(i, now));
            ++sent;
        }
        world::virtualSimulatorStep();
        const double cpuStart = cpuUs();
        const auto start = Clock::now();
        if (!mainTick())
            break;
        const auto end = Clock::now();
        const double cpu = cpuUs() - cpuStart;
        if (now >= warmUpSeconds) {
            times.us.push_back(std::chrono::duration<double, std::micro>(end - start).count());
            times.cpuUs.push_back(cpu);
        }
    }
    return times;
}

/// Baseline: nothing but the additions of a tick on as many poses, and the copy of their records.
double additionsUs(std::size_t count) {
    std::vector<LiveAircraft> poses(count);
    std::vector<AiPositionRecord> out(count);
    Times times;
    for (int i = 0; i < 2001; ++i) {
        const auto start = Clock::now();
        for (std::size_t n = 0; n < count; ++n) {
            LiveAircraft& a = poses[n];
            a.lat += a.latStep;
            a.lon += a.lonStep;
            a.heading += a.headingStep;
            a.pitch += a.pitchStep;
            a.bank += a.bankStep;
            a.alt += a.altStep;
            out[n] = {a.lat, a.lon, a.pitch, a.bank, a.heading, a.alt, a.vsOut, a.tasOut, a.objectid};
        }
        times.us.push_back(std::chrono::duration<double, std::micro>(Clock::now() - start).count());
    }
    return times.median();
}

/// The same flight `passes` times. The same tick does the same work in each, so that what is long in one pass only is
/// the machine's doing: interrupts, and the host that takes the processor away unseen.
void run(const Feed& feed, double warmUp, double seconds, int passes) {
    world::SimulatorOptions options;
    options.lat = field.lat;
    options.lon = field.lon;
    options.altFeet = 20000; // above AIRPORT_HEIGHT: a range of 40 nm
    options.maxObjects = 5000;
    options.terrain.airfields.push_back({field.lat, field.lon, 1487.0});
    Times times;
    std::vector<double> least;
    std::size_t active = 0;
    for (int pass = 0; pass < passes; ++pass) {
        setRandomSeed(1);
        tickCount = 0;
        world::startVirtualFlight(options);
        setRange(40);
        times = flyCircles(feed, warmUp, seconds);
        active = activeCount();
        world::endVirtualFlight();
        if (least.empty())
            least = times.cpuUs;
        for (std::size_t i = 0; i < std::min(least.size(), times.cpuUs.size()); ++i)
            least[i] = std::min(least[i], times.cpuUs[i]);
        const auto longest = std::max_element(times.cpuUs.begin(), times.cpuUs.end());
        fmt::print("pass {}: largest tick {:.0f} us of processor time at {:.2f} s\n", pass + 1, *longest,
                   warmUp + static_cast<double>(longest - times.cpuUs.begin()) / 100.0);
    }
    const double base = additionsUs(feed.aircraft);
    const double median = times.median();
    const auto longest = std::max_element(least.begin(), least.end());
    fmt::print("mainTick, {} active aircraft at the end{}, {} ticks: median {:.1f} us = {:.1f} x the additions alone "
               "({:.2f} us); 99.9 % {:.0f} us by the wall; largest {:.0f} us of processor time at {:.2f} s, the least "
               "of {} passes\n",
               active, feed.bursts ? ", born out of bursts" : "", times.us.size(), median, median / base, base,
               times.percentile(0.999), *longest, warmUp + static_cast<double>(longest - least.begin()) / 100.0,
               passes);
}

} // namespace

int main(int argc, char**) {
    makeFolder();
    setParameterDefaults();
    par::LOG.value = false;
    readDataBase();
    processScannedLiveries();
    airportTable.push_back({"EDDM", "MUC", field.lat, field.lon, 1487});
    const bool quick = argc > 1; // any argument: a short look
    run({300, 5, true}, 0, 220, 3);
    run({300, 5}, 220, quick ? 60 : 600, 3);
    run({3000, 20}, 1620, quick ? 10 : 60, 1);
}
