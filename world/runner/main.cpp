// SPDX-License-Identifier: MIT
// kestrelune-run: the program with its stand-in world around it, from nothing to a report.
#include "platform/system.h"
#include "world/runner/options.h"
#include "world/runner/parking_report.h"
#include "world/runner/plan.h"
#include "world/runner/process.h"

#include <atomic>
#include <chrono>
#include <cstdio>
#include <exception>
#include <fmt/format.h>
#include <fstream>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;
using namespace kes::runner;
using Clock = std::chrono::steady_clock;

constexpr const char* markName = ".made-by-kestrelune-run";
constexpr int startMs = 30000, closeMs = 30000, standInCloseMs = 10000, contentMs = 120000, firstWordMs = 5000;

std::atomic<bool> endAsked{false};

void say(const std::string& text) {
    std::printf("%s\n", text.c_str());
    std::fflush(stdout);
}

/// The places of one run.
struct Places {
    fs::path build, project, folder, community, appData, output;
    fs::path program(const char* name, const char* subfolder) const {
        for (const fs::path& p : {build / subfolder / name, build / name}) {
            if (fs::exists(p)) {
                return p;
            }
        }
        return build / subfolder / name;
    }
};

/// A folder that an earlier run made is removed; any other folder with something in it is left alone.
bool clearFolder(const fs::path& folder, bool keep, std::string& error) {
    if (!keep && fs::exists(folder) && !fs::is_empty(folder)) {
        if (!fs::exists(folder / markName)) {
            error = fmt::format("{} holds files that no run made; give --keep to use it as it is", folder.string());
            return false;
        }
        fs::remove_all(folder);
    }
    fs::create_directories(folder);
    std::ofstream(folder / markName) << "This folder is removed by the next run.\n";
    return true;
}

nlohmann::json readJson(const fs::path& file) {
    std::ifstream in(file);
    nlohmann::json value = nlohmann::json::parse(in, nullptr, false);
    return value.is_discarded() ? nlohmann::json() : value;
}

std::string startText(const UserStart& u) {
    return fmt::format("{:.6f},{:.6f},{:.0f},{:.0f}", u.place.lat, u.place.lon, u.altitude, u.heading);
}

/// The processes of a run. Whatever happens, their destructors end them.
struct World {
    Child simulator, source, program;
    std::string page; ///< the address of the live page
    std::vector<std::string> problems;
    void complain(const std::string& text, const Child* about = nullptr) {
        problems.push_back(text);
        std::fprintf(stderr, "kestrelune-run: %s\n%s", text.c_str(), about ? about->lastLines().c_str() : "");
    }
};

bool makeFolder(World& world, const Places& at, const RunOptions& options, const RunPlan& plan) {
    std::string error;
    if (!clearFolder(at.folder, options.keep, error)) {
        world.complain(error);
        return false;
    }
    fs::create_directories(at.output);
    fs::create_directories(at.community);
    Child content;
    ChildSpec spec{"content",
                   at.program("kestrelune-content", "world"),
                   {"--data", (at.project / "data").string(), "--program-folder", at.folder.string(), "--community",
                    at.community.string(), "--appdata", at.appData.string(), "--msfs", options.msfs},
                   {},
                   {},
                   at.output / "content.txt",
                   false};
    if (const Airport& a = plan.trafficAirport; !a.icao.empty()) {
        spec.arguments.insert(spec.arguments.end(),
                              {"--scenario-airport",
                               fmt::format("{},{:.6f},{:.6f},{:.0f}", a.icao, a.place.lat, a.place.lon, a.elevation)});
    }
    if (!content.start(spec, error)) {
        world.complain(error);
        return false;
    }
    if (!content.waitForEnd(contentMs) || content.exitCode() != 0) {
        world.complain("the program folder could not be made", &content);
        return false;
    }
    return true;
}

fs::path standFile(const Places& at, const RunPlan& plan) {
    return at.folder / "updates" / "MSFS" / "archive" / "stock" / (plan.standsCode + ".xml");
}

