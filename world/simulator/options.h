// SPDX-License-Identifier: MIT
// The command line of kestrelune-simulator.
#pragma once

#include "tools/command_line/command_line.h"
#include "world/simulator/server.h"

#include <optional>
#include <string>
#include <vector>

namespace kes::world {

struct ProgramOptions {
    SimulatorOptions simulator;
    ServerOptions server;
    std::string reportFile;                     ///< empty = none
    bool live = false;                          ///< serve the live page
    std::uint16_t livePort = 0;                 ///< 0 = any free one
    std::string liveStands, liveLog, livePlace; ///< airport file, the program's log, the airport's code; empty = none
    double minutes = 0;                         ///< 0 = until told to end
    std::vector<std::string> commands;          ///< to be carried out at the start
};

/// Reads the arguments behind the program's name, and the files and folders that they name. Nothing = go on.
std::optional<command_line::Ending> readOptions(const std::vector<std::string>& arguments, ProgramOptions& options);

} // namespace kes::world
