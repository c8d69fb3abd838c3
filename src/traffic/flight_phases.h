// How a new report of a known aircraft joins its stream. This first form appends the sample as it is.
#pragma once

#include "traffic/live_aircraft.h"

namespace kes {

/// Takes the sample by value and may alter it before it joins the stream. Worker.
void decodeExisting(LiveAircraft& aircraft, PositionSample sample);

} // namespace kes
