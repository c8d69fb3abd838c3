// SPDX-License-Identifier: MIT
// Whether the feed shows a parked aircraft leaving its stand: noise of the receivers must not push it back, and a real
// departure must not be missed. Worker only.
#pragma once

#include "traffic/live_aircraft.h"
#include "traffic/motion.h"

namespace kes {

/// A parked or parking aircraft: true = the sample joins the stream, for the feed shows it leaving.
bool checkAtStand(LiveAircraft& aircraft, PositionSample& sample, const Motion& m);

} // namespace kes
