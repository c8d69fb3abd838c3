// SPDX-License-Identifier: MIT
// The plain sources, read and checked against each other. For this folder, and for what makes
// packages from the same sources.
#pragma once

#include "core/ai_aircraft.h"
#include "reference/text_map.h"
#include "tools/csv/csv.h"
#include "tools/pack/pack.h"

#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace kes::pack {

struct TypeRow {
    std::string code;
    AircraftCategory category = AircraftCategory::light;
    std::string metres; ///< full wingspan as written; empty = unknown
    std::string name{};
};
struct Airframe {
    std::string reg, airl, type, opr;
    bool cargo = false;
    std::size_t line = 0;
    bool checked = false; ///< right although it contradicts its neighbours
};
struct ThirdParty {
    std::string pub;
    std::vector<std::string> arpts; ///< airport code and number of stands
};
struct RegcodeRow {
    std::string title;
    std::vector<std::string> regs; ///< none = the title is forbidden
    bool special = false;
};
struct AirportRow {
    std::string code, iata, lat, lon, alt, name; ///< degrees and feet, as written
    std::size_t line = 0;                        ///< in its file, from 1
};

struct Sources {
    std::vector<TypeRow> types;
    TextSet typeCodes;
    std::vector<std::string> airlines, airlineNames; ///< codes, and as many names
    std::vector<std::size_t> airlineLines;           ///< and as many lines of the file
    TextSet airlineCodes;
    struct Similar {
        std::vector<std::string> types; ///< sorted
        std::size_t line = 0;
    };
    std::vector<Similar> similar;
    std::vector<std::string> cargoTypes, cargoOperators, simaddons20;
    std::vector<std::vector<std::string>> publishers;
    std::vector<std::pair<std::string, std::string>> fixes; ///< wrong, correct
    std::vector<ThirdParty> thirdParties20, thirdParties24;
    std::vector<Airframe> airframes;
    TextMap<std::size_t> airframeIndex; ///< registration to place
    std::vector<RegcodeRow> regcodes;
};

/// Types and airlines, on which all other sources rest. Both files are needed.
void readFirstSources(const std::filesystem::path& data, Sources& sources, PackCount& count);
/// All others. A file that is absent leaves a remark.
void readOtherSources(const std::filesystem::path& data, Sources& sources, PackCount& count);

/// The airports of the plain sources, in their order; nothing when there is no file.
std::optional<std::vector<AirportRow>> readAirports(const std::filesystem::path& data, PackCount& count);

/// Reads one list; bad rows go to the count. False when the file is absent. Throws when it lacks a column.
bool readList(const std::filesystem::path& file, const std::vector<std::string>& columns, PackCount& count,
              const CsvTake& take);

/// Characters that survive the scrambling: '-' to 'Z'.
bool isLegalCode(std::string_view code, std::size_t least, std::size_t most);
/// The same, '+', and 24 characters at most.
bool isLegalRegcode(std::string_view regcode);
/// A finite decimal number within both bounds.
bool isNumber(std::string_view text, double low, double high);

} // namespace kes::pack
