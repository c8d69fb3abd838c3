// SPDX-License-Identifier: MIT
// The equipment codes of published timetables, where lists of aircraft leave gaps: families of which no one type is
// named, versions with winglets, and freighters.
#pragma once

#include <span>
#include <string_view>

namespace kes::pack {

struct EquipmentCode {
    std::string_view code; ///< IATA, three characters
    std::string_view type; ///< ICAO designator; of a family its commonest type
    bool freighter = false;
};

/// All of them, sorted by code. General knowledge of the published codes.
std::span<const EquipmentCode> equipmentCodes();
/// Null for a code that is not in the table.
const EquipmentCode* findEquipment(std::string_view code);

} // namespace kes::pack
