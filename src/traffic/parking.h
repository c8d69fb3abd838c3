// Stands for live traffic. This first form knows no stands.
#pragma once

#include "traffic/live_aircraft.h"

#include <cstdint>
#include <string>

namespace kes {

/// Birth of a ground aircraft: parked at a stand when one fits. False = it taxies.
bool bornParked(LiveAircraft& aircraft);
void arriveAtStand(LiveAircraft& aircraft);
void learnStand(LiveAircraft& aircraft, bool force);
/// An aircraft leaves its stand: the stand's mark of a live aircraft is cleared.
void releaseStand(const AiAircraft& aircraft);
/// A parked aircraft entered the simulator: note, log, drop static plans for the stand.
void noteParked(LiveAircraft& aircraft);
/// The name of a stand for messages; empty for an unknown one.
std::string standName(std::uint32_t sid);

} // namespace kes
