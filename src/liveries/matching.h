// SPDX-License-Identifier: MIT
// Which installed livery an aircraft shows. Thread of the main tick; a search allocates nothing.
#pragma once

#include "core/ai_aircraft.h"

#include <array>
#include <cstdint>
#include <string_view>

namespace kes {

/// Fills `title` and `reverseThrust` of a live aircraft, or leaves the title empty.
/// Returns the step that found it, 0 = no match or refused.
int matchLive(AiAircraft& record);

/// What the match for a parked aircraft needs of its stand.
struct StandUse {
    std::string_view id;
    bool cargo = false;
};
/// Fills `title` and `cargo` of a parked aircraft; true when it has a title at the end.
bool matchStatic(AiAircraft& record, const StandUse& stand);

/// The title that an installed livery has for a registration or one of its variants; empty when there is none.
std::string_view searchRegcode(std::string_view regcode);

/// Matches of `matchLive` per step 1 to 6 since the process began, or since the liveries were last forgotten.
const std::array<std::uint32_t, 6>& stepCounters();

/// Titles that the simulator refused, until the liveries are forgotten.
void refuseTitle(std::string_view title, std::string_view model, std::string_view airline);
std::size_t refusedTitleCount();
bool isRefused(std::string_view title);
void resetMatching(); ///< counters and refusals; see `resetLiveries`

/// Matches per step and what the simulator refused, into the log.
void writeMatchingSummary();

} // namespace kes
