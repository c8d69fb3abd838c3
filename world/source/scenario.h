// SPDX-License-Identifier: MIT
// The built-in traffic around one airport: arrivals on the ILS, departures, overflights, light aircraft, a helicopter,
// aircraft at stands, vehicles. The same seed gives the same reports. It goes on for ever: what ends is replaced, and
// an aircraft that has arrived leaves again. One thread.
#pragma once

#include "world/source/airfield.h"
#include "world/source/fleet.h"
#include "world/source/report_line.h"
#include "world/source/track.h"

#include <cstdint>
#include <list>
#include <random>
#include <string>
#include <vector>

namespace kes::source {

inline constexpr LatLon munichPosition{48.353783, 11.786086};
inline constexpr double munichElevation = 1487; ///< feet

struct ScenarioConfig {
    LatLon centre = munichPosition;
    double elevation = munichElevation; ///< feet
    double qnh = 1018;                  ///< hectopascal
    double magneticVariation = 4.0;     ///< degrees, east positive
    std::string airport = "MUC";        ///< IATA code in origins and destinations; empty = "null"
    std::uint32_t seed = 1;
};

enum class FlightKind { Arrival, Departure, Overflight, Light, Helicopter, Vehicle, Standing };

/// Where a flight is on the grid of times used to keep flights apart.
struct CoarsePoint {
    Vec at;
    double feet = 0, speed = 0;
    bool airborne = false;
};

struct ScenarioFlight {
    std::uint32_t id = 0;
    FlightKind kind = FlightKind::Overflight;
    Airframe airframe;
    std::string callsign, flightNumber, origin, destination, dataSource;
    bool hideCallsign = false, hideRegcode = false; ///< the feed does not know it
    Track track;
    double start = 0;                       ///< scenario time at which the track begins
    double reportFrom = 0, reportUntil = 0; ///< scenario times
    double nextReport = 0;
    int stand = -1; ///< index of scenarioStands
    std::vector<CoarsePoint> coarse;
};

/// An aircraft between its arrival and its departure, reported as parked only.
struct WaitingAircraft {
    Airframe airframe;
    std::string callsign;
    int stand = -1;
    double nextReport = 0;
    double leaveAt = 0;   ///< scenario time of the push-back wished for
    bool planned = false; ///< its departure exists
    double until = 1e18;  ///< reports as a live aircraft begin
};

enum class LineKind { Traffic, Parked, Vehicle, Odd };

struct ScenarioReport {
    double time = 0; ///< scenario seconds, from 0
    LineKind kind = LineKind::Traffic;
    std::uint32_t flight = 0; ///< id of the flight, 0 for lines of none
    SourceReport report;
    std::string stand;
};

struct Scenario {
    ScenarioConfig config;
    std::mt19937 random;
    Fleet fleet;
    std::vector<ScenarioStand> stands;
    std::vector<char> standTaken;
    std::list<ScenarioFlight> flights;
    std::list<WaitingAircraft> waiting;
    double nextArrival = 0, nextOverflight = 0, nextLight = 0, nextHelicopter = 0, nextVehicle = 0;
    double nextOdd = 0;
    std::uint32_t oddCount = 0, lastId = 0;
};

/// A fresh one from its seed. The day has begun before: the first reports find traffic of all kinds under way.
void startScenario(Scenario& scenario, const ScenarioConfig& config);
/// The next report in time order.
ScenarioReport nextReport(Scenario& scenario);
/// What the feed would say of a flight at a scenario time.
SourceReport truthAt(const Scenario& scenario, const ScenarioFlight& flight, double time);
/// The line of the feed, with this time (seconds since 1970).
std::string lineOf(const Scenario& scenario, const ScenarioReport& report, double epoch);

} // namespace kes::source