/// Puts the stands of a recording's airport where the program asks for them, and that airport on the user's list.
bool addStands(World& world, const Places& at, const RunOptions& options, const RunPlan& plan) {
    if (options.stands.empty())
        return true;
    Child pack;
    std::string error;
    if (!pack.start({"pack",
                     at.program("kestrelune-pack", "tools"),
                     {"--apt", options.stands, "--out", (at.folder / "updates").string()},
                     {},
                     {},
                     at.output / "pack.txt",
                     false},
                    error)) {
        world.complain(error);
        return false;
    }
    if (!pack.waitForEnd(contentMs) || pack.exitCode() != 0 || !fs::exists(standFile(at, plan))) {
        world.complain(fmt::format("{} gave no stands of {}", options.stands, plan.standsCode), &pack);
        return false;
    }
    const fs::path list = at.folder / "airports" / "my_park_airports.txt";
    if (!fs::exists(list)) {
        fs::create_directories(list.parent_path());
        std::ofstream(list) << plan.standsCode << '\n';
    }
    return true;
}

bool startSimulator(World& world, const Places& at, const RunOptions& options, const RunPlan& plan) {
    std::vector<std::string> arguments{"--port",      "0",
                                       "--at",        startText(plan.user),
                                       "--community", at.community.string(),
                                       "--msfs",      options.msfs,
                                       "--report",    (at.output / "simulator.json").string()};
    arguments.insert(arguments.end(), {"--live", "0", "--live-stands", standFile(at, plan).string(), "--live-log",
                                       (at.folder / "Log.txt").string(), "--live-place", plan.standsCode});
    for (const Airport& a : plan.airfields) {
        arguments.push_back("--airfield");
        arguments.push_back(fmt::format("{:.6f},{:.6f},{:.0f}", a.place.lat, a.place.lon, a.elevation));
    }
    std::string error;
    if (!world.simulator.start({"simulator",
                                at.program("kestrelune-simulator", "world"),
                                arguments,
                                {},
                                {},
                                at.output / "simulator.txt",
                                false},
                               error)) {
        world.complain(error);
        return false;
    }
    const auto port = world.simulator.waitForLine("simulator listening on port ", startMs);
    const auto page = world.simulator.waitForLine("live page at ", startMs);
    if (!port || !page) {
        world.complain("the simulator did not come up", &world.simulator);
        return false;
    }
    std::ofstream config(at.folder / "SimConnect.cfg");
    config << "[SimConnect]\nProtocol=IPv4\nAddress=127.0.0.1\nPort=" << *port
           << "\nMaxReceiveSize=41088\nDisableNagle=1\n";
    config.close();
    world.page = *page;
    if (!config) {
        world.complain("SimConnect.cfg could not be written");
        return false;
    }
    return true;
}

bool startSource(World& world, const Places& at, const RunOptions& options, const RunPlan& plan) {
    std::vector<std::string> arguments{"--report", (at.output / "source.json").string()};
    if (!options.feed.empty()) {
        // A recording is not to be half over when the program begins to listen.
        arguments.insert(arguments.end(), {"--feed", options.feed, "--wait-for-position"});
    } else if (plan.scenarioAirport) {
        const Airport& a = *plan.scenarioAirport;
        arguments.insert(arguments.end(), {"--at", fmt::format("{:.6f},{:.6f}", a.place.lat, a.place.lon),
                                           "--elevation", fmt::format("{:.0f}", a.elevation)});
    }
    arguments.insert(arguments.end(), options.sourceArguments.begin(), options.sourceArguments.end());
    std::string error;
    if (!world.source.start(
            {"source", at.program("kestrelune-source", "world"), arguments, {}, {}, at.output / "source.txt", false},
            error)) {
        world.complain(error);
        return false;
    }
    return true;
}

void noteEarlyEnd(World& world) {
    const int code = world.program.exitCode().value_or(-1);
    world.complain(fmt::format("the program ended before its time with code {}{}", code,
                               code == 255 ? ", as it does when another one is running" : ""));
}

bool startProgram(World& world, const Places& at, const RunOptions& options) {
    ChildSpec spec{"kestrelune", at.program("kestrelune", "src"), {}, at.folder, {}, at.output / "program.txt", true};
    spec.environment.emplace_back("XDG_CONFIG_HOME", at.appData.string());
    spec.environment.emplace_back("XDG_DATA_HOME", (at.folder / "localdata").string());
    if (options.noWindow) {
        spec.environment.emplace_back("DISPLAY", std::nullopt);
        spec.environment.emplace_back("WAYLAND_DISPLAY", std::nullopt);
    }
    std::string error;
    if (!world.program.start(spec, error)) {
        world.complain(error);
        return false;
    }
    // A second instance leaves without a word. The source must not be let loose on the first one.
    world.program.waitForLine("", firstWordMs);
    if (!world.program.running()) {
        noteEarlyEnd(world);
        return false;
    }
    return true;
}

