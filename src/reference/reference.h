// What the program knows of the real world of aviation: types, airlines, registrations. Filled once per process on the
// worker, read-only afterwards. This first form reads plain lists from the "input" folder.
#pragma once

#include "core/ai_aircraft.h"

#include <optional>
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

/// Fills all tables; false (and a log line) when the lists are missing.
bool readDataBase();
bool modelExists(std::string_view code);
bool airlineExists(std::string_view code);
std::string_view airlineName(std::string_view code); ///< empty for an unknown code
AircraftCategory categoryOf(std::string_view code);  ///< Light for a code in no list
double wingspanOf(std::string_view code);            ///< half span, nautical miles; the category's mean without a value
std::optional<DbaseRecord> lookupRegcode(std::string_view regcode);
/// The forms in which a registration is looked up, in order.
std::vector<std::string> regcodeVariants(std::string_view regcode);
double maxWingspan(); ///< the largest half span, nautical miles

} // namespace kes
