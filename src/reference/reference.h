// SPDX-License-Identifier: MIT
// What the program knows of the real world of aviation: types, airlines, registrations, publishers. Filled once per
// process on the worker, read-only afterwards, then readable from every thread.
#pragma once

#include "core/ai_aircraft.h"
#include "reference/text_map.h"

#include <array>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace kes {

/// What is known of an airframe.
struct DbaseRecord {
    std::string airl; ///< airline code, may be empty
    std::string type; ///< model code, may be empty
    std::string opr;  ///< airline that really operates it, where that differs
    bool cargo = false;
};

/// A publisher of add-on airports and what it has published.
struct ThirdPartyEntry {
    std::string pub;                ///< publisher name
    std::vector<std::string> arpts; ///< airport code of 4 characters and behind it the number of stands
};

using CodeSet = std::set<std::string, std::less<>>;

struct ReferenceData {
    CodeSet aircraftTypes, highPerfTypes, heavyTypes, largeTypes, buzjetTypes, rotorTypes, cargoTypes;
    std::vector<std::vector<std::string>> similarGroups; ///< each sorted
    CodeSet icaoAirlines, cargoOperators;
    std::vector<std::vector<std::string>> publisherGroups;     ///< the first name of a group is the canonical one
    std::map<std::string, double, std::less<>> wingspanByType; ///< half span, nautical miles
    /// Nautical miles, by AircraftCategory. A category without a span has the mean of all types; without any span all
    /// are 0.
    std::array<double, 6> categoryAverageSpan{};
    TextMap<std::string> modelFixes; ///< wrong code to correct code
    CodeSet simaddonAirports20;
    std::vector<ThirdPartyEntry> thirdParties20, thirdParties24;
};
const ReferenceData& referenceData(); ///< empty until a document was read; valid to the next reading

/// Empty tables, as at process start. For tests and tools.
void resetReference();

bool modelExists(std::string_view code);            ///< in upper case, as all codes here; false for an empty one
bool airlineExists(std::string_view code);          ///< as it stands in the list, in its case
AircraftCategory categoryOf(std::string_view code); ///< Light for a code in no list
double wingspanOf(std::string_view code);           ///< half span, nautical miles; the category's mean without a value
double maxWingspan();                               ///< the largest half span, nautical miles; 0 without any
/// The record of the first of `regcodeVariants` that is known.
std::optional<DbaseRecord> lookupRegcode(std::string_view regcode);
/// The forms in which a registration is looked up, in order.
std::vector<std::string> regcodeVariants(std::string_view regcode);
std::size_t dbaseSize(); ///< number of registrations
/// A registration of at most 4 characters of a private owner that stands in the title, the first of the document's
/// order when there are several; empty = none. Valid until the tables are filled anew.
std::string_view regcodeInTitle(std::string_view title);
/// The canonical name of the first publisher found in the text, or "unknown". Names are ECMAScript expressions, taken
/// in any case (ASCII), and hit as plain texts too. Throws std::regex_error when one that comes before a hit is no
/// valid expression; in texts above 4096 bytes a name with other signs of an expression than '.' hits as plain text
/// only.
std::string_view publisherOf(std::string_view text);

} // namespace kes
