// SPDX-License-Identifier: MIT
// What the replay program is asked to do.
#pragma once

#include "core/geo.h"
#include "tools/command_line/command_line.h"

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace kes::replay {

struct Viewpoint {
    LatLon at; ///< degrees
    double altFeet = 0;
};

struct Options {
    std::string feed;             ///< a recording, plain or gzip, or the name of a scenario
    std::filesystem::path out;    ///< folder of the results
    std::filesystem::path data;   ///< folder of the plain sources of the reference content
    std::optional<Viewpoint> at;  ///< the user's aircraft
    std::string airport;          ///< ICAO code of the airport over which the user's aircraft is; empty = by the feed
    std::filesystem::path stands; ///< an airport file or a layout in the apt.dat form; empty = no park airport
    double minutes = 0;           ///< 0 = to the end
    std::uint32_t seed = 1;
    int every = 0;      ///< ticks between rows of motion.csv; 0 = 10 for a scenario, 100 for a recording
    bool burst = false; ///< all lines of 5 s come at once
    bool quiet = false; ///< no progress
    bool table = false; ///< all measures, and not the verdict alone
    bool list = false;  ///< the names of the scenarios are wanted, and nothing else
};

/// Nothing = go on. The default of `data` is the caller's.
std::optional<command_line::Ending> readOptions(const std::vector<std::string>& arguments, Options& options);

} // namespace kes::replay
