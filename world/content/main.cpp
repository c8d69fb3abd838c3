// SPDX-License-Identifier: MIT
// kestrelune-content: makes a program folder, AI packages and the user's files out of the plain sources.
#include "core/text.h"
#include "platform/system.h"
#include "tools/command_line/command_line.h"
#include "world/content/ai_package.h"
#include "world/content/content.h"

#include <CLI/CLI.hpp>
#include <cstdio>
#include <exception>
#include <fmt/format.h>
#include <limits>

namespace {

using namespace kes;

bool readAirport(std::string_view text, std::optional<world::ScenarioAirport>& airport) {
    constexpr double any = std::numeric_limits<double>::max();
    const auto parts = split(text, ',');
    world::ScenarioAirport read;
    if (parts.size() != 4 || parts[0].size() != 4 || !command_line::readNumber(parts[1], read.place.lat, -90.0, 90.0) ||
        !command_line::readNumber(parts[2], read.place.lon, -180.0, 180.0) ||
        !command_line::readNumber(parts[3], read.elevation, -any, any))
        return false;
    read.code = parts[0];
    airport = read;
    return true;
}

std::optional<command_line::Ending> readPlan(const std::vector<std::string>& arguments, world::ContentPlan& plan) {
    CLI::App app("Makes a folder in which the program can run, out of the plain sources in the data folder.",
                 "kestrelune-content");
    command_line::prepare(app);
    const auto folder = [&app](const char* name, std::filesystem::path& target, const char* description) {
        command_line::addValue(
            app, name, "DIR", "a folder",
            [&target](const std::string& text) {
                target = platform::pathFrom(text);
                return !text.empty();
            },
            description);
    };
    folder("--data", plan.data, "The plain sources (types.csv, airlines.csv, ...); needed");
    folder("--program-folder", plan.programFolder, "Gets docs, input and updates; needed");
    folder("--community", plan.community, "Gets an AI package; its name must be Community");
    folder("--appdata", plan.appData,
           "The roaming folder; gets InsideSystems/RealTraffic.jar and Kestrelune/parameters.xml");
    command_line::addValue(
        app, "--msfs", "2020|2024", "2020 or 2024",
        [&plan](const std::string& text) {
            plan.msfs2020 = text == "2020";
            return text == "2020" || text == "2024";
        },
        "The simulator that new parameters select (default 2020)");
    command_line::addValue(
        app, "--scenario-airport", "CODE,LAT,LON,FT", "CODE,LAT,LON,FT",
        [&plan](const std::string& text) { return readAirport(text, plan.scenarioAirport); },
        "Where the built-in scenario has its airport: it gets stands, and aircraft that stand there");
    app.footer("A second run changes only what differs; parameters.xml and update_server.txt are never overwritten.");
    if (const auto ending = command_line::parse(app, arguments))
        return ending;
    if (plan.data.empty() || plan.programFolder.empty())
        return command_line::wrong(app, "--data and --program-folder are needed");
    return std::nullopt;
}

} // namespace

int main(int argc, char** argv) {
    world::ContentPlan plan;
    if (const auto ending = readPlan({argv + 1, argv + argc}, plan))
        return command_line::tell(*ending);
    try {
        const world::ContentCount count = world::makeContent(plan);
        fmt::print("{} types, {} airlines, {} registrations, {} airports\n", count.types, count.airlines,
                   count.registrations, count.airports);
        if (!plan.community.empty()) {
            fmt::print("{} liveries of {} models in the package {}\n", count.liveries, count.models, world::aiPackage);
        }
    } catch (const std::exception& error) {
        fmt::print(stderr, "kestrelune-content: {}\n", error.what());
        return 1;
    }
    return 0;
}
