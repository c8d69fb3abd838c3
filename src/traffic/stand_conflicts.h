// SPDX-License-Identifier: MIT
// Two aircraft and one stand, or two stands too close for both: who stays. Live aircraft go before static ones, a real
// aircraft before its ghost, and among live ones the newcomer has it unless the feed still shows the other one there.
// Messages go to the log only with LOG. Worker only.
#pragma once

#include "airports/stands.h"
#include "traffic/live_aircraft.h"

namespace kes {

/// An aircraft is to be born on a stand: the other live aircraft on it goes, or the newcomer is refused (false).
bool offerStand(const LiveAircraft& newcomer, std::uint32_t sid);
/// A live aircraft on an adjacent stand leaves no room for one to be born on this stand. A stand without a position
/// counts as too close.
bool neighbourInTheWay(const LiveAircraft& newcomer, const Stand& stand);
/// An aircraft drives onto a stand: live ones on it, and on adjacent stands where both have no room, are removed.
void clearForParking(const LiveAircraft& aircraft, const Stand& stand);
/// Static aircraft give up the stand, and adjacent ones where both have no room. One that is not in the simulator yet
/// is taken back.
void makeWay(const LiveAircraft& aircraft, const Stand& stand);
/// A live aircraft that has come, landed or parked: the static one that is the same registration, or flies its callsign
/// or the coupled one, goes. Its entry in the landing list is dropped.
void replaceParked(LiveAircraft& aircraft);

} // namespace kes
