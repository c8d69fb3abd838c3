// Makes what surrounds the program on a user's machine: its program folder, a Community folder with our own AI
// packages, and the files in the roaming application data folder. Safe to repeat: files that are right already are not
// touched.
#pragma once

#include "world/content/tables.h"

#include <filesystem>
#include <string>
#include <vector>

namespace kes::world {

struct ContentPlan {
    std::filesystem::path data;          ///< the folder of the plain sources
    std::filesystem::path programFolder; ///< where the program will run
    std::filesystem::path community;     ///< a folder of the name "Community"; empty = no AI packages
    std::filesystem::path appData;       ///< the roaming folder; empty = none
    bool msfs2020 = true;                ///< which simulator the parameters select
};

struct ContentCount {
    std::size_t types = 0, airlines = 0, registrations = 0, airports = 0, packages = 0, models = 0, liveries = 0;
};

/// Throws std::runtime_error with a text for the user; what was written until then stays.
ContentCount makeContent(const ContentPlan& plan);

/// One livery of our AI packages.
struct AiLivery {
    std::string package; ///< folder name below Community
    std::string airline, type;
    std::string title;   ///< unique over all packages
    std::string regcode; ///< an airframe that wears it, may be empty
    bool cargo = false;
};
/// The liveries that the tables give, ordered by package, type and title.
std::vector<AiLivery> planLiveries(const Tables& tables);

/// The parts of `makeContent`; the community folder in the plan is an absolute path without a separator at the end.
void writeProgramFolder(const Tables& tables, const ContentPlan& plan);
/// Writes all packages, and removes files that an earlier run left in packages of ours.
void writePackages(const Tables& tables, const std::vector<AiLivery>& liveries, const std::filesystem::path& community);
/// RealTraffic's mark and, only where there is none, "parameters.xml".
void writeAppData(const ContentPlan& plan);

} // namespace kes::world
