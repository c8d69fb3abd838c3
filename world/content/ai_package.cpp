// SPDX-License-Identifier: MIT
#include "world/content/ai_package.h"

#include "core/codes.h"
#include "core/version.h"
#include "platform/system.h"
#include "tools/csv/csv.h"
#include "world/content/files.h"

#include <algorithm>
#include <fmt/format.h>
#include <map>
#include <nlohmann/json.hpp>
#include <set>
#include <stdexcept>
#include <tuple>

namespace kes::world {
namespace {

namespace fs = std::filesystem;

/// There was a package for each kind of aircraft once.
constexpr std::string_view oldPackageStart = "kestrelune-ai-";
constexpr std::string_view packageVersion = "1.0.0";
/// The date that a layout file gives each file, in 100 ns since 1601: 1 January 2025. Fixed, so that repeated runs
/// agree.
constexpr std::int64_t layoutDate = 133801632000000000;

/// A value of aircraft.cfg in quotes. Quotes and line ends inside would end it, so they give way.
std::string inQuotes(std::string_view value) {
    std::string text = "\"";
    for (const char c : value) {
        text += c == '"' ? '\'' : static_cast<unsigned char>(c) < ' ' ? ' ' : c;
    }
    return text + '"';
}

const char* parkingTypes(const TypeRow& type, bool cargo) {
    if (cargo) {
        return "CARGO";
    }
    if (type.category == "Large" || type.category == "Heavy") {
        return "GATE,RAMP";
    }
    return type.category == "HighPerf" ? "MIL_COMBAT,RAMP" : "RAMP";
}

std::string cfgHead(const TypeRow& type) {
    const std::size_t blank = type.name.find(' ');
    const std::string maker = type.name.substr(0, blank);
    const std::string model = blank == std::string::npos ? type.code : type.name.substr(blank + 1);
    return fmt::format("[VERSION]\r\nmajor=1\r\nminor=0\r\n\r\n[GENERAL]\r\natc_type={}\r\natc_model={}\r\n"
                       "icao_type_designator={}\r\nicao_manufacturer={}\r\nicao_model={}\r\ncategory={}\r\n"
                       "isUserSelectable=0\r\n",
                       inQuotes(maker), inQuotes(type.code), inQuotes(type.code), inQuotes(maker), inQuotes(model),
                       type.category == "Rotorcraft" ? "\"Helicopter\"" : "\"Airplane\"");
}

std::string cfgSection(std::size_t number, const AiLivery& livery, const TypeRow& type, std::string_view airlineName) {
    std::string text =
        fmt::format("\r\n[FLTSIM.{}]\r\ntitle={}\r\ntexture={}\r\nicao_airline={}\r\natc_airline={}\r\n"
                    "atc_parking_types={}\r\natc_parking_codes={}\r\n",
                    number, inQuotes(livery.title), inQuotes(livery.airline), inQuotes(livery.airline),
                    inQuotes(airlineName), inQuotes(parkingTypes(type, livery.cargo)), inQuotes(livery.airline));
    if (!livery.regcode.empty()) {
        text += fmt::format("atc_id={}\r\n", inQuotes(livery.regcode));
    }
    return text;
}

/// Path below the package (with '/') to content.
using PackageFiles = std::map<std::string, std::string>;

void addPackageDescription(PackageFiles& files) {
    nlohmann::ordered_json layout;
    layout["content"] = nlohmann::ordered_json::array();
    std::size_t total = 0;
    for (const auto& [path, content] : files) {
        layout["content"].push_back({{"path", path}, {"size", content.size()}, {"date", layoutDate}});
        total += content.size();
    }
    nlohmann::ordered_json manifest;
    manifest["dependencies"] = nlohmann::ordered_json::array();
    manifest["content_type"] = "AIRCRAFT";
    manifest["title"] = "AI traffic";
    manifest["manufacturer"] = "";
    manifest["creator"] = programName;
    manifest["package_version"] = packageVersion;
    manifest["minimum_game_version"] = "1.0.0";
    manifest["release_notes"] = nlohmann::ordered_json::object();
    manifest["total_package_size"] = fmt::format("{:020}", total);
    files["layout.json"] = layout.dump(2) + "\n";
    files["manifest.json"] = manifest.dump(2) + "\n";
}

/// True for a package folder that an earlier run of this builder wrote, so that its files may be removed.
bool isOurs(const fs::path& package) {
    const auto bytes = readBytes(package / "manifest.json");
    if (!bytes) {
        return false;
    }
    const auto manifest = nlohmann::json::parse(*bytes, nullptr, false);
    return manifest.is_object() && manifest.value("creator", "") == programName;
}

void removeLeftovers(const fs::path& community, const PackageFiles& files) {
    std::vector<fs::path> stale;
    for (const fs::directory_entry& entry : fs::directory_iterator(community)) {
        const std::string name = platform::pathText(entry.path().filename());
        if (entry.is_directory() && name.starts_with(oldPackageStart) && isOurs(entry.path())) {
            stale.push_back(entry.path());
        }
    }
    const fs::path package = community / aiPackage;
    for (const fs::directory_entry& file : fs::recursive_directory_iterator(package)) {
        if (file.is_regular_file() && !files.contains(file.path().lexically_relative(package).generic_string())) {
            stale.push_back(file.path());
        }
    }
    for (const fs::path& path : stale) {
        fs::remove_all(path);
    }
}

} // namespace

std::vector<AiLivery> planLiveries(const Tables& tables) {
    std::map<std::tuple<std::string_view, std::string_view, bool>, std::string_view> airframes;
    for (const RegistrationRow& row : tables.registrations) {
        const std::string& airline = row.operatingAirline.empty() ? row.airline : row.operatingAirline;
        airframes.try_emplace({airline, row.type, row.cargo}, row.reg);
    }
    std::vector<AiLivery> liveries;
    std::set<std::string> titles;
    for (const LiveryRow& row : tables.liveries) {
        const AirlineRow& airline = tables.airlines[tables.airlineIndex.find(row.airline)->second];
        AiLivery livery;
        livery.airline = row.airline;
        livery.type = row.type;
        livery.cargo = row.cargo;
        livery.title = fmt::format("KAI {} {}{}", row.type, row.airline == genericAirline ? "generic" : airline.name,
                                   row.cargo ? " cargo" : "");
        if (titles.contains(livery.title)) { // two airlines of one name
            livery.title += " " + row.airline;
        }
        titles.insert(livery.title);
        const auto airframe = airframes.find({row.airline, row.type, row.cargo});
        if (airframe != airframes.end() && row.airline != genericAirline) {
            livery.regcode = airframe->second;
        }
        liveries.push_back(std::move(livery));
    }
    std::sort(liveries.begin(), liveries.end(), [](const AiLivery& a, const AiLivery& b) {
        return std::tie(a.type, a.title) < std::tie(b.type, b.title);
    });
    return liveries;
}

void writePackage(const Tables& tables, const std::vector<AiLivery>& liveries, const fs::path& community) {
    PackageFiles files;
    std::size_t section = 0;
    for (const AiLivery& livery : liveries) {
        const TypeRow& type = tables.types[tables.typeIndex.find(livery.type)->second];
        std::string& cfg = files[fmt::format("SimObjects/Airplanes/KAI_{}/aircraft.cfg", livery.type)];
        if (cfg.empty()) {
            cfg = cfgHead(type);
            section = 0;
        }
        const AirlineRow& airline = tables.airlines[tables.airlineIndex.find(livery.airline)->second];
        cfg += cfgSection(section++, livery, type, airline.name);
    }
    addPackageDescription(files);
    for (const auto& [path, content] : files) {
        writeFile(community / aiPackage / fs::path(path), content);
    }
    removeLeftovers(community, files);
}

} // namespace kes::world
