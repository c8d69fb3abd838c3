// SPDX-License-Identifier: MIT
#include "tools/inspect/bgl.h"

#include "airports/addon_link.h"
#include "airports/addon_scan.h"
#include "airports/airport_table.h"
#include "airports/bgl_reader.h"
#include "core/folders.h"
#include "core/geo.h"
#include "core/parameters.h"
#include "core/units.h"
#include "platform/file.h"
#include "platform/system.h"

#include <cerrno>
#include <fmt/format.h>
#include <fstream>
#include <nlohmann/json.hpp>
#include <stdexcept>

namespace kes::inspect {

namespace {

using Json = nlohmann::ordered_json;

Json describe(const Stand& stand) {
    Json json;
    json["id"] = stand.id;
    json["lat"] = stand.lat;
    json["lon"] = stand.lon;
    json["heading_deg"] = stand.heading * radToDeg;
    json["radius_m"] = stand.radius * metresPerNm;
    json["ramp"] = stand.ramp;
    json["cargo"] = stand.cargo;
    json["heli"] = stand.heli;
    return json;
}

Json describe(const ScanAirport& airport) {
    Json json;
    json["icao"] = airport.file.icao;
    json["elevation_ft"] = airport.file.altitude;
    json["parking_entries"] = airport.parkingEntries;
    json["parkings"] = Json::array();
    json["helipads"] = Json::array();
    for (const Stand& stand : airport.file.standList)
        json[stand.heli ? "helipads" : "parkings"].push_back(describe(stand));
    json["messages"] = airport.messages;
    return json;
}

Json describe(const std::string& file, bool msfs2024) {
    Json json;
    json["file"] = file;
    std::string none;
    if (const int error = platform::readFile(file, none, 0); error != 0 && error != EFBIG) {
        json["error"] = platform::errorText(error);
        return json;
    }
    json["has_airport_section"] = hasAirportSection(file);
    if (!json["has_airport_section"].get<bool>())
        return json;
    const BglContent content = lf_toParkingPositions(file, msfs2024);
    if (content.firstRecordType)
        json["first_record_type"] = *content.firstRecordType;
    if (msfs2024)
        json["not_recognised_2024"] = content.notRecognised;
    if (!content.newFormIdents.empty())
        json["new_form_idents_unused"] = content.newFormIdents;
    if (!content.passedOver.empty())
        json["passed_over_idents"] = content.passedOver;
    if (!content.error.empty())
        json["error"] = content.error;
    json["airports"] = Json::array();
    for (const ScanAirport& airport : content.airports) {
        if (airport.isWhole)
            json["airports"].push_back(describe(airport));
        else
            json["broken_airport"] = airport.file.icao;
    }
    return json;
}

} // namespace

Json inspectBgl(const std::vector<std::string>& files, bool msfs2024) {
    Json result = Json::array();
    for (const std::string& file : files)
        result.push_back(describe(file, msfs2024));
    return result;
}

Json inspectAddons(const std::vector<std::filesystem::path>& folders, const std::filesystem::path& program,
                   bool msfs2024) {
    namespace fs = std::filesystem;
    createFolders();
    par::MSFS_2020.value = !msfs2024;
    for (const fs::path* table : {&path::airportsMsfs, &path::airportsMsfsNames}) {
        std::error_code ignored;
        fs::copy_file(program / *table, *table, ignored);
    }
    readAirportTable();
    readAirportNames();
    const bool found = scanRoots(folders);
    Json result;
    result["found"] = found;
    result["summary"] = addonSummary();
    result["airports"] = Json::array();
    for (const AddonAirport& airport : addonAirports) {
        Json json;
        json["icao"] = airport.code;
        if (!airport.unusedIdent.empty())
            json["ident_unused"] = airport.unusedIdent;
        json["file"] = airport.file;
        json["recognised"] = airport.isRecognised;
        json["publisher"] = airport.publisher;
        json["why"] = airport.why;
        json["stands"] = airport.stands;
        if (!airport.archive.empty()) {
            json["linked"] = airport.archive;
            json["archived_stands"] = airport.archivedCount;
        }
        json["generated"] = airport.isGenerated;
        result["airports"].push_back(std::move(json));
    }
    result["report"] = Json::array();
    std::ifstream in(path::outputInfo / "AirportsScanLog.txt", std::ios::binary);
    for (std::string line; std::getline(in, line);)
        result["report"].push_back(line);
    dropAirportNames();
    return result;
}

std::filesystem::path airportFileFromBgl(const std::filesystem::path& file) {
    const std::string name = platform::pathText(file);
    BglContent content = lf_toParkingPositions(name, false);
    for (ScanAirport& airport : content.airports) {
        if (!airport.isWhole || airport.file.standList.empty())
            continue;
        std::vector<std::string> lines;
        airport.file.publisher = findPublisher(name, lines).publisher;
        airport.file.BGLpath = name;
        if (!generateAirportFile(airport))
            break;
        const bool simaddon = airport.file.publisher == "simaddon";
        return (simaddon ? path::mySimaddon : path::myThirdparty) / (airport.file.icao + ".xml");
    }
    throw std::runtime_error(
        fmt::format("{} has no airport with stands{}{}", name, content.error.empty() ? "" : ": ", content.error));
}

} // namespace kes::inspect
