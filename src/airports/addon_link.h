// SPDX-License-Identifier: MIT
// What becomes of an airport that the scan of add-ons has found: a link to the list that the archive has of it, a file
// made from its scenery, or a note for those who keep the archive. Worker; what others need of it during a scan are the
// reference data, `airportTable` and `airportNames`.
#pragma once

#include "airports/airport_file.h"
#include "airports/bgl_reader.h"
#include "install/publisher.h"

#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace kes {

/// What was found, for the summary and for tools.
struct AddonAirport {
    std::string code;      ///< empty = nobody knows
    std::string file;      ///< the scenery
    std::string publisher; ///< as `PublisherInfo`
    std::string why;       ///< how the publisher was found, or why not
    std::string archive;   ///< place on the update server that it was linked to; empty = it was not
    std::size_t stands = 0;
    std::int32_t archivedCount = 0; ///< stands of the archived list; 0 when that is not known
    bool isGenerated = false;
    bool isWhole = true;      ///< false: its file broke off
    bool isRecognised = true; ///< false for scenery of a form that is not read
    std::string unusedIdent;  ///< `BglContent::newFormIdents`
};
extern std::vector<AddonAirport> addonAirports; ///< of the last scan, in the order of the walk

/// Lines of the report of a scan, in their order.
extern std::vector<std::string> scanLog;
void scanLogLine(std::string_view text);            ///< one more, at the end
void scanLogLines(std::vector<std::string>& lines); ///< all, which are gone then

extern const std::filesystem::path tbloFolder; ///< what may be handed over to those who keep the archive
extern std::int32_t tbloCount;                 ///< entries in it

/// Everything of the last scan is forgotten.
void resetAddonAirports();
/// Whether the scan has linked or generated anything.
bool scanHasFound();

/// What a file gave: each of its airports is linked or generated, and what went wrong is told. That costs the rest of
/// the file and nothing else, whether it went wrong in the file or beside it.
void takeScenery(const std::string& path, BglContent& content, const PublisherInfo& publisher,
                 std::vector<std::string>& publisherLines);

/// Links an airport whose publisher the archive knows. True when it is linked; `found` tells where to then, and how
/// many stands the archived list has. Fills `file` with what is known of the publisher. Throws filesystem_error
/// "create_directory".
bool linkAirport(AirportFile& file, AddonAirport& found, const std::string& path, const PublisherInfo& publisher);
/// Writes the file of an airport, unless it has no stands. False when there is none afterwards. Throws
/// filesystem_error "create_directory".
bool generateAirportFile(ScanAirport& airport);
/// Tells which airport a scenery of unknown form is, as far as can be seen, and links it, or notes it in `tbloFolder`.
void notRecognisedAirport(const std::string& path, const PublisherInfo& publisher,
                          std::vector<std::string>& publisherLines, const std::string& unusedIdent);

/// "41 airports in 38 packages: 12 linked, 27 generated, 2 not recognised: ..."
std::string addonSummary();

} // namespace kes
