// SPDX-License-Identifier: MIT
// Looks for airports that cannot be right beside each other: two at one place, and an elevation far from those around.
// For the sources of the project and for lists of somebody else's making.
#pragma once

#include "tools/pack/sources.h"

#include <cstddef>
#include <filesystem>
#include <string>
#include <vector>

namespace kes::pack {

/// What looks wrong and is right, from airport_oddities.csv.
struct AirportOddity {
    std::string code;
    std::string beside;   ///< the other airport at the same place; empty = the elevation is meant
    std::size_t line = 0; ///< from 1
    bool met = false;     ///< a check would have remarked on it
};

/// Nothing where there is no file. A row without a reason is bad.
std::vector<AirportOddity> readAirportOddities(const std::filesystem::path& data, PackCount& count);

/// Adds what it finds to the doubtful rows of the count, under the name of `file`. Positions must be good numbers; an
/// airport whose elevation is an empty text is no neighbour. Any thread.
void checkAirports(const std::vector<AirportRow>& airports, const std::filesystem::path& file,
                   std::vector<AirportOddity>& oddities, PackCount& count);

/// Checks the airports of the plain sources, where there are any, and that each oddity is still needed there. Returns
/// the oddities for the check of an import.
std::vector<AirportOddity> checkPlainAirports(const std::filesystem::path& data, PackCount& count);

} // namespace kes::pack
