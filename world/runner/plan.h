// What a run is to be: its options, where the user's aircraft is, which airports have flat ground. Pure but for
// reading files.
#pragma once

#include "core/geo.h"
#include "tools/command_line/command_line.h"

#include <filesystem>
#include <nlohmann/json_fwd.hpp>
#include <optional>
#include <string>
#include <string_view>
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
};
/// Decides what the options leave open. With a recording the user is put where it has traffic. False with a reason
/// when the recording tells no place.
bool makePlan(const RunOptions& options, const std::vector<Airport>& airports, RunPlan& plan, std::string& error);

/// How much faster flights were shown than they were reported, out of the speeds of both reports: the largest ratio and
/// its callsign, how many flights went above 1.5 times, how many were compared. A report is shown 30 s later, or some
/// more when the flight is late. A speed below 20 knots is taken as 20.
nlohmann::json overspeed(const nlohmann::json& reported, const nlohmann::json& shown);

/// The closing line's object out of the reports of source and simulator; null for a report that is not there.
nlohmann::json runReport(const nlohmann::json& source, const nlohmann::json& simulator, std::optional<int> exitCode,
                         const std::vector<std::string>& problems);

} // namespace kes::runner
