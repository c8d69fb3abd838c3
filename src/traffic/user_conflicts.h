// SPDX-License-Identifier: MIT
// Live aircraft too near the user's aircraft, in the air and on the ground, and live aircraft that taxi into static
// ones. Worker only.
#pragma once

#include "traffic/live_aircraft.h"

namespace kes {

enum class BirthCheck { goOn, wait };
/// Step of the spawn decision, needs a front sample. wait = the front sample is dropped.
BirthCheck birthCheckUser(LiveAircraft& aircraft);
void checkUserCollisions();   ///< each second: at most one live and one static aircraft goes
void checkParkedCollisions(); ///< each second: static aircraft in the way of a taxiing live one go
void resetUserConflicts();    ///< for a new run

} // namespace kes
