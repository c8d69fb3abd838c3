// SPDX-License-Identifier: MIT
// What a run is to be: where the user's aircraft is, which airports have flat ground, and what is told of it at its
// end. Pure but for reading files.
#pragma once

#include "core/geo.h"
#include "world/runner/options.h"

#include <filesystem>
#include <nlohmann/json_fwd.hpp>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kes::runner {

struct Airport {
    std::string icao;
    LatLon place;
    double elevation = 0; ///< feet
};

/// The airports of a table with the columns icao, lat, lon and elev_ft, in any order. Rows that cannot be read are left
/// out; a missing file gives none.
std::vector<Airport> readAirports(const std::filesystem::path& table);
/// The nearest one within a distance in nautical miles, or null.
const Airport* nearestAirport(const std::vector<Airport>& airports, LatLon to, double withinNm);

/// Where things are in a run.
struct RunPlan {
    UserStart user;
    std::vector<Airport> airfields;         ///< flat ground of the simulator
    std::optional<Airport> scenarioAirport; ///< where the scenario moves to; nothing = its own place
    Airport trafficAirport;                 ///< the scenario's, wherever it is; no code with a recording
    std::string standsCode;                 ///< airport whose stands are looked at; empty = none is near
};
/// Decides what the options leave open. With a recording the user is put where it has traffic. False with a reason
/// when the recording tells no place.
bool makePlan(const RunOptions& options, const std::vector<Airport>& airports, RunPlan& plan, std::string& error);

/// The closing line's object out of the reports of source and simulator, and what was counted on the stands; null for
/// what is not there.
nlohmann::json runReport(const nlohmann::json& source, const nlohmann::json& simulator, std::optional<int> exitCode,
                         const std::vector<std::string>& problems, const nlohmann::json& parking);

} // namespace kes::runner
