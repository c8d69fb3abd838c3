#include "traffic/flight_plans.h"

#include "core/folders.h"
#include "core/log.h"

#include <filesystem>
#include <fmt/format.h>
#include <system_error>

namespace kes {

namespace {

void createUnlessThere(const std::filesystem::path& folder) {
    if (!std::filesystem::exists(folder))
        std::filesystem::create_directory(folder);
}

} // namespace

void prepareFlightPlanFolders() {
    createUnlessThere(userDataFolder());
    createUnlessThere(flightPlanFolder());
}

void writeFlightPlan(LiveAircraft&) {}

void deleteFlightPlan(std::uint32_t objectid) {
    std::error_code ignored; // the folder goes with all its files at the end of the run
    std::filesystem::remove(flightPlanFolder() / fmt::format("{}.pln", objectid), ignored);
}

void gf_removeFlightPlanFolder() {
    try {
        if (std::filesystem::exists(flightPlanFolder()))
            std::filesystem::remove_all(flightPlanFolder());
    } catch (const std::exception& e) {
        const std::string text = fmt::format("gf_removeFlightPlanFolder: {}", e.what());
        log(text);
        showStatus(text, false);
    }
}

} // namespace kes
