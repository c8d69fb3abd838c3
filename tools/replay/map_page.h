// SPDX-License-Identifier: MIT
// The page that shows a replay: one file of HTML with its data and its program inside, no network needed. The page's
// own policy keeps it from loading anything when somebody passes it on.
#pragma once

#include "core/geo.h"

#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace kes::replay {

/// A report as the feed gave it, at the second at which the aircraft is to be there.
struct MapReport {
    double seconds = 0; ///< of the replay
    double lat = 0, lon = 0, alt = 0;
    double gs = 0;       ///< knots
    double heading = -1; ///< degrees true, -1 = not given
    bool airborne = false;
};

/// Where an aircraft was at one second of the replay.
struct MapPoint {
    double seconds = 0;
    double lat = 0, lon = 0, alt = 0; ///< degrees, feet
    double heading = 0;               ///< degrees true, where the nose points
    double gs = 0;                    ///< knots over the ground
    std::uint8_t phase = 0;           ///< place in MapPage::phases
};

struct MapAircraft {
    std::string callsign, model;
    double halfSpan = 0.01; ///< nautical miles, for the size of the drawing
    std::vector<MapReport> reports;
    std::vector<MapPoint> shown; ///< as the simulator got it, by time; a gap of more than 2 s is a break
    std::vector<MapPoint> truth; ///< empty where it is not known
};

struct MapStand {
    std::string id;
    double lat = 0, lon = 0; ///< degrees
    double radius = 0;       ///< metres
    double heading = 0;      ///< degrees true
};

struct MapRunway {
    std::string name;     ///< of both ends: "07L/25R"
    double width = 0;     ///< metres
    LatLon first, second; ///< degrees; the ends in the order of the name
};

/// A moment that is worth a look.
struct MapWorst {
    std::uint32_t aircraft = 0; ///< place in MapPage::aircraft
    double seconds = 0;         ///< of the replay
    std::string text;           ///< what was worst then
};

struct MapPage {
    std::string title;
    std::vector<std::string_view> phases; ///< names
    std::vector<MapAircraft> aircraft;
    std::vector<MapStand> stands{};
    std::vector<MapRunway> runways{};
    double userLat = 0, userLon = 0; ///< degrees; of the user's aircraft, which stays there
    double epoch = 0;                ///< seconds since 1970 at second 0 of the replay; 0 = not known
    std::vector<MapWorst> worst{};
};

/// Writes the page. Throws std::runtime_error that names the file when it cannot be written.
void writeMapPage(const std::filesystem::path& file, const MapPage& page);

} // namespace kes::replay
