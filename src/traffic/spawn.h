// SPDX-License-Identifier: MIT
// How a live aircraft enters the simulator: the decision while it waits in buffer, the preparation of stream, identity,
// livery and pose, and the create request. Worker only.
#pragma once

#include "traffic/live_aircraft.h"
#include "traffic/motion.h"

#include <cstdint>

namespace kes {

/// Decides whether an aircraft in buffer enters the simulator now.
void spawnDecision(LiveAircraft& aircraft, const Motion& m);
/// Prepares an aircraft and orders its birth; marks it for deletion when no livery fits.
void spawnLiveAc(LiveAircraft& aircraft, const Motion& m);
/// Makes the create request of the next birth.
void spawnNext();
/// The simulator has been asked for the object of this aircraft.
void noteAsked(std::uint32_t hexid, std::int32_t tick);

} // namespace kes
