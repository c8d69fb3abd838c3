#include "world/content/tables.h"

#include "platform/system.h"
#include "tools/pack/csv.h"

#include <charconv>
#include <cmath>
#include <fmt/format.h>
#include <stdexcept>

namespace kes::world {
namespace {

/// Reads one list; the first row that is bad or that `take` refuses with a reason (an empty reason is good) is told.
void readList(const std::filesystem::path& path, const std::vector<std::string>& columns, const CsvTake& take) {
    std::string problem, firstFault;
    const auto complain = [&](std::size_t line, const std::string& reason) {
        if (firstFault.empty()) {
            firstFault = fmt::format("{}:{}: {}", platform::pathText(path), line, reason);
        }
    };
    const auto count = readCsv(path, columns, take, complain, problem);
    if (!count) {
        throw std::runtime_error(problem);
    }
    if (count->bad > 0) {
        throw std::runtime_error(firstFault);
    }
    if (count->good == 0) {
        throw std::runtime_error(platform::pathText(path) + " has no rows");
    }
}

bool isNumber(std::string_view text, double low, double high) {
    double value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    return error == std::errc() && end == text.data() + text.size() && value >= low && value <= high;
}

/// Reads the yes-or-nothing column of freighters.
std::string takeCargo(std::string_view word, bool& cargo) {
    cargo = word == "yes";
    return word.empty() || cargo ? "" : "cargo must be \"yes\" or empty";
}

std::string codeFault(const Tables& tables, std::string_view airline, std::string_view type) {
    if (!airline.empty() && !tables.airlineIndex.contains(airline)) {
        return fmt::format("airline {} is not in airlines.csv", airline);
    }
    if (!tables.typeIndex.contains(type)) {
        return fmt::format("type {} is not in types.csv", type);
    }
    return {};
}

} // namespace

Tables readTables(const std::filesystem::path& folder) {
    if (!std::filesystem::is_directory(folder)) {
        throw std::runtime_error(platform::pathText(folder) + " is no folder");
    }
    Tables tables;
    readList(folder / "types.csv", {"code", "category", "span_m", "?name"}, [&](const CsvRow& f) -> std::string {
        if (f[0].empty() || f[0].size() > 4) {
            return "a type code has one to four characters";
        }
        if (!f[2].empty() && !isNumber(f[2], 1.0, 150.0)) {
            return "the span is no number of metres";
        }
        const bool isNew = tables.typeIndex.try_emplace(std::string(f[0]), tables.types.size()).second;
        tables.types.push_back({std::string(f[0]), std::string(f[1]), std::string(f[2]), std::string(f[3])});
        return isNew ? "" : "the code stands twice";
    });
    readList(folder / "airlines.csv", {"code", "name"}, [&](const CsvRow& f) -> std::string {
        if (f[0].size() != 3 || f[1].empty()) {
            return "an airline has a code of three characters and a name";
        }
        const bool isNew = tables.airlineIndex.try_emplace(std::string(f[0]), tables.airlines.size()).second;
        tables.airlines.push_back({std::string(f[0]), std::string(f[1])});
        return isNew ? "" : "the code stands twice";
    });
    TextSet airports;
    readList(folder / "airports.csv", {"icao", "iata", "lat", "lon", "elev_ft", "name"},
             [&](const CsvRow& f) -> std::string {
                 if (f[0].size() != 4 || !airports.insert(std::string(f[0])).second) {
                     return "the code has not four characters or stands twice";
                 }
                 if (!isNumber(f[2], -90, 90) || !isNumber(f[3], -180, 180) || !isNumber(f[4], -1500, 16000)) {
                     return "the position or elevation is no good number";
                 }
                 tables.airports.push_back({std::string(f[0]), std::string(f[1]), std::string(f[2]), std::string(f[3]),
                                            std::string(f[4]), std::string(f[5])});
                 return {};
             });
    TextSet registrations;
    readList(folder / "registrations.csv", {"reg", "airline", "type", "operator", "cargo"},
             [&](const CsvRow& f) -> std::string {
                 RegistrationRow row{std::string(f[0]), std::string(f[1]), std::string(f[2]), std::string(f[3])};
                 if (row.reg.empty() || !registrations.insert(row.reg).second) {
                     return "the registration is empty or stands twice";
                 }
                 std::string fault = codeFault(tables, row.airline, row.type);
                 if (fault.empty()) {
                     fault = codeFault(tables, row.operatingAirline, row.type);
                 }
                 if (fault.empty()) {
                     fault = takeCargo(f[4], row.cargo);
                 }
                 tables.registrations.push_back(std::move(row));
                 return fault;
             });
    TextSet pairs;
    readList(folder / "liveries.csv", {"airline", "type", "?cargo"}, [&](const CsvRow& f) -> std::string {
        LiveryRow row{std::string(f[0]), std::string(f[1])};
        if (row.airline.empty()) {
            return "the airline is missing";
        }
        std::string fault = codeFault(tables, row.airline, row.type);
        if (fault.empty()) {
            fault = takeCargo(f[2], row.cargo);
        }
        if (fault.empty() && !pairs.insert(fmt::format("{} {} {}", row.airline, row.type, row.cargo)).second) {
            fault = "the pair stands twice";
        }
        tables.liveries.push_back(std::move(row));
        return fault;
    });
    return tables;
}

} // namespace kes::world
