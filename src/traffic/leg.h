// SPDX-License-Identifier: MIT
// The change from one leg to the next: the sample just reached leaves the stream, the way to the next one is planned,
// and who has none left holds, extrapolates samples or goes. Worker only.
#pragma once

#include "traffic/live_aircraft.h"
#include "traffic/motion.h"

namespace kes {

/// Begins the leg to the next sample. Throws runtime_error with the routine's name and the aircraft's state.
void nextPosMain(LiveAircraft& aircraft, const Motion& m);

} // namespace kes
