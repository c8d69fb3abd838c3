// SPDX-License-Identifier: MIT
#include "platform/socket.h"
#include "platform/system.h"
#include "world/source/source_run.h"

#include <cstdio>
#include <exception>
#include <string>
#include <vector>

namespace {

kes::source::SourceRun* running = nullptr;

int runSource(const std::vector<std::string>& arguments) {
    using namespace kes;
    source::SourceOptions options;
    if (const auto ending = source::readOptions(arguments, options)) {
        return command_line::tell(*ending);
    }
    std::string error;
    source::SourceRun run(options);
    if (!run.open(error)) {
        std::fprintf(stderr, "kestrelune-source: %s\n", error.c_str());
        return 1;
    }
    // The process ends with this run, so the pointer holds for every signal that can still come.
    running = &run;
    platform::watchCloseSignals([] { running->stop(); });
    run.run();
    const std::string report = run.reportJson();
    std::printf("%s\n", report.c_str());
    std::fflush(stdout);
    int code = 0;
    if (!options.reportFile.empty() &&
        !platform::replaceFile(platform::pathFrom(options.reportFile), report + "\n", error)) {
        std::fprintf(stderr, "kestrelune-source: cannot write the report: %s\n", error.c_str());
        code = 1;
    }
    std::fflush(stderr);
    std::_Exit(code); // the signal watcher never returns
}

} // namespace

int main(int argc, char** argv) {
    try {
        if (const int code = kes::platform::startSockets(); code != 0) {
            std::fprintf(stderr, "kestrelune-source: no sockets, error %d\n", code);
            return 1;
        }
        return runSource({argv + 1, argv + argc});
    } catch (const std::exception& e) {
        std::fprintf(stderr, "kestrelune-source: %s\n", e.what());
        return 1;
    }
}
