// SPDX-License-Identifier: MIT
#include "tools/replay/replay_options.h"

#include "core/text.h"

#include <CLI/CLI.hpp>
#include <limits>

namespace kes::replay {

namespace {

bool readViewpoint(std::string_view text, std::optional<Viewpoint>& view) {
    constexpr double any = std::numeric_limits<double>::max();
    const auto parts = split(text, ',');
    Viewpoint read;
    if (parts.size() != 3 || !command_line::readNumber(strip(parts[0]), read.at.lat, -90.0, 90.0) ||
        !command_line::readNumber(strip(parts[1]), read.at.lon, -180.0, 180.0) ||
        !command_line::readNumber(strip(parts[2]), read.altFeet, -any, any))
        return false;
    view = read;
    return true;
}

} // namespace

std::optional<command_line::Ending> readOptions(const std::vector<std::string>& arguments, Options& o) {
    CLI::App app("Replays traffic through the whole program in virtual time and judges how it moves.",
                 "kestrelune-replay");
    command_line::prepare(app);
    std::string out, data, stands;
    command_line::addText(app, "--feed", "FILE|SCENARIO", o.feed,
                          "A recording of feed lines, plain or gzip, or traffic whose truth is known, as in turns, "
                          "ils-sea+noise or taxi-90+10s+gaps");
    app.add_flag("--list", o.list, "Tells the scenarios and their variants");
    command_line::addValue(
        app, "--at", "LAT,LON,ALT_FT", "LAT,LON,ALT_FT",
        [&o](const std::string& text) { return readViewpoint(text, o.at); },
        "Where the user's aircraft is; without it in the middle of the traffic");
    command_line::addText(app, "--airport", "ICAO", o.airport, "The user's aircraft is 5000 ft above this airport");
    command_line::addText(app, "--stands", "FILE", stands,
                          "The stands of the airport: an airport file, or a layout in the apt.dat form, plain or gzip; "
                          "the airport nearest to the traffic is loaded in flight, and parking is judged, too");
    command_line::addValue(
        app, "--minutes", "N", "a number above 0 and up to 1440",
        [&o](const std::string& text) {
            return command_line::readNumber(text, o.minutes, std::numeric_limits<double>::min(), 24.0 * 60.0);
        },
        "Stops after so many minutes of traffic");
    command_line::addNumber(app, "--seed", o.seed, 0, std::numeric_limits<std::uint32_t>::max(),
                            "All that is random; the same seed and feed give the same files (1)");
    command_line::addNumber(app, "--every", o.every, 1, std::numeric_limits<int>::max(),
                            "Ticks of 10 ms between the rows of motion.csv (scenario 10, recording 100)");
    command_line::addText(app, "--data", "DIR", data, "The plain sources of the reference content");
    app.add_flag("--burst", o.burst, "All lines of 5 s come at once, of each aircraft the newest");
    app.add_flag("--table", o.table, "Each measure by phase, beside the baselines, and not the verdict alone");
    app.add_flag("--quiet", o.quiet, "No progress");
    command_line::addText(app, "--out", "DIR", out,
                          "Gets motion.csv, metrics.json, map.html and, in program/, the program's own files");
    if (const auto ending = command_line::parse(app, arguments))
        return ending;
    if (!data.empty())
        o.data = data;
    o.out = out;
    o.stands = stands;
    if (!o.list && o.feed.empty())
        return command_line::wrong(app,
                                   "--feed is missing: a recording, or the name of a scenario (--list tells them)");
    if (!o.list && o.out.empty())
        return command_line::wrong(app, "--out is missing: the folder for the results");
    return std::nullopt;
}

} // namespace kes::replay
