// Makes what surrounds the program on a user's machine: its program folder, a Community folder with our own AI
// package, and the files in the roaming application data folder. Safe to repeat: files that are right already are not
// touched.
#pragma once

#include "world/content/tables.h"

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

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

/// The package of all our AI aircraft below Community. One, since of the user's own packages the program takes the
/// first.
inline constexpr std::string_view aiPackage = "user-aitraffic-kestrelune";

/// One livery of our AI package.
struct AiLivery {
    std::string airline, type;
    std::string title;   ///< unique
    std::string regcode; ///< an airframe that wears it, may be empty
    bool cargo = false;
};
/// The liveries that the tables give, ordered by type and title.
std::vector<AiLivery> planLiveries(const Tables& tables);

/// The parts of `makeContent`; the community folder in the plan is an absolute path without a separator at the end.
/// Packs the reference data for the update server that a fresh program folder is its own. Throws for a bad row, too.
void writeUpdates(const ContentPlan& plan);
void writeProgramFolder(const Tables& tables, const ContentPlan& plan);
/// Writes the package, and removes what an earlier run left in it and in the packages that there were of old.
void writePackage(const Tables& tables, const std::vector<AiLivery>& liveries, const std::filesystem::path& community);
/// RealTraffic's mark and, only where there is none, "parameters.xml".
void writeAppData(const ContentPlan& plan);

} // namespace kes::world
