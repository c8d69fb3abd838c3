// SPDX-License-Identifier: MIT
// Two hours at two full airports: what a tick costs, whether memory grows, and whether every check holds.
#include "tests/replay/stand_load.h"

#include <cstdlib>
#include <fmt/ranges.h>
#include <fstream>
#include <unistd.h>

using namespace kes;

namespace {

double residentMb() {
    std::ifstream file("/proc/self/statm");
    long size = 0, resident = 0;
    file >> size >> resident;
    return static_cast<double>(resident * sysconf(_SC_PAGESIZE)) / (1 << 20);
}

struct Percentiles {
    double median = 0, most = 0, largest = 0;
};

Percentiles percentilesOf(std::vector<float> ms) {
    if (ms.empty())
        return {};
    std::sort(ms.begin(), ms.end());
    const auto at = [&](double share) {
        return ms[static_cast<std::size_t>(share * static_cast<double>(ms.size() - 1))];
    };
    return {at(0.5), at(0.99), ms.back()};
}

} // namespace

/// The argument is minutes. Returns 1 when a check has failed, else 0.
int main(int argc, char** argv) {
    const double minutes = argc > 1 ? std::atof(argv[1]) : 120;
    constexpr int standCount = 600, mostParked = 500;
    replay::StandLoad load(standCount, mostParked);
    load.start();
    std::vector<float> ms, all;
    load.tickMs = &ms;
    std::vector<std::string> memory;
    for (int minute = 1; minute <= minutes; ++minute) {
        // The park airport changes at a third of the time, and back at two thirds.
        if (minute == static_cast<int>(minutes / 3.0) || minute == static_cast<int>(minutes / 1.5))
            load.jump(1 - load.here);
        load.run(60);
        if (minute == 1) {
            const auto longest = std::max_element(ms.begin(), ms.end());
            fmt::print("load and first fill of {} stands: longest tick {:.2f} ms\n", standCount, *longest);
        }
        all.insert(all.end(), ms.begin(), ms.end());
        if (minute % 30 == 0)
            // Of our own times only what was written is in memory.
            memory.push_back(fmt::format("{} min {:.1f} MB", minute,
                                         residentMb() - static_cast<double>(all.size() * sizeof(float)) / (1 << 20)));
        if (minute % 10 == 0) {
            const Percentiles p = percentilesOf(ms);
            fmt::print(
                "minute {}: last one median {:.3f} ms, 99 % {:.3f}, largest {:.3f}; {} static and {} live at most\n",
                minute, p.median, p.most, p.largest, load.mostStatic, load.mostLive);
        }
        ms.clear();
    }
    const Percentiles p = percentilesOf(all);
    fmt::print("main tick over {} min: median {:.3f} ms, 99 % {:.3f}, largest {:.3f}; {} live parked at most\n",
               minutes, p.median, p.most, p.largest, load.mostParkedLive);
    fmt::print("resident memory: {}\n", fmt::join(memory, ", "));
    for (const std::string& fault : load.faults)
        fmt::print("FAULT {}\n", fault);
    return load.faults.empty() ? 0 : 1;
}
