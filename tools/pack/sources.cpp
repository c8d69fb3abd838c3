// SPDX-License-Identifier: MIT
#include "tools/pack/sources.h"

#include "core/text.h"
#include "platform/system.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <fmt/format.h>
#include <regex>
#include <stdexcept>

namespace kes::pack {
namespace {

namespace fs = std::filesystem;

constexpr double longestSpan = 150; ///< metres; nothing that flies is wider

std::vector<std::string> words(std::string_view text) {
    std::vector<std::string> list;
    for (std::size_t at = text.find_first_not_of(" \t"); at != std::string_view::npos;) {
        const std::size_t end = std::min(text.find_first_of(" \t", at), text.size());
        list.emplace_back(text.substr(at, end - at));
        at = text.find_first_not_of(" \t", end);
    }
    return list;
}

/// An empty text is no. Nothing for a word that is neither.
std::optional<bool> flagOf(std::string_view text) {
    if (text.empty() || std::string_view("0nNfF").find(text[0]) != std::string_view::npos) {
        return false;
    }
    if (std::string_view("1yYtT").find(text[0]) != std::string_view::npos) {
        return true;
    }
    return std::nullopt;
}

std::optional<AircraftCategory> categoryNamed(std::string_view name) {
    for (int i = 0; i < 6; ++i) {
        const auto category = static_cast<AircraftCategory>(i);
        if (equalsNoCase(name, text(category))) {
            return category;
        }
    }
    return std::nullopt;
}

bool isAirportCode(std::string_view code) {
    return code.size() == 4 && std::all_of(code.begin(), code.end(),
                                           [](char c) { return (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9'); });
}

std::string unknownType(std::string_view code) {
    return fmt::format("type {} is not in types.csv", code);
}
std::string unknownAirline(std::string_view code) {
    return fmt::format("airline {} is not in airlines.csv", code);
}
std::string twice(std::string_view key) {
    return fmt::format("{} stands twice", key);
}

/// A list of codes with one code a row. False when the file is absent.
template <class Judge>
bool readCodes(const fs::path& file, const char* column, PackCount& count, std::vector<std::string>& target,
               Judge judge) {
    TextSet seen;
    return readList(file, {column}, count, [&](const CsvRow& row) {
        std::string fault = judge(row[0]);
        if (fault.empty() && !seen.emplace(row[0]).second) {
            fault = twice(row[0]);
        }
        if (fault.empty()) {
            target.emplace_back(row[0]);
        }
        return fault;
    });
}

bool readSimilar(const fs::path& file, Sources& sources, PackCount& count) {
    TextSet seen;
    return readList(file, {"types"}, count, [&](const CsvRow& row) -> std::string {
        std::vector<std::string> group;
        for (std::string& code : words(row[0])) {
            if (!sources.typeCodes.contains(code)) {
                // The others of the group still resemble each other.
                count.bad.push_back({platform::pathText(file), row.line, unknownType(code) + ", the group is kept"});
            } else if (std::find(group.begin(), group.end(), code) != group.end()) {
                count.bad.push_back({platform::pathText(file), row.line, twice(code) + " in its group"});
            } else {
                group.push_back(std::move(code));
            }
        }
        if (group.size() < 2) {
            return "fewer than two known types";
        }
        std::sort(group.begin(), group.end());
        if (!seen.insert(fmt::format("{}", fmt::join(group, " "))).second) {
            return "the group stands twice";
        }
        sources.similar.push_back({std::move(group), row.line});
        return {};
    });
}

/// Why a name cannot be looked for; the program uses names as expressions, too.
std::string nameFault(const std::string& name) {
    if (name.find(',') != std::string::npos) {
        return fmt::format("the name \"{}\" holds a comma", name);
    }
    try {
        std::regex(".*" + name + ".*", std::regex::icase);
    } catch (const std::regex_error&) {
        return fmt::format("the name \"{}\" is no good expression", name);
    }
    return {};
}

bool readPublishers(const fs::path& file, Sources& sources, PackCount& count) {
    TextSet seen;
    return readList(file, {"names"}, count, [&](const CsvRow& row) -> std::string {
        std::vector<std::string> names;
        for (const std::string_view piece : split(row[0], ';')) {
            const std::string name(strip(piece));
            if (name.empty()) { // would be found in every text
                continue;
            }
            std::string fault = nameFault(name);
            if (fault.empty() && seen.contains(name)) {
                fault = twice("\"" + name + "\"");
            }
            if (!fault.empty()) {
                return fault;
            }
            names.push_back(name);
        }
        if (names.empty()) {
            return "no name";
        }
        for (const std::string& name : names) {
            seen.insert(name);
        }
        sources.publishers.push_back(std::move(names));
        return {};
    });
}

bool readFixes(const fs::path& file, Sources& sources, PackCount& count) {
    TextSet seen;
    return readList(file, {"wrong", "correct"}, count, [&](const CsvRow& row) -> std::string {
        if (row[0].empty()) {
            return "no wrong code";
        }
        if (sources.typeCodes.contains(row[0])) {
            return fmt::format("{} is a type itself, so it is never corrected", row[0]);
        }
        if (!sources.typeCodes.contains(row[1])) {
            return unknownType(row[1]);
        }
        if (!seen.emplace(row[0]).second) {
            return twice(row[0]);
        }
        sources.fixes.emplace_back(row[0], row[1]);
        return {};
    });
}

bool readThirdParties(const fs::path& file, std::vector<ThirdParty>& target, PackCount& count) {
    TextMap<std::size_t> places;
    TextSet seen;
    return readList(file, {"pub", "icao", "stands"}, count, [&](const CsvRow& row) -> std::string {
        if (row[0].empty()) {
            return "no publisher";
        }
        if (!isAirportCode(row[1])) {
            return fmt::format("\"{}\" is no airport code", row[1]);
        }
        const bool digits = std::all_of(row[2].begin(), row[2].end(), [](char c) { return c >= '0' && c <= '9'; });
        if (row[2].empty() || row[2].size() > 5 || !digits) {
            return fmt::format("\"{}\" is no number of stands", row[2]);
        }
        if (!seen.insert(fmt::format("{}\n{}", row[0], row[1])).second) {
            return fmt::format("{} of {} stands twice", row[1], row[0]);
        }
        const auto [place, isNew] = places.try_emplace(std::string(row[0]), target.size());
        if (isNew) {
            target.push_back({std::string(row[0]), {}});
        }
        target[place->second].arpts.push_back(fmt::format("{}{}", row[1], row[2]));
        return {};
    });
}

bool readRegistrations(const fs::path& file, Sources& sources, PackCount& count) {
    const auto airlineFault = [&](std::string_view code) {
        return code.empty() || sources.airlineCodes.contains(code) ? std::string() : unknownAirline(code);
    };
    return readList(file, {"reg", "airline", "type", "operator", "?cargo", "?checked"}, count, [&](const CsvRow& row) {
        if (!isLegalRegcode(row[0])) {
            return fmt::format("\"{}\" is no registration", row[0]);
        }
        std::string fault = airlineFault(row[1]);
        if (fault.empty()) {
            fault = airlineFault(row[3]);
        }
        if (fault.empty() && !row[2].empty() && !sources.typeCodes.contains(row[2])) {
            fault = unknownType(row[2]);
        }
        if (fault.empty() && row[1].empty() && row[2].empty() && row[3].empty()) {
            fault = "neither airline nor type";
        }
        const std::optional<bool> cargo = flagOf(row[4]);
        if (fault.empty() && !cargo) {
            fault = fmt::format("cargo is \"{}\", neither yes nor empty", row[4]);
        }
        if (fault.empty() && !sources.airframeIndex.try_emplace(std::string(row[0]), sources.airframes.size()).second) {
            fault = twice(row[0]);
        }
        if (fault.empty()) {
            sources.airframes.push_back({std::string(row[0]), std::string(row[1]), std::string(row[2]),
                                         std::string(row[3]), *cargo, row.line, flagOf(row[5]).value_or(false)});
        }
        return fault;
    });
}

bool readRegcodes(const fs::path& file, Sources& sources, PackCount& count) {
    TextSet seen;
    return readList(file, {"title", "?regs", "?special"}, count, [&](const CsvRow& row) -> std::string {
        if (row[0].empty()) {
            return "no title";
        }
        RegcodeRow entry{std::string(row[0]), words(row[1]), false};
        for (const std::string& reg : entry.regs) {
            if (!isLegalRegcode(reg)) { // without it the row might forbid the title
                return fmt::format("\"{}\" is no registration", reg);
            }
        }
        const std::optional<bool> special = flagOf(row[2]);
        if (!special) {
            return fmt::format("special is \"{}\", neither yes nor empty", row[2]);
        }
        if (!seen.emplace(row[0]).second) {
            return twice("\"" + entry.title + "\"");
        }
        entry.special = *special;
        sources.regcodes.push_back(std::move(entry));
        return {};
    });
}

} // namespace

bool readList(const fs::path& file, const std::vector<std::string>& columns, PackCount& count, const CsvTake& take) {
    std::error_code error;
    if (!fs::exists(file, error)) {
        return false;
    }
    std::string problem;
    const std::string name = platform::pathText(file);
    const auto result = readCsv(
        file, columns, take,
        [&](std::size_t line, std::string reason) {
            count.bad.push_back({name, line, std::move(reason)});
        },
        problem);
    if (!result) {
        throw std::runtime_error(problem);
    }
    return true;
}

std::optional<std::vector<AirportRow>> readAirports(const fs::path& data, PackCount& count) {
    std::vector<AirportRow> airports;
    TextSet seen;
    const bool present = readList(
        data / "airports.csv", {"icao", "iata", "lat", "lon", "elev_ft", "name"}, count,
        [&](const CsvRow& row) -> std::string {
            if (!isAirportCode(row[0])) {
                return fmt::format("\"{}\" is no airport code", row[0]);
            }
            if (!seen.emplace(row[0]).second) {
                return twice(row[0]);
            }
            if (!isNumber(row[2], -90, 90) || !isNumber(row[3], -180, 180) || !isNumber(row[4], -1500, 16000)) {
                return "the position or elevation is no good number";
            }
            airports.push_back({std::string(row[0]), std::string(row[1]), std::string(row[2]), std::string(row[3]),
                                std::string(row[4]), std::string(row[5]), row.line});
            return {};
        });
    return present ? std::optional(std::move(airports)) : std::nullopt;
}

bool isLegalCode(std::string_view code, std::size_t least, std::size_t most) {
    return code.size() >= least && code.size() <= most &&
           std::all_of(code.begin(), code.end(), [](char c) { return c >= '-' && c <= 'Z'; });
}

bool isLegalRegcode(std::string_view regcode) {
    constexpr std::size_t longest = 24;
    return !regcode.empty() && regcode.size() <= longest &&
           std::all_of(regcode.begin(), regcode.end(), [](char c) { return (c >= '-' && c <= 'Z') || c == '+'; });
}

bool isNumber(std::string_view text, double low, double high) {
    double value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    return error == std::errc() && end == text.data() + text.size() && value >= low && value <= high;
}

void readFirstSources(const fs::path& data, Sources& sources, PackCount& count) {
    std::error_code error;
    if (!fs::is_directory(data, error)) {
        throw std::runtime_error(platform::pathText(data) + " is no folder");
    }
    const auto types = [&](const CsvRow& row) -> std::string {
        if (!isLegalCode(row[0], 2, 4)) {
            return fmt::format("\"{}\" is no type code", row[0]);
        }
        const auto category = categoryNamed(row[1]);
        if (!category) {
            return fmt::format("\"{}\" is no category", row[1]);
        }
        if (!row[2].empty() && (!isNumber(row[2], 0, longestSpan) || isNumber(row[2], 0, 0))) {
            return fmt::format("\"{}\" is no wingspan in metres", row[2]);
        }
        if (!sources.typeCodes.emplace(row[0]).second) {
            return twice(row[0]);
        }
        sources.types.push_back({std::string(row[0]), *category, std::string(row[2]), std::string(row[3])});
        return {};
    };
    if (!readList(data / "types.csv", {"code", "category", "span_m", "?name"}, count, types)) {
        throw std::runtime_error(platform::pathText(data / "types.csv") + " not found");
    }
    const auto airlines = [&](const CsvRow& row) -> std::string {
        if (!isLegalCode(row[0], 3, 3)) {
            return fmt::format("\"{}\" is no airline code", row[0]);
        }
        if (!sources.airlineCodes.emplace(row[0]).second) {
            return twice(row[0]);
        }
        sources.airlines.emplace_back(row[0]);
        sources.airlineNames.emplace_back(row[1]);
        sources.airlineLines.push_back(row.line);
        return {};
    };
    if (!readList(data / "airlines.csv", {"code", "?name"}, count, airlines)) {
        throw std::runtime_error(platform::pathText(data / "airlines.csv") + " not found");
    }
}

void readOtherSources(const fs::path& data, Sources& sources, PackCount& count) {
    const auto typeFault = [&](std::string_view code) {
        return sources.typeCodes.contains(code) ? std::string() : unknownType(code);
    };
    const auto airlineFault = [&](std::string_view code) {
        return sources.airlineCodes.contains(code) ? std::string() : unknownAirline(code);
    };
    const auto airportFault = [](std::string_view code) {
        return isAirportCode(code) ? std::string() : fmt::format("\"{}\" is no airport code", code);
    };
    struct Source {
        const char* file;
        std::function<bool(const fs::path&)> read;
        const char* without; ///< what its absence means
    };
    const std::array<Source, 10> others{{
        {"similar_types.csv", [&](const fs::path& file) { return readSimilar(file, sources, count); },
         "no type resembles another"},
        {"cargo_types.csv",
         [&](const fs::path& file) { return readCodes(file, "code", count, sources.cargoTypes, typeFault); },
         "no type is a freighter"},
        {"cargo_operators.csv",
         [&](const fs::path& file) { return readCodes(file, "code", count, sources.cargoOperators, airlineFault); },
         "no airline flies freight"},
        {"publishers.csv", [&](const fs::path& file) { return readPublishers(file, sources, count); },
         "no publisher is recognised"},
        {"fixes.csv", [&](const fs::path& file) { return readFixes(file, sources, count); },
         "no wrong type code is corrected"},
        {"simaddons20.csv",
         [&](const fs::path& file) { return readCodes(file, "icao", count, sources.simaddons20, airportFault); },
         "no airport of the simulator of 2020 has an add-on"},
        {"thirdparties20.csv",
         [&](const fs::path& file) { return readThirdParties(file, sources.thirdParties20, count); },
         "no airports of publishers for the simulator of 2020"},
        {"thirdparties24.csv",
         [&](const fs::path& file) { return readThirdParties(file, sources.thirdParties24, count); },
         "no airports of publishers for the simulator of 2024"},
        {"registrations.csv", [&](const fs::path& file) { return readRegistrations(file, sources, count); },
         "registrations come from imports only"},
        {"aig_regcodes.csv", [&](const fs::path& file) { return readRegcodes(file, sources, count); },
         "no livery is tied to a registration"},
    }};
    for (const Source& source : others) {
        if (!source.read(data / source.file)) {
            count.remarks.push_back(fmt::format("{} is absent: {}", source.file, source.without));
        }
    }
}

} // namespace kes::pack
