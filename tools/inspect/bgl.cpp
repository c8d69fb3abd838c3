#include "tools/inspect/bgl.h"

#include "airports/bgl_reader.h"
#include "core/geo.h"
#include "core/units.h"
#include "platform/file.h"

#include <cerrno>
#include <nlohmann/json.hpp>

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

} // namespace kes::inspect
