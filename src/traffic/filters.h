// SPDX-License-Identifier: MIT
// Which aircraft may enter the simulator: by category, by height where that is in doubt, and by number, where the
// farthest gives way. Beside it, how the user finds one among them. Worker only.
#pragma once

#include "traffic/live_aircraft.h"

#include <string_view>

namespace kes {

/// The limit of active live aircraft that MAX_LIVE set; -1 = none.
extern std::int32_t maxLive;

/// Category switches, then the altitude check against the reference airport. False = drop.
bool passesCategorySwitch(std::string_view model, double alt);
/// The user wants to see aircraft of this category.
bool categorySwitchedOn(AircraftCategory category);
/// An altitude in feet, above 0 and below 10000, within 120 feet of the reference elevation: neither flying nor on the
/// ground.
bool nearReferenceElevation(double alt);
/// Removes the active aircraft farthest from the user, if it is more than 0.1 nm farther than `distance`, nautical
/// miles. False when there is none.
bool removeFarthest(double distance);
/// MAX_LIVE in the spawn decision; false = the newcomer loses.
bool makeRoomFor(const LiveAircraft& newcomer);
/// Active aircraft beyond the limit leave, the farthest first.
void applyMaxLive();
/// MAX_LIVE was changed while a flight runs: takes it over and applies it. Clears the request, unless so many are still
/// on their way into the simulator that it has to be applied again.
void takeNewMaxLive();
/// The active aircraft into "callsign2objectid.txt", when CALLSIGN_OBJECTIDS is on and the simulator is that of 2020. A
/// failure is logged.
void writeCallsignList();
/// Shows the object of the active aircraft with a callsign beside the look-up, or that there is none.
void findCallsign(std::string_view text);

} // namespace kes
