// The command line of kestrelune-simulator.
#pragma once

#include "world/simulator/server.h"

#include <optional>
#include <span>
#include <string>
#include <vector>

namespace kes::world {

struct ProgramOptions {
    SimulatorOptions simulator;
    ServerOptions server;
    std::string reportFile;            ///< empty = none
    double minutes = 0;                ///< 0 = until told to end
    std::vector<std::string> commands; ///< to be carried out at the start
    bool help = false;
};

/// Reads the arguments behind the program's name, and the files and folders that they name. Throws runtime_error with
/// a text for the user.
ProgramOptions parseArguments(std::span<const char* const> arguments);
std::string usage();

} // namespace kes::world
