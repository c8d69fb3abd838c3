// SPDX-License-Identifier: MIT
// The options of a run. Pure.
#pragma once

#include "core/geo.h"
#include "tools/command_line/command_line.h"

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace kes::runner {

/// A place of the user's aircraft.
struct UserStart {
    LatLon place;
    double altitude = 0; ///< feet above sea level
    double heading = 0;  ///< degrees
};

struct RunOptions {
    double minutes = 0; ///< 0 = until Ctrl-C or the program ends
    std::string feed;
    std::string stands; ///< airport layout for a recording's airport, apt.dat; empty = none
    std::optional<UserStart> at;
    bool noWindow = false, keep = false;
    std::filesystem::path build = "build/release";
    std::filesystem::path project = ".";
    std::filesystem::path folder; ///< empty = run-folder in the project
    std::string msfs = "2020";
    std::vector<std::string> sourceArguments; ///< handed on to the source
};

/// Reads the command line without the program's name. Nothing = go on.
std::optional<command_line::Ending> readOptions(const std::vector<std::string>& arguments, RunOptions& options);

} // namespace kes::runner
