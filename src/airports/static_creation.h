// SPDX-License-Identifier: MIT
// One planned static aircraft after the other comes into the simulator. Worker only.
#pragma once

#include "airports/static_plan.h"

#include <string>

namespace kes {

/// Takes the next placement of `toPark`, unless its stand is in use by now, and orders the creation of its aircraft.
void createNextStatic();
/// True while aircraft wait in `toPark`.
bool staticAircraftWait();
/// The callsign that the aircraft of a placement has for its leg, with the '*' that marks a static one; empty, and
/// logged, without any.
std::string lf_detcs(const StaticPlacement& placement);
/// A calculation is done: its placements may wait for aircraft that are on their way out.
void allowWaiting();

} // namespace kes
