// SPDX-License-Identifier: MIT
// Named scenarios whose truth is known at any time in closed form. Pure functions.
#pragma once

#include "core/codes.h"
#include "core/geo.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kes::replay {

/// Where a flight really is.
struct Truth {
    LatLon at;          ///< degrees
    double alt = 0;     ///< feet above sea level; on the ground the elevation of the field
    double heading = 0; ///< radians true, of the nose
    double track = 0;   ///< radians true, of the motion; the nose's while it stands
    double gs = 0;      ///< knots
    double vs = 0;      ///< feet per minute
    double bank = 0;    ///< radians, to the right negative
    bool airborne = false;
};

struct ScenarioStand {
    std::string id;
    double lat = 0, lon = 0; ///< degrees
    double heading = 0;      ///< radians, of the nose
    double radius = 0;       ///< nautical miles
};

struct ScenarioFlight {
    std::uint32_t hexid = 0;
    std::string callsign, model, regcode, emitterCategory;
    std::function<Truth(double)> truth;     ///< by seconds of the scenario, clamped to [begin, end]
    double begin = 0, end = 0;              ///< seconds between which reports are made
    std::optional<ScenarioStand> stand;     ///< where it stands at first
    std::optional<LatLon> landingThreshold; ///< of the runway it lands on
    std::optional<double> lineUp;           ///< seconds at which it begins its run, lined up on the runway
};

/// How the receiver sees it.
struct ReportPlan {
    double spacing = 5;       ///< seconds between reports of one flight
    double noiseMetres = 0;   ///< standard deviation of each coordinate
    double outlierMetres = 0; ///< one report in 20 lies 15 to this many metres off; 0 = none
    double gapSeconds = 0;    ///< one gap of this length in the middle of each minute's reports; 0 = none
    bool hover = false;       ///< altitude frozen over the runway, see the scenarios that land
    bool real = false; ///< on the ground as transponders send it: no track, heading in steps, speed with noise, and
                       ///< nothing for a while at line-up
};

struct TruthScenario {
    std::string name; ///< with its variant
    std::string airportCode{noAirport};
    LatLon airport;
    double elevation = 0;     ///< feet
    double qnh = standardQnh; ///< hectopascal
    LatLon user;              ///< the user's aircraft, out of everybody's way
    double userAlt = 0;       ///< feet
    double seconds = 0;       ///< length
    std::vector<ScenarioFlight> flights;
    ReportPlan plan;
};

/// Names without variants, sorted.
std::vector<std::string> scenarioNames();
/// NAME or NAME followed by variants, each after a '+': "noise", "2s", "5s", "10s", "gaps", "hover", "real". Nothing
/// for a name that is not known.
std::optional<TruthScenario> makeScenario(std::string_view name);
} // namespace kes::replay
