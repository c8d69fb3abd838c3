// Makes what surrounds the program on a user's machine: its program folder, a Community folder with our own AI
// package, and the files in the roaming application data folder. Safe to repeat: files that are right already are not
// touched.
#pragma once

#include <cstddef>
#include <filesystem>

namespace kes::world {

struct ContentPlan {
    std::filesystem::path data;          ///< the folder of the plain sources
    std::filesystem::path programFolder; ///< where the program will run
    std::filesystem::path community;     ///< a folder of the name "Community"; empty = no AI package
    std::filesystem::path appData;       ///< the roaming folder; empty = none
    bool msfs2020 = true;                ///< which simulator the parameters select
};

struct ContentCount {
    std::size_t types = 0, airlines = 0, registrations = 0, airports = 0, models = 0, liveries = 0;
};

/// Throws std::runtime_error with a text for the user; what was written until then stays.
ContentCount makeContent(const ContentPlan& plan);

} // namespace kes::world
