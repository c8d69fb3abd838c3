// SPDX-License-Identifier: MIT
// A report of a known aircraft may tell another route, registration or flight than the record holds; the aircraft may
// then come back in another livery. Worker only.
#pragma once

#include "traffic/live_aircraft.h"

namespace kes {

/// False = the report says nothing further: it is refused, or the aircraft leaves for another livery.
bool checkIdentity(LiveAircraft& aircraft, const AircraftReport& report);

} // namespace kes
