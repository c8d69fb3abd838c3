// SPDX-License-Identifier: MIT
#include "tools/replay/replay_airport.h"

#include "airports/airport_table.h"
#include "core/folders.h"
#include "core/text.h"
#include "tools/pack/stock_files.h"

#include <fmt/format.h>
#include <fstream>
#include <limits>
#include <stdexcept>

namespace kes::replay {

namespace fs = std::filesystem;

namespace {

/// Else it is a layout.
bool isAirportFile(const fs::path& stands) {
    return equalsNoCase(stands.extension().string(), ".xml");
}

} // namespace

std::vector<std::string> serveStands(const fs::path& file, const fs::path& updates) {
    if (file.empty())
        return {};
    if (!fs::is_regular_file(file))
        throw std::runtime_error(fmt::format("{} is no file", file.string()));
    const fs::path folder = updates / "MSFS" / "archive" / "stock";
    fs::create_directories(folder);
    if (isAirportFile(file)) {
        fs::copy_file(file, folder / (upper(file.stem().string()) + ".xml"), fs::copy_options::overwrite_existing);
    } else {
        pack::PackCount count;
        pack::packStands({file}, updates, {}, count);
    }
    std::vector<std::string> codes;
    for (const auto& entry : fs::directory_iterator(folder))
        codes.push_back(entry.path().stem().string());
    if (codes.empty())
        throw std::runtime_error(fmt::format("{} has no airport with stands", file.string()));
    return codes;
}

std::string chooseParkAirport(const std::vector<std::string>& codes, LatLon place) {
    std::string nearest;
    double best = std::numeric_limits<double>::max();
    for (const std::string& code : codes) {
        const auto airport = findAirport(code);
        if (!airport)
            continue;
        const double d = distanceNm(place, {airport->lat, airport->lon});
        if (d < best || (d == best && code < nearest)) {
            best = d;
            nearest = code;
        }
    }
    if (!nearest.empty())
        std::ofstream(path::myParkAirports, std::ios::binary) << nearest << "\n";
    return nearest;
}

std::vector<pack::AptRunway> runwaysOf(const fs::path& stands, std::string_view code) {
    if (code.empty() || isAirportFile(stands))
        return {};
    std::vector<pack::BadRow> ignored; // told when its stands were read
    for (pack::AptAirport& airport : pack::readApt(stands, ignored)) {
        if (airport.code == code)
            return std::move(airport.runways);
    }
    return {};
}

} // namespace kes::replay
