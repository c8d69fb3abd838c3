// SPDX-License-Identifier: MIT
// Which of two aircraft stays: ghosts and their real twins, static aircraft in the way of live ones of the same flight,
// and what the user blocks. Worker only.
#pragma once

#include "traffic/live_aircraft.h"

#include <string>
#include <string_view>
#include <vector>

namespace kes {

extern std::vector<std::string> ghostList; ///< callsigns of ghosts that were removed

/// A ghost's callsign ends in '_'.
inline bool isGhost(std::string_view callsign) {
    return !callsign.empty() && callsign.back() == '_';
}
/// A real callsign has been seen: the aircraft under the same name with '_' behind it goes.
void removeGhostOf(const LiveAircraft& aircraft);
/// A live aircraft that is not being removed has the name without its last character.
bool hasRealTwin(std::string_view ghostCallsign);
/// Clears the request `blockNow`; the first active live aircraft with the callsign BLOCK_CALLSIGN is removed.
void applyBlocking();
/// Live aircraft on the ground against parked ones of the same flight or registration.
void removeParkedTwins();
void resetConflicts(); ///< for a new run

} // namespace kes
