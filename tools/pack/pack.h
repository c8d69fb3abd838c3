// SPDX-License-Identifier: MIT
// Builds what an update server holds from plain sources: comma lists with a head line, one topic a file, and whole data
// bases in the public forms that people have. A bad row is counted and listed, never fatal.
#pragma once

#include "core/version.h"

#include <cstddef>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace kes::pack {

/// An aircraft data base as a comma, semicolon or tab list. Columns by the names in its head line; the optional ones
/// may be empty texts.
struct AircraftImport {
    std::filesystem::path file;
    std::string reg, type;         ///< needed
    std::string airline;           ///< column of three-letter airline codes
    std::string operating;         ///< the same for the airline that really flies it
    std::string cargo;             ///< freighters have 1, t or y in front
    bool privateWhenEmpty = false; ///< without a known airline the airframe is a private owner's
};

/// A list of type designators, as a comma list or a JSON array of objects. An empty name takes what such lists use.
struct TypeListImport {
    std::filesystem::path file;
    std::string designator, wake, description, engine, engines; ///< names of columns or members
};

/// Public lists of the world's air routes, in the columns of OpenFlights; plain or gzip.
struct RouteFiles {
    std::filesystem::path routes, airlines, planes;
};

struct PackPlan {
    std::filesystem::path data;  ///< folder of the plain sources
    std::filesystem::path out;   ///< what the update server serves; made when missing
    std::string simaddonVersion; ///< of the package of airport files; empty = my_simaddon/version.csv
    std::string programVersion{programVersionText}; ///< the program that release/ offers
    std::vector<AircraftImport> aircraft;           ///< what comes first wins
    std::optional<TypeListImport> typeList;
    std::filesystem::path ourAirports;      ///< airports.csv of OurAirports; empty = no airport tables are written
    std::filesystem::path airportsOut;      ///< gets the airport tables; empty = `out`
    std::vector<std::filesystem::path> apt; ///< airport layouts, for stock airport files; what comes first wins
    std::optional<RouteFiles> routes;       ///< soft options for those files; needs `data`
    std::filesystem::path learned;          ///< learned files for the airport files of the server; empty = none
};

struct BadRow {
    std::string file;     ///< source file
    std::size_t line = 0; ///< from 1; of a JSON list the number of the entry
    std::string reason;
};
struct PackCount {
    std::size_t types = 0, airlines = 0, registrations = 0, similarGroups = 0, publishers = 0, fixes = 0,
                thirdParties = 0, aigEntries = 0, simaddonFiles = 0;
    std::size_t airports = 0;           ///< rows of the airport tables
    std::size_t airportsLeftOut = 0;    ///< closed ones, heliports, and those without a code of the simulator's kind
    std::size_t airportsAtSeaLevel = 0; ///< for want of an elevation
    std::size_t stockFiles = 0, stands = 0;                 ///< airport files out of layouts, and the stands in them
    std::size_t airportsWithoutStands = 0;                  ///< in layouts; or in one before
    std::size_t airportsWithoutCode = 0;                    ///< in layouts: its code cannot be the name of a file
    std::size_t routes = 0, routesUsed = 0, codeshares = 0; ///< rows of the list of routes
    std::size_t unmarkedCodeshares =
        0; ///< services that look like it: a partner flies there from its home with the types
    std::size_t softOptions = 0, airportsWithOptions = 0; ///< out of them
    std::size_t learnedFiles = 0, learnedOptions = 0;     ///< merged into airport files
    std::size_t overruled = 0;                            ///< rows of imports that gave way to a source before them
    std::vector<std::string> remarks;                     ///< sources that are absent, and what that means
    std::vector<BadRow> bad;
    std::vector<BadRow> doubtful; ///< rows that are kept, but ought to be looked at again
};

/// Packs everything: dbase.zip, AIG-regcodes.zip, release/version.json, when data/my_simaddon holds files
/// mysimaddon24/, the airport tables, and airport files; the latter alone when the plan has no data folder. The
/// same sources give the same bytes; a file that is right already is not touched. Throws std::runtime_error with a text
/// for the user when a needed source is missing or empty (nothing is written then) or a file cannot be written. One at
/// a time for an out folder.
PackCount packUpdates(const PackPlan& plan);

} // namespace kes::pack
