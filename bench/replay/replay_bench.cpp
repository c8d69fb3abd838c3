// SPDX-License-Identifier: MIT
// One hour of 300 aircraft through the whole replay: logic, simulator, judge, baselines, files. The baseline of the
// same run is the additions of a tick on as many poses, as often.
#include "bench/replay/stand_load.h"
#include "core/geo.h"
#include "tools/replay/replay.h"

#include <chrono>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <fmt/format.h>
#include <fmt/os.h>
#include <unistd.h>
#include <vector>

using namespace kes;

namespace {

constexpr LatLon field{48.353783, 11.786086};
constexpr double spacing = 5.0;        ///< seconds between reports of one aircraft
constexpr std::uint32_t flights = 316; ///< some are always on their way in, so that 300 are there

double seconds(std::chrono::steady_clock::time_point since) {
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - since).count();
}

/// Two in three circle in the air, every third one taxies round a square.
std::string lineOf(std::uint32_t i, double t) {
    const bool taxies = i % 3 == 0;
    double lat = 0, lon = 0, track = 0;
    if (taxies) {
        const double side = 600.0, run = std::fmod(t * 7.7 + i * 37.0, 4.0 * side); // 15 knots
        const int edge = static_cast<int>(run / side);
        const double along = run - edge * side;
        const double north = edge == 0 ? along : edge == 1 ? side : edge == 2 ? side - along : 0.0;
        const double east = edge == 0 ? 0.0 : edge == 1 ? along : edge == 2 ? side : side - along;
        lat = field.lat + (north + 700.0 * (i % 30)) / 111120.0 - 0.09;
        lon = field.lon + (east + 700.0 * (i / 30)) / 73850.0 - 0.04;
        track = edge * 90.0;
    } else {
        const double radius = 3.0 + 0.1 * i, angle = i * 2.39996 + 250.0 / 3600.0 / radius * t;
        const LatLon p = destination(field, normalizeAngle(angle), radius * feetPerNm);
        lat = p.lat, lon = p.lon, track = normalizeAngle(angle + pi / 2) * radToDeg;
    }
    return fmt::format("RTTFC,{},{:.5f},{:.5f},{},0,{},{:.2f},{:.2f},DLH{},A320,D-B{},MUC,LHR,{:.1f},X2,LH1,adsb_icao,"
                       "9000,343,{},0.5,0.0,{},54.49,{:.2f},1280,none,A3,1012.8,9000,-1,54.84,none,0.0,-20.8,227,19,"
                       "-15,14,1,0,0,DLH\n",
                       4000000 + i, lat, lon, taxies ? 0 : 3000 + 100 * i, taxies ? 0 : 1, track, taxies ? 15.0 : 250.0,
                       i, i, 1700000000.0 + t, taxies ? -1 : 280, taxies ? 0 : 12, track);
}

void writeFeed(const std::string& file, std::uint32_t count, double length) {
    auto out = fmt::output_file(file);
    const auto reports = static_cast<std::uint64_t>(length / spacing * count);
    for (std::uint64_t n = 0; n < reports; ++n)
        out.print("{}", lineOf(static_cast<std::uint32_t>(n % count), static_cast<double>(n) * spacing / count));
}

double additions(std::size_t count, std::int64_t ticks) {
    struct Numbers {
        double value[6], step[6];
    };
    std::vector<Numbers> all(count, Numbers{{50, 8, 0, 0, 1, 5000}, {1e-6, 1e-6, 1e-7, 1e-7, 1e-6, 0.01}});
    const auto start = std::chrono::steady_clock::now();
    for (std::int64_t tick = 0; tick < ticks; ++tick) {
        for (Numbers& n : all)
            for (int k = 0; k < 6; ++k)
                n.value[k] += n.step[k];
    }
    const double took = seconds(start);
    double sum = 0;
    for (const Numbers& n : all)
        sum += n.value[0];
    return std::isfinite(sum) ? took : 0.0;
}

} // namespace

/// "stands" and minutes: two full airports instead. Any other argument: a short look.
int main(int argc, char** argv) {
    if (argc > 1 && std::string_view(argv[1]) == "stands")
        return runStandLoad(argc > 2 ? std::atof(argv[2]) : 120);
    const double minutes = argc > 1 ? 6 : 60;
    std::string folder = (std::filesystem::temp_directory_path() / "kestrelune-replay-XXXXXX").string();
    if (mkdtemp(folder.data()) == nullptr)
        return 1;
    const std::string feed = folder + "/feed.txt";
    writeFeed(feed, flights, minutes * 60.0);
    replay::Options o;
    o.feed = feed;
    o.out = folder + "/out";
    o.data = KES_SOURCE_DIR "/data";
    o.at = replay::Viewpoint{field, 30000};
    o.quiet = true;
    o.minutes = minutes;
    const auto start = std::chrono::steady_clock::now();
    const replay::Result result = replay::runReplay(o, [](double) {});
    const double took = seconds(start);
    const double base = additions(300, result.ticks);
    fmt::print("replay, {} aircraft at most, {} reports, {:.0f} s of traffic: {:.1f} s, {:.0f} times real time, {:.2f} "
               "us per aircraft and tick, {:.0f} x the additions alone ({:.2f} s); faults {}\n",
               result.mostAtOnce, result.lines, result.ticks / 100.0, took, result.ticks / 100.0 / took,
               took * 1e6 / (static_cast<double>(result.mostAtOnce) * result.ticks), took / base, base,
               result.faults.size());
    std::error_code ignored;
    std::filesystem::remove_all(folder, ignored);
    return result.faults.empty() ? 0 : 1;
}
