// SPDX-License-Identifier: MIT
#include "tools/inspect/airport.h"

#include "airports/airport_file.h"
#include "airports/airport_ref.h"
#include "airports/airport_source.h"
#include "airports/airport_table.h"
#include "airports/airport_xml.h"
#include "core/folders.h"
#include "core/log.h"
#include "core/text.h"
#include "core/text_encoding.h"
#include "core/xml_file.h"
#include "platform/system.h"
#include "tools/inspect/airport_page_text.h"
#include "tools/inspect/bgl.h"

#include <algorithm>
#include <cmath>
#include <fmt/format.h>
#include <fstream>
#include <nlohmann/json.hpp>
#include <stdexcept>

namespace kes::inspect {

namespace {

namespace fs = std::filesystem;
using Json = nlohmann::ordered_json;

/// Other bytes than UTF-8 would be no JSON.
std::string shown(std::string_view text) {
    return isUtf8(text) ? std::string(text) : fmt::format("(no UTF-8, {} bytes)", text.size());
}

double rounded(double value, double steps) {
    return std::round(value * steps) / steps;
}

Json describe(const ParkPosOption& option) {
    Json json;
    json["airline"] = shown(option.airline);
    json["model"] = shown(option.model);
    if (!option.regcode.empty())
        json["regcode"] = shown(option.regcode);
    if (!option.coupledCs1.empty() || !option.coupledCs2.empty())
        json["callsigns"] = {shown(option.coupledCs1), shown(option.coupledCs2)};
    json["day"] = option.day;
    json["halfHours"] = Json::array();
    for (int bit = 0; bit < 48; ++bit) {
        if (((option.hours >> bit) & 1U) != 0)
            json["halfHours"].push_back(bit);
    }
    json["real"] = option.real != 0;
    json["base"] = option.fromArchive != 0;
    return json;
}

/// A layer as it stands in its file.
Json describeLayer(const fs::path& file, std::int32_t fromArchive) {
    Json layer;
    pugi::xml_document document;
    if (const auto result = loadXml(document, file); !result) {
        layer["error"] = result.description();
        return layer;
    }
    layer["parameters"] = Json::object();
    for (const pugi::xml_node parameter : document.child("parameters").children("parameter"))
        layer["parameters"][shown(parameter.attribute("name").value())] = shown(parameter.attribute("value").value());
    layer["stands"] = Json::array();
    for (const pugi::xml_node parkpos : document.child("parkpositions").children("parkpos")) {
        Json stand;
        for (const pugi::xml_attribute attribute : parkpos.attributes())
            stand[shown(attribute.name())] = shown(attribute.value());
        stand["options"] = Json::array();
        for (const pugi::xml_node opt : parkpos.children("opt"))
            stand["options"].push_back(describe(readOption(opt, fromArchive)));
        layer["stands"].push_back(std::move(stand));
    }
    return layer;
}

Json describe(const Stand& stand) {
    Json json;
    json["sid"] = stand.sid;
    json["id"] = shown(stand.id);
    json["latitude"] = rounded(stand.lat, 1e7);
    json["longitude"] = rounded(stand.lon, 1e7);
    json["heading"] = rounded(stand.heading * radToDeg, 10);
    json["radius"] = rounded(stand.radius * metresPerNm, 10);
    const std::pair<const char*, bool> flags[] = {{"cargo", stand.cargo},
                                                  {"ramp", stand.ramp},
                                                  {"heli", stand.heli},
                                                  {"manual", stand.manual},
                                                  {"radiusChange", stand.radiusChange},
                                                  {"cargoChange", stand.cargoChange}};
    for (const auto& [name, set] : flags) {
        if (set)
            json[name] = true;
    }
    json["adjacent"] = stand.adjacent;
    json["options"] = Json::array();
    for (const ParkPosOption& option : stand.options)
        json["options"].push_back(describe(option));
    return json;
}

void copyInto(const fs::path& from, const fs::path& to) {
    std::error_code error;
    fs::create_directories(to.parent_path(), error);
    if (!fs::copy_file(from, to, fs::copy_options::overwrite_existing, error))
        throw std::runtime_error(fmt::format("{}: {}", platform::pathText(from), error.message()));
}

/// Copies what the program folder has of an airport.
void copyAirport(const fs::path& program, const std::string& code) {
    for (const fs::path* folder : {&path::myThirdparty, &path::mySimaddon}) {
        for (const char* extension : {"txt", "xml"}) {
            const fs::path file = *folder / fmt::format("{}.{}", code, extension);
            if (fs::is_regular_file(program / file))
                copyInto(program / file, file);
        }
    }
    std::error_code error;
    for (fs::recursive_directory_iterator it(program / path::learned, error), end; !error && it != end;
         it.increment(error)) {
        if (it->is_regular_file() && it->path().filename() == code + ".xml")
            copyInto(it->path(), it->path().lexically_relative(program));
    }
}

/// The airport of the code, or where the stands of the file lie when nobody knows it.
void takeReference(const fs::path& program, const std::string& code, const fs::path& baseFile) {
    AirportRef reference;
    reference.code = code;
    if (fs::is_regular_file(program / path::airportsMsfs)) {
        copyInto(program / path::airportsMsfs, path::airportsMsfs);
        if (readAirportTable()) {
            if (const auto entry = findAirport(code)) {
                setAirportRef(AirportRef{entry->code, entry->iata, entry->lat, entry->lon, entry->alt});
                return;
            }
        }
    }
    pugi::xml_document document;
    (void)loadXml(document, baseFile);
    std::vector<double> lats, lons;
    for (const pugi::xml_node parkpos : document.child("parkpositions").children("parkpos")) {
        lats.push_back(numberOf(parkpos.attribute("latitude")));
        lons.push_back(numberOf(parkpos.attribute("longitude")));
    }
    if (!lats.empty()) {
        const auto middle = static_cast<std::ptrdiff_t>(lats.size() / 2);
        std::nth_element(lats.begin(), lats.begin() + middle, lats.end());
        std::nth_element(lons.begin(), lons.begin() + middle, lons.end());
        reference.lat = lats[lats.size() / 2];
        reference.lon = lons[lons.size() / 2];
    }
    setAirportRef(reference);
}

/// A line that tells a value and not a fault.
bool isPlainLine(std::string_view line) {
    return line.empty() || (line.size() > 26 && line.substr(24, 2) == ": ") ||
           line.starts_with("Airport file read from ") || line.starts_with("Read from learned airport file");
}

/// What the log told; the first line is its head.
void addLog(Json& result, const fs::path& log) {
    result["warnings"] = Json::array();
    result["log"] = Json::array();
    std::ifstream in(log, std::ios::binary);
    std::string line;
    std::getline(in, line);
    while (std::getline(in, line)) {
        result["log"].push_back(shown(line));
        if (!isPlainLine(line))
            result["warnings"].push_back(shown(line));
    }
}

std::string publisherIn(const fs::path& baseFile) {
    pugi::xml_document document;
    (void)loadXml(document, baseFile);
    return std::string(parameterText(document, "publisher").value_or(""));
}

/// Puts a file where the program would find such a one, and returns that place: what is learned belongs to the place.
std::string placeOf(const fs::path& file, const std::string& code) {
    const std::string publisher = publisherIn(file);
    if (publisher != "stock" && publisher != "simaddon") {
        const std::string place = platform::pathText(path::myThirdparty / platform::pathFrom(code)) + ".xml";
        std::error_code error;
        if (!fs::equivalent(file, platform::pathFrom(place), error))
            copyInto(file, platform::pathFrom(place));
        return place;
    }
    const std::string place = fmt::format("archive/{}/{}.xml", publisher, code);
    copyInto(file, fs::path("served") / "MSFS" / platform::pathFrom(place));
    std::ofstream(path::updateServer, std::ios::binary) << platform::pathText(fs::absolute("served")) << '\n';
    return place;
}

/// The text inside the page's script element must not end it.
std::string forScript(std::string text) {
    for (std::size_t at = text.find("</"); at != std::string::npos; at = text.find("</", at + 3))
        text.insert(at + 1, "\\");
    return text;
}

} // namespace

Json inspectAirport(const AirportQuery& query) {
    createFolders();
    std::string code, source;
    fs::path given = query.program / platform::pathFrom(query.airport);
    const bool isFile = fs::is_regular_file(given);
    if (isFile && equalsNoCase(platform::pathText(given.extension()), ".bgl"))
        given = fs::absolute(airportFileFromBgl(given));
    if (isFile) {
        code = platform::pathText(given.stem());
        source = placeOf(given, code);
    } else {
        code = query.airport;
        copyAirport(query.program, code);
        source = airportSource(code);
        if (source.empty())
            throw std::runtime_error(
                fmt::format("{} is no file, and no airport of the program folder or the server", code));
    }
    fs::path baseFile = platform::pathFrom(source);
    std::string url;
    if (!source.starts_with("airports")) {
        baseFile = "base.xml";
        if (!downloadAirportFile(source, baseFile, url))
            throw std::runtime_error("failed to download: " + url);
    }
    const fs::path learned = learnedPath(source, publisherIn(baseFile));
    if (!query.learned.empty())
        copyInto(query.learned, learned);
    Json result;
    result["code"] = code;
    result["source"] = isFile ? query.airport : url.empty() ? source : url;
    Json base = describeLayer(baseFile, 1);
    Json learnedLayer = fs::exists(learned) ? describeLayer(learned, 0) : Json();
    takeReference(query.program, code, baseFile);

    const fs::path log = query.log.empty() ? fs::path("Log.txt") : query.log;
    openLog(log);
    std::string trouble;
    try {
        trouble = gf_readApf(source, parkAirportFile, qualityPair, stands);
    } catch (const std::exception& error) {
        trouble = error.what();
    }
    closeLog();
    if (!trouble.empty())
        result["error"] = shown(trouble);
    result["name"] = shown(parkAirportFile.airport_name);
    result["publisher"] = shown(parkAirportFile.publisher);
    result["altitude"] = parkAirportFile.altitude;
    result["handmade"] = handmadeAirport;
    std::size_t options = 0, pairs = 0;
    for (const Stand& stand : stands) {
        options += stand.options.size();
        pairs += stand.adjacent.size();
    }
    result["quality"] = {{"real", qualityPair.real}, {"soft", qualityPair.soft}};
    result["totals"] = {{"stands", stands.size()}, {"options", options}, {"adjacentPairs", pairs / 2}};
    addLog(result, log);
    result["stands"] = Json::array();
    for (const Stand& stand : stands)
        result["stands"].push_back(describe(stand));
    result["base"] = std::move(base);
    result["learned"] = std::move(learnedLayer);
    return result;
}

std::string airportPage(const Json& airport, int day, int halfHour) {
    Json data = airport;
    data.erase("base");
    data.erase("learned");
    data.erase("log");
    data["day"] = day;
    data["halfHour"] = halfHour;
    return std::string(airportPageHead) + forScript(data.dump(-1, ' ', false, Json::error_handler_t::replace)) +
           std::string(airportPageTail);
}

} // namespace kes::inspect
