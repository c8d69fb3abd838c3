// SPDX-License-Identifier: MIT
// Stands of add-on airports out of compiled scenery (BGL): identifier, elevation, parking positions and helipads of
// each airport record of a file, and nothing else. Files are foreign bytes: whatever does not fit costs the rest of its
// file. No state; any thread. `airportNames` is read, and must not change meanwhile.
#pragma once

#include "airports/airport_file.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kes {

/// An airport as it is read.
struct ScanAirport {
    AirportFile file;                  ///< `icao`, `altitude`, `airport_name` and `standList`
    std::size_t helipads = 0;          ///< how many of the stands are some
    std::size_t parkingEntries = 0;    ///< parking positions in the record, with those that were skipped
    std::vector<std::string> messages; ///< lines for the log of the scan
    bool isWhole = false;              ///< false: the file broke off, only `icao` counts
};

struct BglContent {
    std::vector<ScanAirport> airports;   ///< in the order of the file
    std::vector<std::string> passedOver; ///< identifiers that are no ICAO codes
    std::optional<std::uint16_t> firstRecordType;
    bool notRecognised = false; ///< for MSFS 2024: an airport of a form that is not known ended the reading
    /// What real airports of that form have for an identifier. Nothing but tools may go by it: its place is a guess.
    std::vector<std::string> newFormIdents;
    std::string error; ///< why the file was given up; empty = it was not
};

/// Bytes of the longest file that is read; with more than that it is given up.
inline constexpr std::uint64_t mostBglBytes = std::uint64_t{1} << 30;

/// Quick test: whether the file has a section for airports. Reads 4 kB, and more only of a longer table of sections.
/// False for what cannot be opened.
bool hasAirportSection(const std::string& path);

/// Reads a whole file. Never throws for bad content: `error` tells, and airports that were complete before it stay. A
/// file that cannot be opened has no content. Stops half-way once the run is to end.
BglContent lf_toParkingPositions(const std::string& path, bool msfs2024);
/// The same for the bytes of a file; `path` is for messages.
BglContent readBgl(std::string_view bytes, const std::string& path, bool msfs2024);

/// An identifier as text; `ok` when it is an ICAO code: four characters, none of them blank.
std::string lf_decodeIdentifierOrRegionCode(std::uint32_t word, bool& ok);

} // namespace kes
