// SPDX-License-Identifier: MIT
// One installed livery, and the file that keeps the result of a scan.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace kes {

struct Livery {
    std::string airline;       ///< airline code; "ZZZ" generic, "PVT" private
    std::string model;         ///< aircraft type code
    std::string title;         ///< the name under which the simulator creates the aircraft; any bytes but NUL
    std::string regcode;       ///< registration, may be empty
    std::int32_t priority = 0; ///< number of the scanned folder from 1; 0 when read back from the file
    bool cargo = false;
};

/// By airline, model and title.
void sortLiveries(std::vector<Livery>& liveries);
/// Writes "output/LiveriesScanned.xml" in one step and logs the number. False (logged) when it cannot be saved. Worker.
bool writeLiveriesScanned(const std::vector<Livery>& liveries);
/// Reads the file back, sorted. Throws nwk::UserErrorException 51, 52, 533, or 99 for foreign meta data. Worker.
std::vector<Livery> readLiveriesScanned();

} // namespace kes
