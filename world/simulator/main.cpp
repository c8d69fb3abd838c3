// SPDX-License-Identifier: MIT
// The process entry of kestrelune-simulator.
#include "platform/system.h"
#include "world/runner/parking_report.h"
#include "world/simulator/options.h"
#include "world/view/live_view.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <stdexcept>

namespace {

std::atomic<bool> closeAsked{false};

bool writeReport(const std::string& file, const std::string& report) {
    std::string error;
    if (kes::platform::replaceFile(kes::platform::pathFrom(file), report + "\n", error))
        return true;
    std::fprintf(stderr, "report %s: %s\n", file.c_str(), error.c_str());
    return false;
}

int run(const kes::world::ProgramOptions& options) {
    using Clock = std::chrono::steady_clock;
    kes::platform::beginFineTimer();
    kes::world::Server server;
    std::string error;
    if (!server.start(options.simulator, options.server, error)) {
        std::fprintf(stderr, "%s\n", error.c_str());
        return 1;
    }
    for (const std::string& command : options.commands) {
        const std::string answer = server.command(command);
        if (answer.starts_with("error:")) {
            std::fprintf(stderr, "--command %s: %s\n", command.c_str(), answer.c_str());
            return 2;
        }
    }
    std::printf("simulator listening on port %u\n", unsigned{server.port()});
    if (options.server.control)
        std::printf("control listening on port %u\n", unsigned{server.controlPort()});
    kes::world::LiveView live(server);
    if (options.live) {
        if (!live.start({options.livePort, kes::runner::readStandFile(kes::platform::pathFrom(options.liveStands)),
                         kes::platform::pathFrom(options.liveLog), options.livePlace},
                        error)) {
            std::fprintf(stderr, "%s\n", error.c_str());
            return 1;
        }
        std::printf("live page at http://127.0.0.1:%u/\n", unsigned{live.port()});
    }
    std::fflush(stdout);

    const auto end = Clock::now() + std::chrono::duration<double, std::ratio<60>>(options.minutes);
    while (!closeAsked && (options.minutes <= 0 || Clock::now() < end))
        if (server.waitForQuit(50))
            break;
    live.stop();
    server.stop(true);
    kes::platform::endFineTimer();
    return options.reportFile.empty() || writeReport(options.reportFile, server.command("report")) ? 0 : 1;
}

} // namespace

int main(int argc, char** argv) {
    try {
        kes::world::ProgramOptions options;
        if (const auto ending = kes::world::readOptions({argv + 1, argv + argc}, options))
            return kes::command_line::tell(*ending);
        kes::platform::watchCloseSignals([] { closeAsked = true; });
        return run(options);
    } catch (const std::exception& e) {
        std::fprintf(stderr, "%s\n", e.what());
        return 2;
    }
}
