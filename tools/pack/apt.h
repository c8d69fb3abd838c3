// SPDX-License-Identifier: MIT
// Stock airport files out of airport layouts in the public apt.dat form.
#pragma once

#include "airports/airport_file.h"
#include "tools/pack/pack.h"

#include <cstddef>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace kes::pack {

/// A start place as a layout tells it, or a helipad.
struct AptStart {
    std::size_t line = 0;                 ///< in its file, from 1
    double lat = 0, lon = 0, heading = 0; ///< degrees; the heading in any turn
    std::string kind;                     ///< gate, tie_down, hangar, misc; empty in the old form
    std::string classes;                  ///< heavy|jets|turboprops|props|helos|fighters, or all
    std::string name;
    char width = 0;                      ///< A to F, 0 = not told
    double padRadius = 0;                ///< metres; 0 = no helipad
    std::string operation;               ///< none, general_aviation, airline, cargo, military; empty = not told
    std::vector<std::string> airlines{}; ///< ICAO codes of those that it is marked for
};
/// A runway of land from end to end; pictures are all that needs it.
struct AptRunway {
    std::string name; ///< "07L/25R"
    double width = 0; ///< metres
    LatLon first, second;
};
struct AptAirport {
    std::string code; ///< ICAO code where the layout tells one, else its own
    std::string name;
    double elevation = 0; ///< feet
    std::vector<AptStart> starts;
    std::vector<AptRunway> runways{};
};

/// Reads a layout file of form 1100, one before or after it, plain or gzip. Start places of the old kind (row 15) count
/// only where an airport has none of the new kind. Helipads (row 102) come last, but for those on which a start place
/// lies: theirs would be the nearest stand to others, too. Rows that cannot be used are added to `bad`. Throws
/// std::runtime_error when the file cannot be read or is no layout file.
std::vector<AptAirport> readApt(const std::filesystem::path& file, std::vector<BadRow>& bad);
/// The same of a text; `file` is told with bad rows.
std::vector<AptAirport> parseApt(std::string_view text, const std::string& file, std::vector<BadRow>& bad);

/// The stands of an airport in the order of its start places, each with an id of its own. `starts`, when given, gets
/// the start place of each.
std::vector<Stand> standsOf(const AptAirport& airport, std::vector<AptStart>* starts = nullptr);

/// The shortest name by which people know a stand: "247" of "Terminal 1 Gate 247", "A08" of "Dock A Gate 08".
std::string spotterId(std::string_view name);

/// Whether it may be the name of an airport file.
bool isFileCode(std::string_view code);

} // namespace kes::pack
