// SPDX-License-Identifier: MIT
// The stand that is kept for the user's aircraft, and the one that it stands on. Worker only.
#pragma once

#include "core/geo.h"
#include "core/user_aircraft.h"

#include <cstdint>
#include <string>

namespace kes {

/// Id of the stand kept for the user at the park airport; empty = none. Changes at a load and a re-read only.
extern std::string reservedStand;

/// The stand nearest to a position, at most 55 metres away; 0 = none, as long as the user does not stand on the ground.
/// The last answer holds for the same position, until the stands change (`forgetNearestStand`).
std::uint32_t nearestStand(LatLon position);
void forgetNearestStand();
/// Id of the stand that the user's aircraft stands on; empty = none.
std::string standOfUser();

/// After a load: learns the stand that the user stands on, and reserves the one that the list of park airports tells.
void reserveAtLoad();
/// At each calculation: marks the reserved stand, and the one that the user stands on.
void markReserved();
/// After a re-read: reserves what the list tells now, and clears it of others. What the user is to be told; empty when
/// nothing has changed.
std::string reserveAnew();
/// No stand is reserved any more, and the nearest one is looked for anew.
void forgetReserved();

/// Learns the stand at which the user's aircraft stood.
void learnUserStand(const UserAircraft& user);
bool userStandReserved(); ///< `reservedStand` holds text
/// Clears the stand that the user's aircraft stands on of another one.
void userStandStep();

} // namespace kes
