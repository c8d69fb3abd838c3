// SPDX-License-Identifier: MIT
#include "airports/airport_file.h"

#include "airports/airport_ref.h"
#include "airports/airport_source.h"
#include "airports/airport_xml.h"
#include "airports/learned_file.h"
#include "core/change.h"
#include "core/folders.h"
#include "core/foreign_log.h"
#include "core/log.h"
#include "core/window.h"
#include "core/xml_file.h"
#include "platform/system.h"
#include "update/download.h"

#include <algorithm>
#include <fmt/format.h>
#include <pugixml.hpp>
#include <stdexcept>
#include <system_error>

namespace kes {

namespace fs = std::filesystem;

AirportFile parkAirportFile;
QualityPair qualityPair;
bool handmadeAirport = false;
bool saveParamChanged = false;
std::atomic<bool> airportLoaded{false};

namespace {

constexpr double unknownNm = 100.0;
constexpr double farAwayNm = 10.0;
constexpr std::int32_t usualPercentage = 30;

void logValue(std::string_view name, std::string_view value) {
    log(fmt::format("{:24}: {}", name, value));
}

bool isLocal(std::string_view path) {
    return path.starts_with("airports");
}

/// Tells of a file that describes another place, which would leave an airport without one usable stand.
void warnOfFarStands(const std::vector<Stand>& list, const AirportRef& airport, std::string_view path) {
    const auto isFar = [&](const Stand& stand) { return distanceNm(stand.position(), airport.position()) > farAwayNm; };
    if (const auto far = std::ranges::count_if(list, isFar)) {
        logWarning(fmt::format("{} of {} stands in {} lie more than {:.0F} nautical miles from {}", far, list.size(),
                               path, farAwayNm, airport.code));
    }
}

/// Puts the learned file, if there is one, on top of the base list. Returns its place when it has replaced the base.
std::string takeLearned(const std::string& path, const AirportFile& file, QualityPair& quality,
                        std::vector<Stand>& list) {
    const fs::path learned = learnedPath(path, file.publisher);
    if (!fileExists(learned)) {
        changeForNow(par::parking_percentage, usualPercentage);
        log(fmt::format("{:24}: {}%", par::parking_percentage.name, std::to_string(par::parking_percentage)));
        return {};
    }
    lf_readLearned(learned, file.airport_name, list, handmadeAirport);
    quality = qualityOf(list);
    if (!handmadeAirport)
        return {};
    std::string text = platform::pathText(learned);
    showStatus(fmt::format("A handmade airport file overruled the archived file! {}", text), false);
    return text;
}

void tellWindow(const AirportFile& file, QualityPair quality, std::int32_t trafficWeek) {
    setReadout(Readout::publisher, kes::quoted(file.publisher));
    readouts.handmade = handmadeAirport;
    setReadout(Readout::quality, qualityText(quality));
    readouts.trafficWeek = trafficWeek;
    repaint();
}

class ParameterWriter {
public:
    explicit ParameterWriter(pugi::xml_document& document) : parameters_(document.append_child("parameters")) {}
    void add(std::string_view name, const std::string& value) {
        pugi::xml_node parameter = parameters_.append_child("parameter");
        parameter.append_attribute("name") = std::string(name).c_str();
        parameter.append_attribute("value") = value.c_str();
    }
    void add(std::string_view name, std::int32_t value) { add(name, std::to_string(value)); }
    void add(const BoolParameter& parameter) { add(parameter.name, std::string(parameter ? "true" : "false")); }
    void add(const IntParameter& parameter) { add(parameter.name, static_cast<std::int32_t>(parameter)); }

private:
    pugi::xml_node parameters_;
};

void addSettings(ParameterWriter& parameters) {
    parameters.add(par::LATERAL_RANGE);
    for (const BoolBox* box : {&par::AUTO_RANGE, &par::WEEK, &par::PARK_FAKE, &par::PARK_SOFT})
        parameters.add(*box);
    parameters.add(par::parking_percentage);
    parameters.add(par::INITIAL_LOAD_ONLY);
    parameters.add(par::MAX_FIT);
    if (par::MAX_LIVE >= 0)
        parameters.add(par::MAX_LIVE);
    parameters.add(par::LEARN_SOFT);
}

double closestStand(std::string_view code, LatLon position, std::string& standId) {
    const std::string source = airportSource(code);
    if (source.empty())
        return unknownNm;
    fs::path file = platform::pathFrom(source);
    if (!isLocal(source)) {
        file = "airport.xml";
        std::string url;
        if (!downloadAirportFile(source, file, url))
            return unknownNm;
    }
    pugi::xml_document document;
    if (!loadXml(document, file)) {
        if (!isLocal(source))
            removeQuietly(file);
        return unknownNm;
    }
    double best = unknownNm;
    for (const pugi::xml_node parkpos : document.child("parkpositions").children("parkpos")) {
        const LatLon stand{numberOf(parkpos.attribute("latitude")), numberOf(parkpos.attribute("longitude"))};
        if (stand.lat == 0.0 && stand.lon == 0.0)
            continue;
        const double distance = distanceNm(position, stand);
        if (distance < best) {
            best = distance;
            standId = parkpos.attribute("id").value();
        }
    }
    return best;
}

} // namespace

void forgetAirportFile() {
    parkAirportFile = {};
    qualityPair = {};
    handmadeAirport = false;
    saveParamChanged = false;
    airportLoaded = false;
    stands.clear();
    readouts.stands = 0;
    readouts.handmade = false;
    readouts.trafficWeek = 0;
    setReadout(Readout::publisher, "");
    setReadout(Readout::quality, "");
}

std::string gf_readApf(const std::string& path, AirportFile& file, QualityPair& quality, std::vector<Stand>& list) {
    list.clear();
    if (path.empty())
        return fmt::format("{} xml is empty...", "gf_readApf");
    if (!airportRef)
        return fmt::format("{} no park airport set", "gf_readApf");
    const fs::path target = path::airports / "park_airport.xml";
    if (!isLocal(path)) {
        std::string url;
        if (!downloadAirportFile(path, target, url))
            return fmt::format("failed to download: \"{}\"", url);
    }
    handmadeAirport = false;
    pugi::xml_document document;
    if (const auto result = loadXml(document, isLocal(path) ? platform::pathFrom(path) : target); !result)
        return fmt::format("{} could not be loaded: {}", path, result.description());
    std::int32_t trafficWeek = 0;
    file.icao = airportRef->code;
    try {
        readBase(document, file, trafficWeek, list);
    } catch (const std::length_error& error) {
        return fmt::format("{} could not be loaded: {}", path, error.what());
    }
    quality = {file.Qf_real, file.Qf_soft};
    AirportRef reference = *airportRef;
    reference.elevation = file.altitude;
    setAirportRef(reference);
    const std::string handmadePath = takeLearned(path, file, quality, list);
    readouts.stands = static_cast<std::int32_t>(list.size());
    giveSids(list);
    findAdjacent(list);
    const std::string readFrom = handmadePath.empty() ? path : handmadePath;
    warnOfFarStands(list, reference, readFrom);
    log(fmt::format("Airport file read from \"{}\" for {}", readFrom, kes::quoted(file.airport_name)));
    logValue("publisher", kes::quoted(file.publisher));
    log(fmt::format("{:24}: {} ft", "altitude", file.altitude));
    logValue("num_parkpos", std::to_string(list.size()));
    logValue("quality factor", qualityText(quality));
    logValue("RT traffic week", std::to_string(trafficWeek));
    tellWindow(file, quality, trafficWeek);
    airportLoaded = true;
    saveParamChanged = false;
    return list.empty() ? "no stands found" : "";
}

bool writeAirportFile(const AirportFile& file, const fs::path& path, bool generated) {
    const bool handmade = !generated && handmadeAirport;
    pugi::xml_document document;
    appendMeta(document);
    ParameterWriter parameters(document);
    parameters.add("airport_name", file.airport_name);
    parameters.add("publisher", file.publisher);
    if (handmade)
        parameters.add("handmade", "true");
    if (handmade || generated)
        parameters.add("altitude", file.altitude);
    parameters.add("num_parkpos", static_cast<std::int32_t>(file.standList.size()));
    if (handmade) {
        parameters.add("Qf_real", file.Qf_real);
        parameters.add("Qf_soft", file.Qf_soft);
    }
    if (file.publisher == "unknown") {
        parameters.add("BGLpath", file.BGLpath);
        parameters.add("manufacturer", file.manufacturer);
        parameters.add("creator", file.creator);
    }
    if (!generated)
        addSettings(parameters);
    appendStands(document, file.standList, generated || handmade, !generated);
    return saveXml(document, path);
}

double gf_readDestApfForClosestStand(std::string_view code, LatLon position, std::string& standId) {
    standId.clear();
    try {
        return closestStand(code, position, standId);
    } catch (const std::exception& error) {
        log(fmt::format("{}: {}", "gf_readDestApfForClosestStand", error.what()));
        standId.clear();
        return unknownNm;
    }
}

} // namespace kes
