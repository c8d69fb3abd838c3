// SPDX-License-Identifier: MIT
#include "airports/airport_table.h"

#include "airports/airport_file.h"
#include "core/errors.h"
#include "core/folders.h"
#include "core/log.h"
#include "core/xml_file.h"
#include "platform/system.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <cmath>
#include <fmt/format.h>
#include <pugixml.hpp>
#include <stdexcept>

namespace kes {

std::vector<AirportEntry> airportTable;
TextMap<std::string> airportNames;

namespace {

constexpr std::size_t expectedRows = 44000;
constexpr double farthestNm = 100.0;
bool tableRead = false;

/// Text to double by the standard's rules, but always with a decimal point: the window toolkit may set a locale.
double numberFrom(std::string_view text) {
    std::size_t start = 0;
    while (start < text.size() && std::isspace(static_cast<unsigned char>(text[start]))) {
        ++start;
    }
    text.remove_prefix(start);
    bool negative = false;
    if (!text.empty() && (text[0] == '+' || text[0] == '-')) {
        negative = text[0] == '-';
        text.remove_prefix(1);
    }
    auto format = std::chars_format::general;
    if (text.size() > 2 && text[0] == '0' && (text[1] == 'x' || text[1] == 'X') &&
        (std::isxdigit(static_cast<unsigned char>(text[2])) || text[2] == '.')) {
        format = std::chars_format::hex;
        text.remove_prefix(2);
    }
    double value = 0;
    if (text.substr(0, 1) == "-") { // a second sign
        throw std::invalid_argument("invalid stod argument");
    }
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value, format);
    if (error == std::errc::result_out_of_range) {
        throw std::out_of_range("stod argument out of range");
    }
    if (error != std::errc()) {
        throw std::invalid_argument("invalid stod argument");
    }
    return negative ? -value : value;
}

void sortTable() {
    std::stable_sort(airportTable.begin(), airportTable.end(),
                     [](const AirportEntry& a, const AirportEntry& b) { return a.code < b.code; });
    airportTable.shrink_to_fit();
}

void readRows(const std::string& pathText) {
    pugi::xml_document document;
    const pugi::xml_parse_result result = loadXml(document, path::airportsMsfs);
    if (!result) {
        throw nwk::UserErrorException(88, pathText + " not loaded " + result.description());
    }
    const pugi::xml_node airports = document.child("airports");
    if (!airports) {
        throw nwk::UserErrorException(87, pathText + " not found");
    }
    for (const pugi::xml_node row : airports.children("airport")) {
        AirportEntry entry;
        entry.code = row.attribute("code").as_string();
        entry.alt = numberFrom(row.attribute("alt").as_string());
        entry.lat = numberFrom(row.attribute("lat").as_string());
        entry.lon = numberFrom(row.attribute("lon").as_string());
        entry.iata = row.attribute("iata").as_string();
        airportTable.push_back(std::move(entry));
    }
}

/// True when a row lies so far north or south that its distance is more than `limitNm`, whatever the longitudes: a
/// degree of latitude is 60 miles. Spares most rows the haversine.
bool isOutOfReach(const AirportEntry& entry, LatLon position, double limitNm) {
    return std::abs(entry.lat - position.lat) * 60.0 > limitNm + 0.001;
}

} // namespace

bool readAirportTable() {
    if (tableRead) {
        return !airportTable.empty();
    }
    tableRead = true;
    const std::string pathText = platform::pathText(path::airportsMsfs);
    airportTable.reserve(expectedRows);
    try {
        readRows(pathText);
        sortTable();
        log(fmt::format("{} airports read from \"{}\"", airportTable.size(), pathText));
    } catch (const std::exception& error) {
        log(error.what());
        sortTable(); // the rows before the fault stay in use
    }
    return !airportTable.empty();
}

void resetAirportTable() {
    airportTable.clear();
    tableRead = false;
}

std::optional<AirportEntry> findAirport(std::string_view code) {
    for (const AirportEntry& entry : airportTable) {
        if (entry.code == code) {
            return entry;
        }
    }
    return std::nullopt;
}

std::optional<AirportEntry> nearestAirport(LatLon position, double limitNm) {
    const AirportEntry* nearest = nullptr;
    double best = limitNm;
    for (const AirportEntry& entry : airportTable) {
        if (isOutOfReach(entry, position, best)) {
            continue;
        }
        const double distance = distanceNm(position, {entry.lat, entry.lon});
        if (distance < best || (distance == best && !nearest)) {
            best = distance;
            nearest = &entry;
        }
    }
    return nearest ? std::optional(*nearest) : std::nullopt;
}

std::optional<AirportEntry> closestAirport(LatLon position, const StandLookup& closestStand) {
    const AirportEntry* closest = nullptr;
    const AirportEntry* neighbour = nullptr; // who held the title before, not whoever is second nearest
    double best = farthestNm;
    for (const AirportEntry& entry : airportTable) {
        if (isOutOfReach(entry, position, atAirportNm)) {
            continue;
        }
        const double distance = distanceNm(position, {entry.lat, entry.lon});
        if (atAirportNm >= distance && best > distance) {
            best = distance;
            neighbour = closest;
            closest = &entry;
        }
    }
    if (!closest) {
        return std::nullopt;
    }
    if (!neighbour) {
        return *closest;
    }
    log(fmt::format("Airport {} is closest, neighbour is {}", closest->code, neighbour->code));
    std::string ownStand, otherStand;
    const double own = closestStand(closest->code, position, ownStand);
    const double other = closestStand(neighbour->code, position, otherStand);
    if (other >= own) {
        return *closest;
    }
    log(fmt::format("Airport {} is closest, but stand {} at neighbouring airport {} is closest at {:.0F} meters ...",
                    closest->code, otherStand, neighbour->code, other * metresPerNm));
    return *neighbour;
}

std::optional<AirportEntry> closestAirport(LatLon position) {
    return closestAirport(position, gf_readDestApfForClosestStand);
}

void readAirportNames() {
    airportNames.clear();
    pugi::xml_document document;
    if (loadXml(document, path::airportsMsfsNames)) {
        for (const pugi::xml_node row : document.child("AirportNames").children("airport")) {
            airportNames.try_emplace(row.attribute("ICAO").as_string(), row.attribute("name").as_string());
        }
    }
    log(fmt::format("{} airport names read from \"{}\"", airportNames.size(),
                    platform::pathText(path::airportsMsfsNames)));
}

void dropAirportNames() {
    airportNames = {}; // gives the memory back, too
}

} // namespace kes
