// SPDX-License-Identifier: MIT
// Stands for live traffic: an aircraft is born on one, drives onto one where its reports end, stands on it until the
// feed shows it leaving, and tells the stand list what it was seen to do. Works only while a park airport with stands
// is loaded; who stays when two want one stand is told by traffic/stand_conflicts.h. Worker only.
#pragma once

#include "airports/live_parking.h"
#include "airports/stands.h"
#include "traffic/live_aircraft.h"
#include "traffic/motion.h"

#include <cstdint>

namespace kes {

enum class BirthPlace : std::uint8_t {
    taxiing,     ///< on the ground, on no stand
    parked,      ///< on a stand, or refused it (`deleteNow`)
    asItIs,      ///< on the user's stand, where nothing is changed
    notKnownYet, ///< its front sample was dropped; the next tick asks again
};
/// Where an aircraft on the ground is born; it takes its stand when there is one. Needs two samples.
BirthPlace bornOnStand(LiveAircraft& aircraft);

/// A park airport with stands is loaded.
bool airportDataReady();
/// A taxiing aircraft whose reports end in a standstill drives onto the stand there, if one fits; `wide` after a
/// landing. Other aircraft in its way are removed.
void try2Park(LiveAircraft& aircraft, bool wide);
/// Ends the stream on a stand: with the sample that stands there.
void drive2Stand(LiveAircraft& aircraft, LatLon stand);
/// The end of the stream of a parking aircraft: it parks, or drove past.
void arriveAtStand(LiveAircraft& aircraft, const Motion& m);
/// A parked aircraft entered the simulator: notes the half-hour and drops what was planned for its stand.
void noteParked(LiveAircraft& aircraft);
/// Tells the stand list that an aircraft leaves its stand now.
void noteDeparture(const LiveAircraft& aircraft);
/// An aircraft that leaves the park airport's ground or air without a stand of its own teaches the list a guess;
/// `force` when it need not be low.
void learnStand(LiveAircraft& aircraft, bool force);
/// The record forgets its stand.
void emptyStand(AiAircraft& aircraft);
/// Keeps the number of parked aircraft within `wantedParked`: one live and one static aircraft may have to go. `extra`
/// are about to be there.
void checkMaxPark(std::int32_t extra);

/// What static parking asks of live traffic.
LiveParkingHooks hooksOfLiveParking();

} // namespace kes
