// SPDX-License-Identifier: MIT
// kestrelune-replay: replays traffic through the whole program and judges the motion.
#include "platform/output.h"
#include "tools/replay/metrics_text.h"
#include "tools/replay/replay.h"
#include "tools/replay/scenarios.h"

#include <cstdio>
#include <exception>
#include <fmt/format.h>
#include <fstream>

namespace {

using namespace kes::replay;

void writeText(const std::filesystem::path& file, const std::string& text) {
    std::ofstream out(file, std::ios::binary | std::ios::trunc);
    out << text;
    out.close();
    if (!out)
        throw std::runtime_error(fmt::format("{} cannot be written", file.string()));
}

void listScenarios() {
    for (const std::string& name : scenarioNames())
        fmt::print("{}\n", name);
    fmt::print("Variants, as in turns+noise+10s: 2s 5s 10s (spacing of the reports), noise, gaps, hover, real.\n");
}

int replay(const Options& options) {
    const bool quiet = options.quiet || !kes::platform::isTerminal(kes::platform::Output::Standard::error);
    int told = -1;
    const Result result = runReplay(options, [&](double part) {
        const int percent = static_cast<int>(part * 100.0);
        if (quiet || percent / 5 == told / 5)
            return;
        told = percent;
        fmt::print(stderr, "\rreplay: {} %", percent);
        std::fflush(stderr);
    });
    if (!quiet)
        fmt::print(stderr, "\rreplay: 100 %\n");
    writeText(options.out / "metrics.json", metricsJson(result));
    writeMapPage(options.out / "map.html", result.map);
    fmt::print("{}", verdictText(result));
    if (options.table)
        fmt::print("{}{}{}", metricsTable(result), overspeedText(result.overspeed), parkingText(result.parking));
    for (const std::string& fault : result.faults)
        fmt::print("internal check failed: {}\n", fault);
    fmt::print("replay: {}; see {}\n", result.faults.empty() ? "no internal check failed" : "INTERNAL CHECKS FAILED",
               (options.out / "map.html").string());
    return result.faults.empty() ? 0 : 1;
}

} // namespace

int main(int argc, char** argv) {
    Options options;
    options.data = KES_DATA_FOLDER;
    if (const auto ending = readOptions({argv + 1, argv + argc}, options))
        return kes::command_line::tell(*ending);
    if (options.list) {
        listScenarios();
        return 0;
    }
    try {
        return replay(options);
    } catch (const std::exception& e) {
        fmt::print(stderr, "\nkestrelune-replay: {}\n", e.what());
        return 1;
    }
}
