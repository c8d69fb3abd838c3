// Which of two aircraft stays: ghosts, the user's surroundings, blocking. This first form knows no stands and no
// coupled flights. Worker.
#pragma once

#include "traffic/live_aircraft.h"

#include <string>
#include <string_view>
#include <vector>

namespace kes {

extern std::vector<std::string> ghostList; ///< callsigns of ghosts that were removed

/// A real callsign has been seen: the aircraft under the same name with '_' behind it goes.
void removeGhostOf(const LiveAircraft& aircraft);
/// A live aircraft that is not being removed has the name without its last character.
bool hasRealTwin(std::string_view ghostCallsign);
enum class BirthCheck { goOn, wait };
/// Step of the spawn decision, needs a front sample. wait = the front sample is dropped.
BirthCheck birthCheckUser(LiveAircraft& aircraft);
void replaceParked(LiveAircraft& aircraft); ///< also drops the entry of the landing list
void checkUserCollisions();                 ///< each second: at most one live and one static aircraft goes
void checkParkedCollisions();               ///< each second: static aircraft in the way of a taxiing live one go
/// `blockNow`: the first active live aircraft with the callsign BLOCK_CALLSIGN is removed.
void applyBlocking();
/// Live aircraft on the ground against parked ones of the same flight or registration.
void removeParkedTwins();
void resetConflicts();

} // namespace kes
