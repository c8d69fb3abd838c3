// SPDX-License-Identifier: MIT
// The table of all live aircraft, and the list of those that may make a static aircraft give up its stand. Worker only.
#pragma once

#include "traffic/live_aircraft.h"

#include <cstdint>
#include <deque>
#include <vector>

namespace kes {

/// Walked front to back each tick. Records move when others are dropped: nothing keeps a pointer across ticks.
extern std::vector<LiveAircraft> liveAircraft;
LiveAircraft* findLive(std::uint32_t hexid);            ///< null when there is none
LiveAircraft* findLiveByObject(std::uint32_t objectid); ///< null when there is none
/// Erases one record by moving the last one into its place.
void eraseLive(LiveAircraft& aircraft);
/// Erases the records marked deleteNow or deleteQueued; the rest keep their order.
void compactLive();

/// Hexids that have entered, gone on final or landed; one a second is looked at. Each has a record.
extern std::deque<std::uint32_t> landingList;

} // namespace kes
