// SPDX-License-Identifier: MIT
#include "airports/airport_xml.h"

#include "core/errors.h"
#include "core/foreign_log.h"
#include "core/text.h"
#include "reference/reference.h"
#include "reference/text_map.h"

#include <charconv>
#include <cmath>
#include <fmt/format.h>
#include <stdexcept>

namespace kes {

namespace {

constexpr double nmPerMetre = 0.0005399568034557236;

LogLimiter standLog("airport files");

const char* boolText(bool value) {
    return value ? "true" : "false";
}

std::string metresText(double nauticalMiles) {
    return fmt::format("{:.1F}", nauticalMiles * metresPerNm);
}

/// The callsigns of an arrival and the departure behind it: "CS1:CS2". A third one is thrown away, and the second with
/// it.
void splitCallsigns(std::string_view text, ParkPosOption& option) {
    const std::size_t colon = text.find(':');
    option.coupledCs1 = text.substr(0, colon);
    if (colon != std::string_view::npos && text.find(':', colon + 1) == std::string_view::npos)
        option.coupledCs2 = text.substr(colon + 1);
}

bool isPlace(double lat, double lon) {
    return std::abs(lat) <= 90.0 && std::abs(lon) <= 180.0;
}

/// Radians, 0 to 2 pi.
double headingOf(pugi::xml_node parkpos) {
    const double degrees = numberOf(parkpos.attribute("heading"));
    return degrees >= 0.0 && degrees < 360.0 ? degrees * degToRad : normalizeAngle(degrees * degToRad);
}

void appendOption(pugi::xml_node parkpos, const ParkPosOption& option) {
    pugi::xml_node opt = parkpos.append_child("opt");
    if (!option.regcode.empty())
        opt.append_attribute("reg") = option.regcode.c_str();
    if (option.regcode.empty() || !lookupRegcode(option.regcode)) {
        opt.append_attribute("airl") = option.airline.c_str();
        opt.append_attribute("type") = option.model.c_str();
    }
    if (option.real == 0)
        opt.append_attribute("soft") = "true";
    opt.append_attribute("day") = option.day;
    opt.append_attribute("hh") = hoursText(option.hours).c_str();
    if (!option.coupledCs2.empty())
        opt.append_attribute("cs") = (option.coupledCs1 + ":" + option.coupledCs2).c_str();
    else if (!option.coupledCs1.empty())
        opt.append_attribute("cs") = option.coupledCs1.c_str();
}

void appendWhole(pugi::xml_node parkpos, const Stand& stand) {
    parkpos.append_attribute("latitude") = fmt::format("{:.6f}", stand.lat).c_str();
    parkpos.append_attribute("longitude") = fmt::format("{:.6f}", stand.lon).c_str();
    parkpos.append_attribute("heading") = fmt::format("{:.1F}", stand.heading * radToDeg).c_str();
    parkpos.append_attribute("radius") = metresText(stand.radius).c_str();
    if (stand.heli)
        parkpos.append_attribute("heli") = "true";
    else
        parkpos.append_attribute("cargo") = boolText(stand.cargo);
    parkpos.append_attribute("ramp") = boolText(stand.ramp);
    if (stand.manual)
        parkpos.append_attribute("manual") = "true";
}

void appendChanges(pugi::xml_node parkpos, const Stand& stand) {
    if (stand.radiusChange) {
        parkpos.append_attribute("radius_change") = "true";
        parkpos.append_attribute("radius") = metresText(stand.radius).c_str();
    }
    if (stand.cargoChange) {
        parkpos.append_attribute("cargo_change") = "true";
        parkpos.append_attribute("cargo") = boolText(stand.cargo);
    }
}

} // namespace

bool isTrue(std::string_view text) {
    return !text.empty() && std::string_view("1TtYy").find(text.front()) != std::string_view::npos;
}

std::optional<std::string_view> parameterText(const pugi::xml_document& document, const char* name) {
    const pugi::xml_attribute value =
        document.child("parameters").find_child_by_attribute("parameter", "name", name).attribute("value");
    return value ? std::optional<std::string_view>(value.value()) : std::nullopt;
}

std::optional<std::int32_t> parameterInt(const pugi::xml_document& document, const char* name) {
    const std::optional<std::string_view> text = parameterText(document, name);
    return text ? leadingInt(*text) : std::nullopt;
}

double numberOf(pugi::xml_attribute attribute) {
    std::string_view text = strip(attribute.value());
    if (text.substr(0, 1) == "+")
        text.remove_prefix(1);
    double value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    return error == std::errc() && std::isfinite(value) ? value : 0.0;
}

double radiusOf(pugi::xml_node parkpos) {
    const double metres = numberOf(parkpos.attribute("radius"));
    if (metres >= 0.0 && metres <= greatestRadius)
        return metres * nmPerMetre;
    standLog.write(fmt::format("? stand {} has a radius of {} m, taken as 0",
                               kes::quoted(parkpos.attribute("id").value()),
                               kes::quoted(parkpos.attribute("radius").value())));
    return 0.0;
}

ParkPosOption readOption(pugi::xml_node opt, std::int32_t fromArchive) {
    ParkPosOption option;
    option.fromArchive = fromArchive;
    option.real = 1;
    std::string_view airline, model;
    // One walk: a look-up by name for each attribute would walk the list seven times.
    for (const pugi::xml_attribute attribute : opt.attributes()) {
        const std::string_view name = attribute.name(), value = attribute.value();
        if (name == "reg")
            option.regcode = value;
        else if (name == "airl")
            airline = value;
        else if (name == "type")
            model = value;
        else if (name == "soft")
            option.real = isTrue(value) ? 0 : 1;
        else if (name == "day")
            option.day = static_cast<std::uint32_t>(leadingInt(value).value_or(0));
        else if (name == "hh")
            option.hours = gf_hours2bitset(value);
        else if (name == "cs")
            splitCallsigns(value, option);
    }
    if (option.day > 7)
        option.day = 0;
    if (!option.regcode.empty()) {
        if (std::optional<DbaseRecord> known = lookupRegcode(option.regcode)) {
            option.airline = std::move(known->airl);
            option.model = std::move(known->type);
            return option;
        }
    }
    option.airline = airline;
    option.model = model;
    return option;
}

std::optional<Stand> readStand(pugi::xml_node parkpos, std::int32_t fromArchive) {
    Stand stand;
    stand.id = parkpos.attribute("id").value();
    stand.lat = numberOf(parkpos.attribute("latitude"));
    stand.lon = numberOf(parkpos.attribute("longitude"));
    if (stand.lat == 0.0 && stand.lon == 0.0)
        return {};
    if (!isPlace(stand.lat, stand.lon)) {
        standLog.write(fmt::format("? stand {} left out, {}, {} is no position", kes::quoted(stand.id),
                                   kes::quoted(parkpos.attribute("latitude").value()),
                                   kes::quoted(parkpos.attribute("longitude").value())));
        return {};
    }
    stand.heading = headingOf(parkpos);
    stand.radius = radiusOf(parkpos);
    stand.heli = isTrue(parkpos.attribute("heli").value());
    stand.cargo = isTrue(parkpos.attribute("cargo").value());
    stand.ramp = isTrue(parkpos.attribute("ramp").value());
    const auto opts = parkpos.children("opt");
    stand.options.reserve(static_cast<std::size_t>(std::distance(opts.begin(), opts.end())));
    for (const pugi::xml_node opt : opts) {
        stand.options.push_back(readOption(opt, fromArchive));
        stand.options.back().optIndex = static_cast<std::int32_t>(stand.options.size());
    }
    return stand;
}

void readStands(const pugi::xml_document& document, std::int32_t fromArchive, std::vector<Stand>& list) {
    const auto elements = document.child("parkpositions").children("parkpos");
    const auto count = static_cast<std::size_t>(std::distance(elements.begin(), elements.end()));
    if (count > mostStands)
        throw std::length_error(fmt::format("{} stands are no airport, {} are the most", count, mostStands));
    list.reserve(list.size() + count);
    TextSet ids;
    for (const pugi::xml_node parkpos : elements) {
        std::optional<Stand> stand = readStand(parkpos, fromArchive);
        if (!stand)
            continue;
        if (!ids.insert(stand->id).second) {
            throw nwk::UserErrorException(
                94, fmt::format("Parking position {} appears more than once?", kes::quoted(stand->id)));
        }
        list.push_back(std::move(*stand));
    }
}

void readBase(const pugi::xml_document& document, AirportFile& file, std::int32_t& trafficWeek,
              std::vector<Stand>& list) {
    trafficWeek = parameterInt(document, "RT_traffic_week").value_or(0);
    file.publisher = parameterText(document, "publisher").value_or("");
    const std::optional<std::int32_t> altitude = parameterInt(document, "altitude");
    if (!altitude)
        throw nwk::UserErrorException(65, "Parameter altitude not found");
    file.altitude = *altitude;
    file.airport_name = parameterText(document, "airport_name").value_or("");
    readStands(document, 1, list);
    file.Qf_real = parameterInt(document, "Qf_real").value_or(-1);
    file.Qf_soft = parameterInt(document, "Qf_soft").value_or(-1);
}

void appendStands(pugi::xml_document& document, const std::vector<Stand>& list, bool whole, bool withOptions) {
    pugi::xml_node positions = document.append_child("parkpositions");
    for (const Stand& stand : list) {
        pugi::xml_node parkpos = positions.append_child("parkpos");
        parkpos.append_attribute("id") = stand.id.c_str();
        if (whole || stand.manual)
            appendWhole(parkpos, stand);
        else
            appendChanges(parkpos, stand);
        if (!withOptions)
            continue;
        for (const ParkPosOption& option : stand.options) {
            if (option.optIndex != 0)
                appendOption(parkpos, option);
        }
    }
}

} // namespace kes
