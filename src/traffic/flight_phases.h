// SPDX-License-Identifier: MIT
// What an aircraft is doing, decided 30 seconds ahead at the back of its stream, and the edits that make a stream easy
// to fly: noise on the ground, short stops, altitudes that hang or jump on landing. Worker only.
#pragma once

#include "traffic/live_aircraft.h"
#include "traffic/motion.h"

namespace kes {

/// The last step of taking a report. The sample may be altered, or dropped, before it joins the stream. Throws
/// runtime_error "{} exception {}" with its name.
void decodeExisting(LiveAircraft& aircraft, PositionSample sample, const Motion& m);

} // namespace kes
