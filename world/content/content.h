// SPDX-License-Identifier: MIT
// Makes what surrounds the program on a user's machine: its program folder, a Community folder with our own AI
// package, and the files in the roaming application data folder. Safe to repeat: files that are right already are not
// touched.
#pragma once

#include "core/geo.h"

#include <cstddef>
#include <filesystem>
#include <optional>
#include <string>

namespace kes::world {

/// Where the built-in scenario has its airport.
struct ScenarioAirport {
    std::string code;
    LatLon place;
    double elevation = 0; ///< feet
};

struct ContentPlan {
    std::filesystem::path data;                       ///< the folder of the plain sources
    std::filesystem::path programFolder;              ///< where the program will run
    std::filesystem::path community;                  ///< a folder of the name "Community"; empty = no AI package
    std::filesystem::path appData;                    ///< the roaming folder; empty = none
    bool msfs2020 = true;                             ///< which simulator the parameters select
    std::optional<ScenarioAirport> scenarioAirport{}; ///< gets a file of its stands; needs `community`
};

struct ContentCount {
    std::size_t types = 0, airlines = 0, registrations = 0, airports = 0, models = 0, liveries = 0;
};

/// Throws std::runtime_error with a text for the user; what was written until then stays.
ContentCount makeContent(const ContentPlan& plan);

} // namespace kes::world
