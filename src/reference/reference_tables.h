// The tables behind the look-ups. Only for the files of this folder.
#pragma once

#include "reference/airframes.h"
#include "reference/publishers.h"
#include "reference/reference.h"
#include "reference/regcode_table.h"

#include <bitset>
#include <optional>
#include <string>

namespace kes::reference {

struct Tables {
    ReferenceData data;
    RegcodeTable dbaseRecords;
    ShortRegcodes shortRegcodes;
    PublisherIndex publishers;
    double maxWingspan = 0;
    std::bitset<46 * 46 * 46>
        airlineBits; ///< `icaoAirlines` of three characters from '-' to 'Z': the scan asks for each section
};
extern Tables tables;

/// A code's place in `airlineBits`; nothing for a code that has none.
std::optional<std::size_t> airlineBit(std::string_view code);
/// `categoryOf` for tables that need not be in use.
AircraftCategory categoryIn(const ReferenceData& data, std::string_view code);
/// Fills what follows from the data and the registrations.
void derive(Tables& tables);

/// How the registrations of a document are parsed: in pieces, so that the tree of half a million elements never stands
/// in memory at once, or with all else. The outcome is the same, errors and log lines too; a document whose form the
/// pieces do not fit is parsed as a whole in any case.
enum class Road { pieces, whole };
/// Fills fresh tables and puts them in use. `path` is named in messages. Throws as `readReferenceDocument`.
void readDocumentText(std::string text, const std::filesystem::path& path, Road road = Road::pieces,
                      std::size_t pieceSize = usualPiece);

} // namespace kes::reference
