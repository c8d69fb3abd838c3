// SPDX-License-Identifier: MIT
// The plain sources in the data folder, read and checked against each other.
#pragma once

#include "reference/text_map.h"
#include "tools/pack/sources.h"

#include <filesystem>
#include <string>
#include <vector>

namespace kes::world {

struct TypeRow {
    std::string code, category, span, name; ///< span in metres, as written
};
struct AirlineRow {
    std::string code, name;
};
struct RegistrationRow {
    std::string reg, airline, type, operatingAirline;
    bool cargo = false;
};
struct LiveryRow {
    std::string airline, type;
    bool cargo = false;
};

struct Tables {
    std::vector<TypeRow> types;
    std::vector<AirlineRow> airlines;
    std::vector<pack::AirportRow> airports;
    std::vector<RegistrationRow> registrations;
    std::vector<LiveryRow> liveries;
    TextMap<std::size_t> typeIndex, airlineIndex; ///< code to place in the list
};

/// Reads all five lists. Throws std::runtime_error that names the file and the first row that is wrong.
Tables readTables(const std::filesystem::path& dataFolder);

} // namespace kes::world
