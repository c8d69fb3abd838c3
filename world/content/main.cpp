// kestrelune-content: makes a program folder, AI packages and the user's files out of the plain sources.
#include "platform/system.h"
#include "world/content/content.h"

#include <cstdio>
#include <exception>
#include <fmt/format.h>
#include <string_view>

namespace {

constexpr std::string_view usage =
    "kestrelune-content --data DIR --program-folder DIR [options]\n"
    "Makes a folder in which the program can run, out of the plain sources in the data folder.\n\n"
    "  --data DIR            the plain sources (types.csv, airlines.csv, ...)\n"
    "  --program-folder DIR  gets docs, input and updates\n"
    "  --community DIR       gets an AI package; its name must be Community\n"
    "  --appdata DIR         the roaming folder; gets InsideSystems/RealTraffic.jar and Kestrelune/parameters.xml\n"
    "  --msfs 2020|2024      the simulator that new parameters select (default 2020)\n"
    "  --help                this text\n\n"
    "A second run changes only what differs; parameters.xml and update_server.txt are never overwritten.\n";

int wrongUse(const std::string& reason) {
    fmt::print(stderr, "kestrelune-content: {}\n\n{}", reason, usage);
    return 2;
}

} // namespace

int main(int argc, char** argv) {
    kes::world::ContentPlan plan;
    for (int i = 1; i < argc; ++i) {
        const std::string_view option = argv[i];
        if (option == "--help" || option == "-h") {
            fmt::print("{}", usage);
            return 0;
        }
        std::filesystem::path* target = option == "--data"             ? &plan.data
                                        : option == "--program-folder" ? &plan.programFolder
                                        : option == "--community"      ? &plan.community
                                        : option == "--appdata"        ? &plan.appData
                                                                       : nullptr;
        if (!target && option != "--msfs") {
            return wrongUse(fmt::format("unknown option {}", option));
        }
        if (i + 1 >= argc || argv[i + 1][0] == '\0') {
            return wrongUse(fmt::format("{} needs a value", option));
        }
        const std::string_view value = argv[++i];
        if (target) {
            *target = kes::platform::pathFrom(value);
        } else if (value == "2020" || value == "2024") {
            plan.msfs2020 = value == "2020";
        } else {
            return wrongUse(fmt::format("--msfs is 2020 or 2024, not {}", value));
        }
    }
    if (plan.data.empty() || plan.programFolder.empty()) {
        return wrongUse("--data and --program-folder are needed");
    }
    try {
        const kes::world::ContentCount count = kes::world::makeContent(plan);
        fmt::print("{} types, {} airlines, {} registrations, {} airports\n", count.types, count.airlines,
                   count.registrations, count.airports);
        if (!plan.community.empty()) {
            fmt::print("{} liveries of {} models in the package {}\n", count.liveries, count.models,
                       kes::world::aiPackage);
        }
    } catch (const std::exception& error) {
        fmt::print(stderr, "kestrelune-content: {}\n", error.what());
        return 1;
    }
    return 0;
}
