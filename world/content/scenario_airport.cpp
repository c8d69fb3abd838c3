// SPDX-License-Identifier: MIT
#include "world/content/scenario_airport.h"

#include "airports/airport_xml.h"
#include "core/codes.h"
#include "core/xml_file.h"
#include "tools/command_line/command_line.h"
#include "world/content/files.h"
#include "world/source/airfield.h"

#include <algorithm>
#include <cmath>
#include <string>

namespace kes::world {

namespace fs = std::filesystem;

namespace {

constexpr double standRadius = 30.0; ///< metres: half of what lies between two stands
/// Metres. Two of them have room beside each other on any two stands.
constexpr double widestSpan = 55.0;
/// Of three stands one stays empty, for who comes.
constexpr std::size_t emptyEvery = 3;
constexpr std::uint64_t allDay = (std::uint64_t{1} << 48) - 1;

bool standsThere(const AiLivery& livery, const Tables& tables) {
    if (livery.cargo || livery.airline == genericAirline || livery.airline == privateAirline)
        return false;
    const auto type = tables.typeIndex.find(livery.type);
    if (type == tables.typeIndex.end())
        return false;
    const TypeRow& row = tables.types[type->second];
    double span = 0;
    return row.category == "Large" && command_line::readNumber(row.span, span, 0.0, widestSpan);
}

/// Each livery once, so that no airframe stands twice; the list is walked in large steps, for neighbours to differ.
std::vector<AiLivery> visitors(const std::vector<AiLivery>& liveries, const Tables& tables, std::size_t count) {
    std::vector<AiLivery> fitting, chosen;
    for (const AiLivery& livery : liveries)
        if (standsThere(livery, tables))
            fitting.push_back(livery);
    for (std::size_t i = 0; i < std::min(count, fitting.size()); ++i)
        chosen.push_back(fitting[i * fitting.size() / count]);
    return chosen;
}

std::vector<ParkPosOption> allWeek(const AiLivery& livery) {
    std::vector<ParkPosOption> options;
    for (std::uint32_t day = 1; day <= 7; ++day)
        options.push_back({.airline = livery.airline,
                           .model = livery.type,
                           .regcode = livery.regcode,
                           .hours = allDay,
                           .optIndex = static_cast<std::int32_t>(day),
                           .day = day,
                           .fromArchive = 1,
                           .real = 1});
    return options;
}

void addParameter(pugi::xml_node parameters, const char* name, const std::string& value) {
    pugi::xml_node parameter = parameters.append_child("parameter");
    parameter.append_attribute("name") = name;
    parameter.append_attribute("value") = value.c_str();
}

} // namespace

void writeScenarioAirport(const ContentPlan& plan, const Tables& tables, const std::vector<AiLivery>& liveries) {
    const ScenarioAirport& airport = *plan.scenarioAirport;
    std::vector<Stand> list;
    for (const source::ScenarioStand& s : source::scenarioStands()) {
        const LatLon at = source::placeOf(airport.place, source::fieldPoint(s.a, s.b));
        Stand stand{.id = s.name};
        stand.lat = at.lat;
        stand.lon = at.lon;
        stand.heading = source::standHeading(s);
        stand.radius = standRadius / metresPerNm;
        list.push_back(std::move(stand));
    }
    const std::vector<AiLivery> there = visitors(liveries, tables, list.size() - list.size() / emptyEvery);
    std::size_t next = 0;
    for (std::size_t i = 0; i < list.size() && next < there.size(); ++i)
        if (i % emptyEvery != emptyEvery - 1)
            list[i].options = allWeek(there[next++]);
    pugi::xml_document document;
    appendMeta(document);
    pugi::xml_node parameters = document.append_child("parameters");
    addParameter(parameters, "airport_name", airport.code + ", scenario");
    addParameter(parameters, "publisher", "stock");
    addParameter(parameters, "altitude", std::to_string(std::lround(airport.elevation)));
    addParameter(parameters, "num_parkpos", std::to_string(list.size()));
    appendStands(document, list, true, true);
    writeXml(plan.programFolder / "updates" / "MSFS" / "archive" / "stock" / (airport.code + ".xml"), document);
    const fs::path userList = plan.programFolder / "airports" / "my_park_airports.txt";
    if (!fs::exists(userList))
        writeFile(userList, airport.code + "\n");
}

} // namespace kes::world
