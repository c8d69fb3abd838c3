// SPDX-License-Identifier: MIT
#include "world/runner/plan.h"

#include "tools/csv/csv.h"
#include "world/runner/overspeed.h"
#include "world/source/recording.h"
#include "world/source/scenario.h"

#include <algorithm>
#include <cmath>
#include <fmt/format.h>
#include <limits>
#include <nlohmann/json.hpp>

namespace kes::runner {

namespace {

// The automatic range is 10 nm over an airport and grows with the distance from it. From this place the whole airport
// and its approach are in range, and no aircraft flies there.
constexpr double besideNm = 12, besideBearing = 130;
constexpr double besideFeet = 5000;   // above the airport
constexpr double enrouteFeet = 20000; // above ground; high enough for the wide range
constexpr double airfieldsNm = 100;
constexpr double standsNm = 20; // as far as the program looks for a park airport
constexpr std::size_t linesLookedAt = 2000;

UserStart beside(const Airport& airport) {
    UserStart start;
    start.place = destination(airport.place, besideBearing * degToRad, besideNm * feetPerNm);
    start.altitude = airport.elevation + besideFeet;
    start.heading = std::fmod(besideBearing + 180.0, 360.0);
    return start;
}

} // namespace

std::vector<Airport> readAirports(const std::filesystem::path& table) {
    constexpr double any = std::numeric_limits<double>::max();
    std::vector<Airport> airports;
    std::string problem;
    const auto take = [&](const CsvRow& row) -> std::string {
        Airport a{std::string(row[0]), {}, 0};
        if (!command_line::readNumber(row[1], a.place.lat, -any, any) ||
            !command_line::readNumber(row[2], a.place.lon, -any, any) ||
            !command_line::readNumber(row[3], a.elevation, -any, any)) {
            return "no numbers";
        }
        airports.push_back(std::move(a));
        return {};
    };
    readCsv(table, {"icao", "lat", "lon", "elev_ft"}, take, nullptr, problem);
    return airports;
}

const Airport* nearestAirport(const std::vector<Airport>& airports, LatLon to, double withinNm) {
    const Airport* best = nullptr;
    for (const Airport& a : airports) {
        const double d = distanceNm(a.place, to);
        if (d <= withinNm) {
            best = &a, withinNm = d;
        }
    }
    return best;
}

bool makePlan(const RunOptions& o, const std::vector<Airport>& table, RunPlan& plan, std::string& error) {
    plan = RunPlan{};
    std::vector<Airport> airports = table;
    const Airport scenarioHome{"EDDM", source::munichPosition, source::munichElevation};
    // What the stand-ins know by themselves, should the table lack it.
    for (const Airport& known : {scenarioHome, Airport{"LEBL", {41.2971, 2.0785}, 12},
                                 Airport{"LFBO", {43.6291, 1.3638}, 499}, Airport{"EGLL", {51.4706, -0.4619}, 83}}) {
        if (!nearestAirport(airports, known.place, 3.0)) {
            airports.push_back(known);
        }
    }
    if (o.at) {
        plan.user = *o.at;
        if (o.feed.empty() && distanceNm(o.at->place, scenarioHome.place) > 30.0) {
            const Airport* near = nearestAirport(airports, o.at->place, 40.0);
            plan.scenarioAirport = near ? *near : Airport{"", o.at->place, 0};
        }
    } else if (o.feed.empty()) {
        plan.user = beside(scenarioHome);
    } else {
        const auto middle = source::middlePlace(o.feed, linesLookedAt);
        if (!middle) {
            error = fmt::format("no positions in {}", o.feed);
            return false;
        }
        const LatLon place{middle->lat, middle->lon};
        const Airport* near = nearestAirport(airports, place, middle->onGround ? 5.0 : 40.0);
        if (near && middle->onGround) {
            plan.user = beside(*near);
        } else {
            plan.user.place = place;
            plan.user.altitude = (near ? near->elevation : 1000.0) + enrouteFeet;
        }
    }
    if (o.feed.empty())
        plan.trafficAirport = plan.scenarioAirport.value_or(scenarioHome);
    plan.standsCode = plan.trafficAirport.icao;
    if (const Airport* near = nearestAirport(airports, plan.user.place, standsNm); near && !o.feed.empty())
        plan.standsCode = near->icao;
    for (const Airport& a : airports) {
        if (distanceNm(a.place, plan.user.place) <= airfieldsNm) {
            plan.airfields.push_back(a);
        }
    }
    if (plan.scenarioAirport && plan.scenarioAirport->icao.empty()) {
        plan.airfields.push_back(*plan.scenarioAirport);
    }
    return true;
}

nlohmann::json runReport(const nlohmann::json& source, const nlohmann::json& simulator, std::optional<int> exitCode,
                         const std::vector<std::string>& problems, const nlohmann::json& parking) {
    nlohmann::json report = nlohmann::json::object();
    const auto take = [&](const nlohmann::json& from, const char* key, const char* name) {
        report[name] = from.is_object() && from.contains(key) ? from[key] : nlohmann::json();
    };
    take(source, "reportsSent", "reportsSent");
    for (const char* key : {"objectsCreated", "objectsRemoved", "peakObjects", "positionRecords", "refusedCreates"}) {
        take(simulator, key, key);
    }
    take(source, "linesByKind", "controlLines");
    take(source, "controlConnections", "controlConnections");
    take(source, "aircraft", "aircraftReported");
    take(simulator, "largestGapMs", "largestGapMs");
    if (source.is_object() && simulator.is_object() && source.contains("speeds") && simulator.contains("speeds"))
        report["overspeed"] = overspeed(source["speeds"], simulator["speeds"]);
    report["parking"] = parking;
    report["exitCode"] = exitCode ? nlohmann::json(*exitCode) : nlohmann::json();
    if (!problems.empty()) {
        report["problems"] = problems;
    }
    return report;
}

} // namespace kes::runner
