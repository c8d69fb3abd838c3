// SPDX-License-Identifier: MIT
#include "world/simulator/options.h"

#include "platform/system.h"
#include "world/simulator/control.h"

#include <CLI/CLI.hpp>
#include <cmath>
#include <stdexcept>

namespace kes::world {

namespace {

using command_line::addNumber;
using command_line::addText;
using command_line::addValue;

bool readStart(const std::string& text, SimulatorOptions& simulator) {
    std::vector<double> n;
    if (!parseNumbers(text, 3, 4, n) || std::abs(n[0]) > 90.0 || std::abs(n[1]) > 180.0)
        return false;
    simulator.lat = n[0];
    simulator.lon = n[1];
    simulator.altFeet = n[2];
    simulator.headingDegrees = n.size() == 4 ? n[3] : 0.0;
    return true;
}

bool readProtocols(std::string_view text, SimulatorOptions& simulator) {
    const std::size_t dash = text.find('-');
    const std::string_view highest = dash == std::string_view::npos ? text : text.substr(dash + 1);
    return command_line::readNumber(text.substr(0, dash), simulator.lowestProtocol, 0U, 255U) &&
           command_line::readNumber(highest, simulator.highestProtocol, 0U, 255U) &&
           simulator.lowestProtocol <= simulator.highestProtocol;
}

void addConnections(CLI::App& app, ServerOptions& server) {
    addNumber(app, "--port", server.port, 0, 65535,
              "Where clients connect; 0 (default) = any free port, told on stdout");
    addValue(
        app, "--control-port", "N", "a whole number from 0 to 65535",
        [&server](const std::string& text) {
            server.control = true;
            return command_line::readNumber<std::uint16_t>(text, server.controlPort, 0, 65535);
        },
        "Take commands on the loopback, one a line; 0 = any free port");
    addNumber(app, "--clients", server.maxClients, 1, 1000, "The most clients at once, default 64");
}

void addLivePage(CLI::App& app, ProgramOptions& options) {
    addValue(
        app, "--live", "N", "a whole number from 0 to 65535",
        [&options](const std::string& text) {
            options.live = true;
            return command_line::readNumber<std::uint16_t>(text, options.livePort, 0, 65535);
        },
        "Serve a page for a browser on this port of the loopback that shows what the simulator shows; 0 = any free "
        "port");
    addText(app, "--live-stands", "FILE", options.liveStands, "... with the stands of this airport file");
    addText(app, "--live-log", "FILE", options.liveLog,
            "... and why an aircraft wears its livery, from the program's log");
    addText(app, "--live-place", "TEXT", options.livePlace, "... and this in its head");
}

void addUser(CLI::App& app, SimulatorOptions& simulator) {
    addValue(
        app, "--at", "LAT,LON,ALT_FT[,HDG]", "LAT,LON,ALT_FT[,HDG]",
        [&simulator](const std::string& text) { return readStart(text, simulator); }, "Start of the user's aircraft");
    addValue(
        app, "--user", "stand|fly:...|file:CSV", "",
        [&simulator](const std::string& text) {
            std::string error;
            if (!parseUserMotion(text, simulator.motion, error))
                throw std::runtime_error(error);
            return true;
        },
        "It stands (default; without --airfield one lies under it), flies straight (fly:KTS,HDG[,FPM]), or flies by "
        "rows seconds,lat,lon,alt_ft,heading_deg[,gs_kt]");
    addText(app, "--user-title", "TEXT", simulator.userTitle, "What its TITLE says");
    addText(app, "--user-model", "TEXT", simulator.userModel, "What its ATC MODEL says");
}

void addSimulator(CLI::App& app, SimulatorOptions& simulator) {
    addNumber(app, "--fps", simulator.framesPerSecond, 1, 1000, "Frames per second, default 30");
    addValue(
        app, "--msfs", "2020|2024", "2020 or 2024",
        [&simulator](const std::string& text) {
            simulator.generation = text == "2020" ? Generation::msfs2020 : Generation::msfs2024;
            return text == "2020" || text == "2024";
        },
        "Which generation to be, default 2020");
    addValue(
        app, "--titles", "FILE", "",
        [&simulator](const std::string& text) {
            addTitlesFromFile(simulator.titles, platform::pathFrom(text));
            return true;
        },
        "Titles that can be created, one a line");
    addValue(
        app, "--community", "FOLDER", "a folder with titles",
        [&simulator](const std::string& text) {
            addTitlesFromFolder(simulator.titles, platform::pathFrom(text));
            return !simulator.titles.known.empty();
        },
        "... those of every aircraft.cfg below; without both: all titles");
    addValue(
        app, "--airfield", "LAT,LON,ELEV_FT[,RADIUS_NM]", "LAT,LON,ELEV_FT[,RADIUS_NM]",
        [&simulator](const std::string& text) {
            Airfield airfield;
            const bool good = parseAirfield(text, airfield);
            if (good)
                simulator.terrain.airfields.push_back(airfield);
            return good;
        },
        "Flat ground; may be repeated");
    addNumber(app, "--hills", simulator.terrain.hillFeet, 0, 20000,
              "Height in feet of the hills elsewhere, default 600");
    addValue(
        app, "--protocols", "LOW-HIGH", "one or two numbers from 0 to 255, the lower one first",
        [&simulator](const std::string& text) { return readProtocols(text, simulator); },
        "Accepted protocol numbers, default 2-6");
}

} // namespace

std::optional<command_line::Ending> readOptions(const std::vector<std::string>& arguments, ProgramOptions& options) {
    CLI::App app("A stand-in for the flight simulator on the SimConnect network protocol.", "kestrelune-simulator");
    command_line::prepare(app);
    addConnections(app, options.server);
    addUser(app, options.simulator);
    addSimulator(app, options.simulator);
    addLivePage(app, options);
    addValue(
        app, "--command", "LINE", "",
        [&options](const std::string& text) {
            options.commands.push_back(text);
            return true;
        },
        "Carry out a command at the start; may be repeated");
    addText(app, "--report", "FILE", options.reportFile, "Write the counters there at the end, as JSON");
    addNumber(app, "--minutes", options.minutes, 0, 1e6, "End by itself");
    app.footer("Commands on the control port:\n" + std::string(commandHelp()));
    return command_line::parse(app, arguments);
}

} // namespace kes::world
