// SPDX-License-Identifier: MIT
// How an aircraft, live or static, leaves the simulator: one that is not there yet is taken back or marked, one that is
// there is ordered to leave, once. Worker only.
#pragma once

#include "core/ai_aircraft.h"

#include <cstdint>

namespace kes {

/// By the aircraft's status: one in the buffer is marked `deleteNow`; of one that is being created the request is taken
/// back (`deleteQueued`) or, if it is under way, `removeWhenReady` set; any other is ordered to leave and gives up its
/// stand. The record stays in its table until that is swept or the simulator answers.
void removeAircraftFromSim(AiAircraft& aircraft);
/// Clears the "object shown beside the callsign look-up" when it is this one.
void clearSelection(std::uint32_t objectid);

} // namespace kes
