// SPDX-License-Identifier: MIT
// Who an aircraft is, from what a report says and what the data base knows of its registration. A live aircraft and the
// tools that ask about one take the same way. Reads the reference data; any thread.
#pragma once

#include "core/ai_aircraft.h"

namespace kes {

/// A type that no list knows is replaced by that of the registration. False = there is none, and nothing can be done
/// with the aircraft.
bool takeKnownModel(AircraftIdentity& aircraft);

/// What a registration is known to be goes before what a report says: `airline` (the operator's where there is one),
/// `model`, `cargo`. Without a valid callsign the registration stands in for it. An airline that nobody tells is that
/// of the callsign, else "PVT". False = no valid callsign either way.
bool takeKnownIdentity(AiAircraft& aircraft);

} // namespace kes
