// SPDX-License-Identifier: MIT
#include "world/content/tables.h"

#include "platform/system.h"
#include "tools/csv/csv.h"

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

/// What the packer reads as well, with its checks; a bad row of our own sources is a mistake.
void readPacked(const std::filesystem::path& folder, Tables& tables) {
    pack::Sources sources;
    pack::PackCount count;
    pack::readFirstSources(folder, sources, count);
    if (sources.airlines.empty()) {
        throw std::runtime_error(platform::pathText(folder / "airlines.csv") + " has no rows");
    }
    pack::readOtherSources(folder, sources, count);
    auto airports = pack::readAirports(folder, count);
    if (!count.bad.empty()) {
        const pack::BadRow& bad = count.bad.front();
        throw std::runtime_error(fmt::format("{}:{}: {}", bad.file, bad.line, bad.reason));
    }
    if (!airports || airports->empty()) {
        throw std::runtime_error(platform::pathText(folder / "airports.csv") +
                                 (airports ? " has no rows" : " not found"));
    }
    tables.airports = std::move(*airports);
    for (pack::TypeRow& row : sources.types) {
        tables.typeIndex.emplace(row.code, tables.types.size());
        tables.types.push_back(
            {std::move(row.code), std::string(text(row.category)), std::move(row.metres), std::move(row.name)});
    }
    for (std::size_t i = 0; i < sources.airlines.size(); ++i) {
        tables.airlineIndex.emplace(sources.airlines[i], i);
        tables.airlines.push_back({std::move(sources.airlines[i]), std::move(sources.airlineNames[i])});
    }
    for (pack::Airframe& frame : sources.airframes) {
        tables.registrations.push_back(
            {std::move(frame.reg), std::move(frame.airl), std::move(frame.type), std::move(frame.opr), frame.cargo});
    }
}

} // namespace

Tables readTables(const std::filesystem::path& folder) {
    Tables tables;
    readPacked(folder, tables);
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
