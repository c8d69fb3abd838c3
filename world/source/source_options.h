// SPDX-License-Identifier: MIT
// The options of the traffic source. Pure.
#pragma once

#include "core/geo.h"
#include "tools/command_line/command_line.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace kes::source {

struct SourceOptions {
    std::string feed; ///< recording; empty = the scenario
    std::string scenario = "airport";
    std::optional<LatLon> at;        ///< place of the scenario's airport
    std::optional<double> elevation; ///< feet, of that airport
    std::string host = "127.0.0.1";
    std::uint16_t trafficPort = 49005, weatherPort = 49004, controlPort = 10747;
    bool professional = true;  ///< edition told in the version answer
    std::optional<double> qnh; ///< hectopascal
    double minutes = 0;        ///< 0 = until told
    double speed = 1;          ///< times real time
    std::uint32_t seed = 1;
    std::string reportFile;
    int commandPort = -1;         ///< -1 = none, 0 = any free one
    bool waitForPosition = false; ///< no traffic before the first position line
    std::optional<bool> burst;    ///< all lines of a cycle at once; not told = the scenario does, a recording does not
};

/// Reads the command line without the program's name. Nothing = go on.
std::optional<command_line::Ending> readOptions(const std::vector<std::string>& arguments, SourceOptions& options);

} // namespace kes::source
