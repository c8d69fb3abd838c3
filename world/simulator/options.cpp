#include "world/simulator/options.h"

#include "core/text.h"
#include "platform/system.h"
#include "world/simulator/control.h"

#include <cmath>
#include <fmt/format.h>
#include <stdexcept>

namespace kes::world {

namespace {

[[noreturn]] void complain(std::string_view option, std::string_view wanted) {
    throw std::runtime_error(fmt::format("{} wants {}", option, wanted));
}

double numberOf(std::string_view option, std::string_view text, double least, double most) {
    std::vector<double> n;
    if (!parseNumbers(text, 1, 1, n) || n[0] < least || n[0] > most)
        complain(option, fmt::format("a number from {:g} to {:g}", least, most));
    return n[0];
}

std::uint16_t portOf(std::string_view option, std::string_view text) {
    const double port = numberOf(option, text, 0, 65535);
    if (port != std::floor(port))
        complain(option, "a whole number");
    return static_cast<std::uint16_t>(port);
}

void setStart(SimulatorOptions& simulator, std::string_view text) {
    std::vector<double> n;
    if (!parseNumbers(text, 3, 4, n) || std::abs(n[0]) > 90.0 || std::abs(n[1]) > 180.0)
        complain("--at", "LAT,LON,ALT_FT[,HDG]");
    simulator.lat = n[0];
    simulator.lon = n[1];
    simulator.altFeet = n[2];
    simulator.headingDegrees = n.size() == 4 ? n[3] : 0.0;
}

void setOne(ProgramOptions& options, std::string_view name, std::string_view value) {
    SimulatorOptions& simulator = options.simulator;
    if (name == "--port") {
        options.server.port = portOf(name, value);
    } else if (name == "--control-port") {
        options.server.control = true;
        options.server.controlPort = portOf(name, value);
    } else if (name == "--clients") {
        options.server.maxClients = static_cast<std::size_t>(numberOf(name, value, 1, 1000));
    } else if (name == "--at") {
        setStart(simulator, value);
    } else if (name == "--user") {
        std::string error;
        if (!parseUserMotion(value, simulator.motion, error))
            throw std::runtime_error("--user: " + error);
    } else if (name == "--fps") {
        simulator.framesPerSecond = numberOf(name, value, 1, 1000);
    } else if (name == "--msfs") {
        if (value != "2020" && value != "2024")
            complain(name, "2020 or 2024");
        simulator.generation = value == "2020" ? Generation::msfs2020 : Generation::msfs2024;
    } else if (name == "--community") {
        addTitlesFromFolder(simulator.titles, platform::pathFrom(value));
        if (simulator.titles.known.empty())
            throw std::runtime_error(fmt::format("--community: no titles in {}", value));
    } else if (name == "--titles") {
        addTitlesFromFile(simulator.titles, platform::pathFrom(value));
    } else if (name == "--airfield") {
        Airfield airfield;
        if (!parseAirfield(value, airfield))
            complain(name, "LAT,LON,ELEV_FT[,RADIUS_NM]");
        simulator.terrain.airfields.push_back(airfield);
    } else if (name == "--hills") {
        simulator.terrain.hillFeet = numberOf(name, value, 0, 20000);
    } else if (name == "--user-title") {
        simulator.userTitle = value;
    } else if (name == "--user-model") {
        simulator.userModel = value;
    } else if (name == "--protocols") {
        const std::size_t dash = value.find('-');
        simulator.lowestProtocol = static_cast<std::uint32_t>(numberOf(name, value.substr(0, dash), 0, 255));
        simulator.highestProtocol = dash == std::string_view::npos
                                        ? simulator.lowestProtocol
                                        : static_cast<std::uint32_t>(numberOf(name, value.substr(dash + 1), 0, 255));
    } else if (name == "--command") {
        options.commands.emplace_back(value);
    } else if (name == "--report") {
        options.reportFile = value;
    } else if (name == "--minutes") {
        options.minutes = numberOf(name, value, 0, 1e6);
    } else {
        throw std::runtime_error(fmt::format("unknown option {}", name));
    }
}

} // namespace

ProgramOptions parseArguments(std::span<const char* const> arguments) {
    ProgramOptions options;
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        const std::string_view name = arguments[i];
        if (name == "--help") {
            options.help = true;
            return options;
        }
        if (!name.starts_with("--"))
            throw std::runtime_error(fmt::format("unknown option {}", name));
        if (i + 1 == arguments.size())
            throw std::runtime_error(fmt::format("{} wants a value", name));
        setOne(options, name, arguments[++i]);
    }
    return options;
}

std::string usage() {
    return std::string(
               "kestrelune-simulator: a stand-in for the flight simulator on the SimConnect network protocol\n"
               "\n"
               "  --port N                        where clients connect; 0 (default) = any free port, told on stdout\n"
               "  --control-port N                take commands on the loopback, one a line; 0 = any free port\n"
               "  --clients N                     the most clients at once, default 64\n"
               "  --at LAT,LON,ALT_FT[,HDG]       start of the user's aircraft\n"
               "  --user stand                    it stands (default); without --airfield one lies under it\n"
               "  --user fly:KTS,HDG[,FPM]        it flies straight\n"
               "  --user file:CSV                 rows seconds,lat,lon,alt_ft,heading_deg[,gs_kt]\n"
               "  --user-title, --user-model TEXT what its TITLE and ATC MODEL say\n"
               "  --fps N                         frames per second, default 30\n"
               "  --msfs 2020|2024                which generation to be, default 2020\n"
               "  --titles FILE                   titles that can be created, one a line\n"
               "  --community FOLDER              ... those of every aircraft.cfg below; without both: all titles\n"
               "  --airfield LAT,LON,ELEV_FT[,RADIUS_NM]  flat ground; may be repeated\n"
               "  --hills FEET                    height of the hills elsewhere, default 600\n"
               "  --protocols LOW-HIGH            accepted protocol numbers, default 2-6\n"
               "  --command LINE                  carry out a command at the start; may be repeated\n"
               "  --report FILE                   write the counters there at the end, as JSON\n"
               "  --minutes N                     end by itself\n"
               "  --help                          this text\n"
               "\n"
               "Commands on the control port:\n")
        .append(commandHelp());
}

} // namespace kes::world
