// SPDX-License-Identifier: MIT
#include "tools/pack/imports.h"

#include "core/codes.h"
#include "core/text.h"
#include "core/text_encoding.h"
#include "platform/system.h"

#include <algorithm>
#include <array>
#include <fmt/format.h>
#include <nlohmann/json.hpp>
#include <stdexcept>

namespace kes::pack {
namespace {

namespace fs = std::filesystem;

/// Reads a list of somebody else's making; bad rows go to the count. Throws when it cannot be read at all.
void readForeign(const fs::path& file, const std::vector<std::string>& columns, PackCount& count, const CsvTake& take) {
    std::string problem;
    const std::string name = platform::pathText(file);
    const auto complain = [&](std::size_t line, std::string reason) {
        count.bad.push_back({name, line, std::move(reason)});
    };
    if (!readCsv(file, columns, take, complain, problem, CsvForm::guessed)) {
        throw std::runtime_error(problem);
    }
}

bool isLetter(char c) {
    return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z');
}

/// What a type list tells of one designator.
struct Designation {
    std::string designator, wake, description, engine, engines;
};

/// Takes one entry of a type list; a reason when it is bad.
std::string takeDesignation(const Designation& entry, std::size_t plainTypes, TextMap<std::size_t>& places,
                            Sources& sources, PackCount& count) {
    const std::string code = upper(entry.designator);
    if (!isLegalCode(code, 2, 4)) {
        return fmt::format("\"{}\" is no type code", entry.designator);
    }
    const auto category = categoryFrom(entry.wake, entry.description, entry.engine, entry.engines);
    if (!category) {
        return fmt::format("{} has no wake class and is no helicopter", code);
    }
    const auto known = places.find(code);
    if (known != places.end()) {
        // Such lists have a row for each maker's name of a type, so only a plain source makes this worth a word.
        count.overruled += known->second < plainTypes ? 1 : 0;
        return {};
    }
    places.emplace(code, sources.types.size());
    sources.typeCodes.insert(code);
    sources.types.push_back({code, *category, ""});
    return {};
}

/// Names under which lists keep a value, in the order of preference, or the one name that the user gave.
std::vector<std::string> namesOf(const std::string& given, std::vector<std::string> usual) {
    return given.empty() ? std::move(usual) : std::vector<std::string>{given};
}

struct DesignationNames {
    std::array<std::vector<std::string>, 5> names;
    explicit DesignationNames(const TypeListImport& import)
        : names{namesOf(import.designator, {"designator", "icao", "icao_code", "code", "tdesig"}),
                namesOf(import.wake, {"wtc", "wake", "wake_category", "wakecategory"}),
                namesOf(import.description, {"description", "desc", "aircraftdescription"}),
                namesOf(import.engine, {"enginetype", "engine_type", "engine"}),
                namesOf(import.engines, {"enginecount", "engine_count", "engines"})} {}
};

Designation designationFrom(const std::array<std::string, 5>& values) {
    return {values[0], values[1], values[2], values[3], values[4]};
}

template <class Take> void readTypeCsv(const TypeListImport& import, PackCount& count, Take take) {
    const DesignationNames wanted(import);
    std::vector<std::string> columns;
    for (const auto& names : wanted.names) {
        for (const std::string& name : names) {
            columns.push_back("?" + name);
        }
    }
    readForeign(import.file, columns, count, [&](const CsvRow& row) {
        std::array<std::string, 5> values;
        std::size_t at = 0;
        for (std::size_t i = 0; i < values.size(); ++i) {
            for (std::size_t n = 0; n < wanted.names[i].size(); ++n, ++at) {
                if (values[i].empty()) {
                    values[i] = row[at];
                }
            }
        }
        return take(designationFrom(values));
    });
}

std::string memberText(const nlohmann::json& object, const std::vector<std::string>& names) {
    for (const std::string& name : names) {
        for (const auto& [key, value] : object.items()) {
            if (equalsNoCase(key, name) && !value.is_null()) {
                return value.is_string() ? std::string(strip(value.get_ref<const std::string&>())) : value.dump();
            }
        }
    }
    return {};
}

template <class Take>
void readTypeJson(const TypeListImport& import, const std::string& bytes, PackCount& count, Take take) {
    const std::string file = platform::pathText(import.file);
    nlohmann::json document = nlohmann::json::parse(bytes, nullptr, false);
    if (document.is_object()) { // some lists stand inside an object
        for (auto& member : document) {
            if (member.is_array()) {
                document = nlohmann::json(std::move(member));
                break;
            }
        }
    }
    if (!document.is_array()) {
        throw std::runtime_error(file + " is no JSON array of objects");
    }
    const DesignationNames wanted(import);
    std::size_t number = 0;
    for (const nlohmann::json& object : document) {
        ++number;
        std::string fault = "no object";
        if (object.is_object()) {
            std::array<std::string, 5> values;
            for (std::size_t i = 0; i < values.size(); ++i) {
                values[i] = memberText(object, wanted.names[i]);
            }
            fault = take(designationFrom(values));
        }
        if (!fault.empty()) {
            count.bad.push_back({file, number, std::move(fault)});
        }
    }
}

bool isAirportIdent(std::string_view code) {
    return (code.size() == 3 || code.size() == 4) && std::all_of(code.begin(), code.end(), [](char c) {
               return (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9');
           });
}

} // namespace

std::optional<AircraftCategory> categoryFrom(std::string_view wake, std::string_view description,
                                             std::string_view engine, std::string_view engines) {
    using enum AircraftCategory;
    const std::string kind = upper(strip(description));
    const bool isCode =
        kind.size() == 3 && isLetter(kind[0]) && (!isLetter(kind[1]) || kind[1] == 'C') && isLetter(kind[2]);
    // Gyrocopters and tilt-rotors start and land as helicopters do.
    for (const std::string_view word : {"HELICOPTER", "GYROCOPTER", "TILTROTOR", "TILT-ROTOR"}) {
        if (isCode ? kind[0] == word[0] : kind.starts_with(word)) {
            return rotorcraft;
        }
    }
    const std::string classes = upper(wake);
    const auto has = [&](char c) { return classes.find(c) != std::string::npos; };
    if (has('J') || has('H')) {
        return heavy;
    }
    const bool medium = has('M');
    if (!medium && !has('L')) {
        return std::nullopt;
    }
    const std::string engineWord = upper(strip(engine));
    const bool jet = isCode ? kind[2] == 'J' : engineWord.starts_with('J');
    if (!jet) {
        return medium ? large : light;
    }
    // With a single jet engine fly combat aircraft and trainers, with more of them business jets and airliners.
    if (isCode ? kind[1] == '1' : strip(engines) == "1") {
        return highPerf;
    }
    return medium ? large : buzjets;
}

void importTypeList(const TypeListImport& import, Sources& sources, PackCount& count) {
    const std::string file = platform::pathText(import.file);
    const auto bytes = readBytes(import.file);
    if (!bytes) {
        throw std::runtime_error(file + " not found");
    }
    const std::size_t plainTypes = sources.types.size();
    TextMap<std::size_t> places;
    for (std::size_t i = 0; i < plainTypes; ++i) {
        places.emplace(sources.types[i].code, i);
    }
    std::size_t named = 0;
    const auto take = [&](const Designation& entry) {
        named += entry.designator.empty() ? 0 : 1;
        return takeDesignation(entry, plainTypes, places, sources, count);
    };
    const std::string_view text = strip(withoutMark(*bytes));
    if (text.starts_with('[') || text.starts_with('{')) {
        readTypeJson(import, *bytes, count, take);
    } else {
        readTypeCsv(import, count, take);
    }
    if (named == 0) {
        throw std::runtime_error(file + " names no type designator; tell its column with --designator-column");
    }
}

void importAircraft(const AircraftImport& import, Sources& sources, PackCount& count) {
    const std::vector<std::string> columns{import.reg, import.type, import.airline.empty() ? "?" : import.airline,
                                           import.operating.empty() ? "?" : import.operating,
                                           import.cargo.empty() ? "?" : import.cargo};
    const std::size_t before = sources.airframes.size();
    const auto knownAirline = [&](std::string_view field, bool given) {
        std::string code = given ? upper(field) : std::string();
        return sources.airlineCodes.contains(code) ? code : std::string();
    };
    readForeign(import.file, columns, count, [&](const CsvRow& row) -> std::string {
        Airframe airframe;
        airframe.reg = upper(row[0]);
        if (airframe.reg.empty()) {
            return "no registration";
        }
        if (!isLegalRegcode(airframe.reg)) {
            return fmt::format("\"{}\" is no registration", row[0]);
        }
        airframe.type = upper(row[1]);
        if (!airframe.type.empty() && !sources.typeCodes.contains(airframe.type)) {
            return fmt::format("type {} of {} is unknown", row[1], row[0]);
        }
        airframe.airl = knownAirline(row[2], !import.airline.empty());
        airframe.opr = knownAirline(row[3], !import.operating.empty());
        if (airframe.opr == airframe.airl) {
            airframe.opr.clear();
        }
        if (airframe.airl.empty() && airframe.opr.empty() && import.privateWhenEmpty) {
            airframe.airl = privateAirline;
        }
        if (airframe.airl.empty() && airframe.opr.empty() && airframe.type.empty()) {
            return fmt::format("neither a known airline nor a type for {}", row[0]);
        }
        airframe.cargo = !import.cargo.empty() && !row[4].empty() &&
                         std::string_view("1yYtT").find(row[4][0]) != std::string_view::npos;
        const auto [place, isNew] = sources.airframeIndex.try_emplace(airframe.reg, sources.airframes.size());
        if (isNew) {
            sources.airframes.push_back(std::move(airframe));
        } else if (place->second < before) {
            ++count.overruled;
        } else {
            return fmt::format("{} stands twice", row[0]);
        }
        return {};
    });
}

std::vector<AirportRow> importOurAirports(const fs::path& file, PackCount& count) {
    struct Kind {
        std::string_view name;
        int rank; ///< of two airports with one code the greater one stays
    };
    constexpr std::array<Kind, 4> kinds{
        {{"large_airport", 3}, {"medium_airport", 2}, {"small_airport", 1}, {"seaplane_base", 0}}};
    struct Place {
        std::size_t index;
        int rank;
    };
    std::vector<AirportRow> airports;
    TextMap<Place> places;
    const std::vector<std::string> columns{"ident",        "type",       "name",       "latitude_deg", "longitude_deg",
                                           "elevation_ft", "?iata_code", "?icao_code", "?gps_code"};
    readForeign(file, columns, count, [&](const CsvRow& row) -> std::string {
        const auto kind = std::find_if(kinds.begin(), kinds.end(), [&](const Kind& k) { return k.name == row[1]; });
        const std::string code = upper(!row[7].empty() ? row[7] : !row[8].empty() ? row[8] : row[0]);
        if (kind == kinds.end() || !isAirportIdent(code)) {
            ++count.airportsLeftOut;
            return {};
        }
        if (!isNumber(row[3], -90, 90) || !isNumber(row[4], -180, 180)) {
            return fmt::format("{} has no good position", code);
        }
        if (!row[5].empty() && !isNumber(row[5], -1500, 30000)) {
            return fmt::format("{} has the elevation \"{}\"", code, row[5]);
        }
        AirportRow airport{
            code,    upper(row[6]), std::string(row[3]), std::string(row[4]), std::string(row[5]), std::string(row[2]),
            row.line};
        const auto [place, isNew] = places.try_emplace(code, Place{airports.size(), kind->rank});
        if (!isNew && kind->rank > place->second.rank) {
            place->second.rank = kind->rank;
            std::swap(airports[place->second.index], airport);
            return fmt::format("{} stands twice, \"{}\" gives way to a greater one", code, airport.name);
        }
        if (!isNew) {
            return fmt::format("{} stands twice, \"{}\" is left out", code, airport.name);
        }
        airports.push_back(std::move(airport));
        return {};
    });
    std::sort(airports.begin(), airports.end(),
              [](const AirportRow& a, const AirportRow& b) { return a.code < b.code; });
    count.airports = airports.size();
    return airports;
}

void putAtSeaLevel(std::vector<AirportRow>& airports, PackCount& count) {
    for (AirportRow& airport : airports) {
        if (airport.alt.empty()) {
            airport.alt = "0";
            ++count.airportsAtSeaLevel;
        }
    }
}

} // namespace kes::pack
