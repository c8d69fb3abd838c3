// Stands for live traffic. This form lets an aircraft be born on a stand of the list and leave it; finding a stand for
// an arrival, and learning from what is seen, is not in it yet.
#pragma once

#include "airports/stands.h"
#include "traffic/live_aircraft.h"

#include <cstdint>
#include <string>

namespace kes {

enum class BirthPlace : std::uint8_t { taxiing, parked, notKnownYet };
/// Birth of a ground aircraft: on a stand when one fits. `notKnownYet` has dropped the front sample.
BirthPlace bornOnStand(LiveAircraft& aircraft);
/// The stop of a taxiing aircraft leads to a stand when one fits; `wide` after a landing.
void try2Park(LiveAircraft& aircraft, bool wide);
/// A park airport with stands is loaded.
bool airportDataReady();
void arriveAtStand(LiveAircraft& aircraft);
void learnStand(LiveAircraft& aircraft, bool force);
/// Tells the stand's list that this aircraft leaves it now.
void noteDeparture(LiveAircraft& aircraft);
/// The record forgets its stand.
void emptyStand(AiAircraft& aircraft);
/// A parked aircraft entered the simulator: notes the half-hour and logs it.
void noteParked(LiveAircraft& aircraft);

} // namespace kes
