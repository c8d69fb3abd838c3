// SPDX-License-Identifier: MIT
// Lines per second through the line filter, against two things that cannot be done faster in the same run: copying the
// line, and finding its commas. Own main: the ratios and the allocation count need all results at hand.
#include "core/run_state.h"
#include "feed/traffic_reader.h"
#include "tests/count_allocations.h"

#include <algorithm>
#include <array>
#include <benchmark/benchmark.h>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>

namespace {

using namespace kes;

const std::string keptLine =
    "RTTFC,4843221,41.50000,2.10000,12375,-1376,1,246.50,310.20,KES42,A320,EC-KES,LEMD,LEBL,"
    "1700000000.5,T,KS42,adsb_icao,12000,280,352,0.55,0.1,-2.5,244.10,245.00,1280,none,A3,1013.2,"
    "35008,-1,54.84,autopilot|vnav|lnav|tcas,0.0,-20.8,227,19,-15,14,1,12375,268697,KES";
const std::string farLine = "RTTFC,4843221,51.50000" + keptLine.substr(keptLine.find(",2.10000"));
const std::string unreadableLine = [] {
    std::string line = keptLine;
    return line.replace(line.find("310.20"), 6, "null");
}();

void handOver(const std::string& line) {
    trafficReader.text = line;
    trafficReader.onDatagram();
}

void keep() {
    handOver(keptLine);
    static std::array<AircraftReport, 2> room;
    benchmark::DoNotOptimize(reportQueue.take(room));
}

void copyLine() {
    static char target[512];
    benchmark::DoNotOptimize(std::memcpy(target, keptLine.data(), keptLine.size()));
    benchmark::ClobberMemory();
}

void findCommas() {
    const char* at = keptLine.data();
    const char* const end = at + keptLine.size();
    std::size_t commas = 0;
    while ((at = static_cast<const char*>(std::memchr(at, ',', static_cast<std::size_t>(end - at)))) != nullptr) {
        ++at;
        ++commas;
    }
    benchmark::DoNotOptimize(commas);
}

/// Best of five runs of a tenth of a second, nanoseconds per call.
double nanoseconds(const std::function<void()>& work) {
    using Clock = std::chrono::steady_clock;
    double best = 1e12;
    for (int run = 0; run < 5; ++run) {
        std::size_t calls = 0;
        const auto start = Clock::now();
        auto now = start;
        while (now - start < std::chrono::milliseconds(100)) {
            for (int i = 0; i < 500; ++i)
                work();
            calls += 500;
            now = Clock::now();
        }
        best =
            std::min(best, std::chrono::duration<double, std::nano>(now - start).count() / static_cast<double>(calls));
    }
    return best;
}

std::size_t allocationsOf(const std::function<void()>& work) {
    // Every slot of the queue has been used once before the count begins.
    for (std::size_t i = 0; i <= ReportQueue::capacity; ++i)
        work();
    const std::size_t before = test::allocations;
    for (int i = 0; i < 1000; ++i)
        work();
    return test::allocations - before;
}

} // namespace

int main() {
    trafficReader.setUserPosition(41.3, 2.08);
    trafficReader.setReferenceAirport(FeedAirport{{41.3, 2.08}, 12.0});
    reportQueue.setAccepting(true);

    const double copy = nanoseconds(copyLine);
    const double commas = nanoseconds(findCommas);
    std::printf("line of %zu bytes: copy %.0f ns, commas %.0f ns\n", keptLine.size(), copy, commas);
    const struct {
        const char* name;
        std::function<void()> work;
        bool mayAllocate;
    } cases[] = {{"kept", keep, false},
                 {"out of range", [] { handOver(farLine); }, false},
                 {"unreadable", [] { handOver(unreadableLine); }, true}};
    bool fine = true;
    for (const auto& c : cases) {
        const double each = nanoseconds(c.work);
        const std::size_t taken = allocationsOf(c.work);
        std::printf("%-12s %8.0f ns  %9.0f lines/s  %6.1f x commas  %7.1f x copy  %zu allocations per 1000 lines\n",
                    c.name, each, 1e9 / each, each / commas, each / copy, taken);
        fine = fine && (c.mayAllocate || taken == 0);
    }
    if (!fine)
        std::printf("FAILED: a kept or dropped line allocates\n");
    return fine ? 0 : 1;
}
