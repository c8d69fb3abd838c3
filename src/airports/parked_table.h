// SPDX-License-Identifier: MIT
// The static parked aircraft. Worker only.
#pragma once

#include "core/ai_aircraft.h"

#include <cstdint>
#include <vector>

namespace kes {

extern std::vector<AiAircraft> parkedAircraft;
AiAircraft* findParked(std::uint32_t hexid);            ///< null when there is none
AiAircraft* findParkedByObject(std::uint32_t objectid); ///< null when there is none
/// Erases one record by moving the last one into its place.
void eraseParked(AiAircraft& aircraft);
/// Drops the records whose removal the simulator will not report: never asked for, or asked for and taken back.
void sweepParked();
/// A hexid that no static aircraft has: the next number, 1 to 9999 and round again. 0 with 9000
/// of them, more than any airport has stands.
std::uint32_t nextStaticHexid();

} // namespace kes
