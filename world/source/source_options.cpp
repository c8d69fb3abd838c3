// SPDX-License-Identifier: MIT
#include "world/source/source_options.h"

#include "core/text.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <limits>

namespace kes::source {

namespace {

using command_line::addNumber;
using command_line::addText;
using command_line::addValue;
using command_line::readNumber;

bool readPlace(std::string_view text, std::optional<LatLon>& at) {
    const auto parts = split(text, ',');
    LatLon read;
    if (parts.size() != 2 || !readNumber(parts[0], read.lat, -89.0, 89.0) ||
        !readNumber(parts[1], read.lon, -180.0, 180.0)) {
        return false;
    }
    at = read;
    return true;
}

/// Datagrams go to numbers alone: a name would cost every one of them without a word.
bool isIPv4(std::string_view text) {
    const auto parts = split(text, '.');
    unsigned number = 0;
    return parts.size() == 4 &&
           std::ranges::all_of(parts, [&](std::string_view part) { return readNumber(part, number, 0U, 255U); });
}

/// A number that may be left out.
void addOptional(CLI::App& app, const std::string& name, std::optional<double>& target, double least, double most,
                 const std::string& description) {
    addValue(
        app, name, "N", fmt::format("a number from {} to {}", least, most),
        [&target, least, most](const std::string& text) {
            double value = 0;
            const bool good = readNumber(text, value, least, most);
            if (good) {
                target = value;
            }
            return good;
        },
        description);
}

void addTraffic(CLI::App& app, SourceOptions& o) {
    addText(app, "--feed", "FILE", o.feed, "A recording of traffic lines, plain or gzip, sent at its own pace");
    addValue(
        app, "--scenario", "NAME", "airport",
        [&o](const std::string& text) {
            o.scenario = text;
            return text == "airport";
        },
        "The built-in traffic; \"airport\" is the one there is (default)");
    addValue(
        app, "--at", "LAT,LON", "LAT,LON", [&o](const std::string& text) { return readPlace(text, o.at); },
        "Where the scenario's airport lies (default: Munich)");
    addOptional(app, "--elevation", o.elevation, -1500, 20000, "Its elevation in feet");
    addNumber(app, "--seed", o.seed, 0, std::numeric_limits<std::uint32_t>::max(), "Seed of the scenario (default 1)");
    command_line::addFlag(
        app, "--burst", [&o] { o.burst = true; }, "All lines of 5 s at once (the default of the scenario)");
    command_line::addFlag(
        app, "--no-burst", [&o] { o.burst = false; }, "Each line at its time (the default of a recording)");
    addNumber(app, "--speed", o.speed, 0.01, 100000, "Times real time (default 1)");
    addNumber(app, "--minutes", o.minutes, 0, 1e6, "End after so many minutes (default: when told)");
    app.add_flag("--wait-for-position", o.waitForPosition, "No traffic before the program has sent a position");
}

void addProgram(CLI::App& app, SourceOptions& o) {
    addValue(
        app, "--host", "ADDRESS", "an IPv4 address",
        [&o](const std::string& text) {
            o.host = text;
            return isIPv4(text);
        },
        "IPv4 address of the program (default 127.0.0.1)");
    addNumber(app, "--traffic-port", o.trafficPort, 1, 65535, "Default 49005");
    addNumber(app, "--weather-port", o.weatherPort, 1, 65535, "Default 49004");
    addNumber(app, "--control-port", o.controlPort, 1, 65535, "Default 10747");
    addValue(
        app, "--edition", "prof|stnd", "prof or stnd",
        [&o](const std::string& text) {
            o.professional = text == "prof";
            return text == "prof" || text == "stnd";
        },
        "The edition told to the program (default prof)");
    addOptional(app, "--qnh", o.qnh, 1, 4000, "Sea-level pressure, hectopascal");
}

} // namespace

std::optional<command_line::Ending> readOptions(const std::vector<std::string>& arguments, SourceOptions& o) {
    CLI::App app("Sends traffic and weather and connects to the program's control link.", "kestrelune-source");
    command_line::prepare(app);
    addTraffic(app, o);
    addProgram(app, o);
    addText(app, "--report", "FILE", o.reportFile, "Counts as JSON, written at the end");
    addNumber(app, "--command-port", o.commandPort, 0, 65535, "Takes commands on this loopback port, 0 = any free one");
    app.footer(
        "Commands, one a line: stop-traffic, start-traffic, garbage N, flood RATE SECONDS, drop-link, link on|off,\n"
        "qnh X, report, quit.");
    return command_line::parse(app, arguments);
}

} // namespace kes::source