/// Until the minutes are over, the user asks for the end, or one of the three goes by itself.
void watch(World& world, double minutes) {
    const auto begin = Clock::now();
    while (!endAsked && (minutes <= 0 || Clock::now() - begin < std::chrono::duration<double>(minutes * 60.0))) {
        world.program.pump(50);
        world.simulator.pump(0);
        world.source.pump(0);
        if (!world.program.running()) {
            noteEarlyEnd(world);
            return;
        }
        for (const Child* standIn : {&world.simulator, &world.source}) {
            if (!standIn->running()) {
                world.complain(fmt::format("the {} ended before its time with code {}", standIn->name(),
                                           standIn->exitCode().value_or(-1)),
                               standIn);
                return;
            }
        }
    }
}

void closeDown(World& world) {
    if (world.program.running()) {
        world.program.askToEnd();
        // The stand-ins' output is read meanwhile, so that no full pipe holds them up.
        const auto end = Clock::now() + std::chrono::milliseconds(closeMs);
        while (world.program.running() && Clock::now() < end) {
            world.program.pump(50);
            world.simulator.pump(0);
            world.source.pump(0);
        }
        if (!world.program.waitForEnd(0)) {
            world.complain(fmt::format("the program did not close within {} s and was killed", closeMs / 1000));
        }
    }
    for (Child* standIn : {&world.source, &world.simulator}) {
        if (standIn->running()) {
            standIn->askToEnd();
            if (!standIn->waitForEnd(standInCloseMs)) {
                world.complain(fmt::format("the {} did not end and was killed", standIn->name()), standIn);
            } else if (standIn->exitCode() != 0) {
                world.complain(fmt::format("the {} ended with code {}", standIn->name(), *standIn->exitCode()),
                               standIn);
            }
        }
    }
}

int runWorld(const RunOptions& options) {
    Places at;
    at.build = fs::absolute(options.build);
    at.project = fs::absolute(options.project).lexically_normal();
    at.folder = fs::absolute(options.folder.empty() ? at.project / "run-folder" : options.folder).lexically_normal();
    at.community = at.folder / "simulator" / "Community";
    at.appData = at.folder / "appdata";
    at.output = at.folder / "run-output";
    RunPlan plan;
    std::string error;
    if (!makePlan(options, readAirports(at.project / "data" / "airports.csv"), plan, error)) {
        std::fprintf(stderr, "kestrelune-run: %s\n", error.c_str());
        return 2;
    }
    World world;
    const bool up = makeFolder(world, at, options, plan) && addStands(world, at, options, plan) &&
                    startSimulator(world, at, options, plan) && startProgram(world, at, options) &&
                    startSource(world, at, options, plan);
    if (up) {
        say(fmt::format("user's aircraft at {}, {}, program folder {}", startText(plan.user),
                        options.minutes > 0 ? fmt::format("for {:g} minutes", options.minutes) : "until Ctrl-C",
                        at.folder.string()));
        say(fmt::format("watch it in a browser: {}", world.page));
        watch(world, options.minutes);
    }
    closeDown(world);
    const std::optional<int> code = world.program.started() ? world.program.exitCode() : std::nullopt;
    if (up && code && *code != 0 && world.problems.empty()) {
        world.complain(fmt::format("the program's exit code is {}", *code));
    }
    const auto source = readJson(at.output / "source.json"), simulator = readJson(at.output / "simulator.json");
    if (up && (source.is_null() || simulator.is_null())) {
        world.complain("a stand-in left no report");
    }
    const nlohmann::json parking = parkingReport(source, simulator, readStandFile(standFile(at, plan)),
                                                 readHalfSpans(at.project / "data" / "types.csv"));
    if (parking.is_object()) {
        for (const auto& clash : parking["clashes"]) {
            world.complain(clash.get<std::string>());
        }
    }
    say("run report: " + runReport(source, simulator, code, world.problems, parking).dump());
    return world.problems.empty() ? 0 : 1;
}

} // namespace

int main(int argc, char** argv) {
    RunOptions options;
    if (const auto ending = readOptions({argv + 1, argv + argc}, options)) {
        return kes::command_line::tell(*ending);
    }
    for (std::string* file : {&options.feed, &options.stands}) {
        if (!file->empty()) {
            *file = fs::absolute(*file).string();
        }
    }
    try {
        kes::platform::watchCloseSignals([] { endAsked = true; });
        return runWorld(options);
    } catch (const std::exception& e) {
        std::fprintf(stderr, "kestrelune-run: %s\n", e.what());
        return 1;
    }
}
