// SPDX-License-Identifier: MIT
// The configuration of an aircraft in the air: lights, gear, flaps and throttle by height and vertical speed.
#pragma once

#include "traffic/live_aircraft.h"
#include "traffic/motion.h"

namespace kes {

/// At the start of a leg whose front sample is `from`.
void setAirConfiguration(LiveAircraft& aircraft, const PositionSample& from, const Motion& m);

} // namespace kes
