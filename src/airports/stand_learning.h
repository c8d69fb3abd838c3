// SPDX-License-Identifier: MIT
// What a stand list learns from live traffic: who was seen on a stand at which half-hour, and who is taken to have used
// one. Learned uses steer the choice of stands and static aircraft, and are saved when the park airport goes. Nobody
// learns but the list of the present park airport. Worker only.
#pragma once

#include "airports/stands.h"
#include "core/ai_aircraft.h"
#include "core/hh_now.h"

#include <cstdint>
#include <string_view>

namespace kes {

extern std::int32_t saveUpdates; ///< learned changes since the last save
/// False when so much is known of a list that guesses would make it worse. Set when the list is loaded.
extern bool learningAllowed;

/// A learned change: `saveUpdates` grows, and the window shows it.
void countUpdate();

/// A live aircraft is on the stand `sid`; `departing` when it leaves it. True when something was noted. Nothing without
/// a registration and a callsign. Problems are logged.
bool lf_addRealParkPosOption(std::uint32_t sid, const AiAircraft& aircraft, bool departing, HhNow now);
/// An aircraft is taken to have used the stand; `known` when it was so before. True when something was noted. Nothing
/// without a registration. Problems are logged.
bool lf_addSoftParkPosOption(std::uint32_t sid, const AiAircraft& aircraft, bool known, HhNow now);
/// Notes a real use, unless the airline is unknown or freight and passengers would mix.
void noteRealUse(const AiAircraft& aircraft, bool departing, HhNow now);
/// An aircraft of which nobody saw the stand arrives or leaves: one is chosen for it, and the use noted as a guess.
/// The caller has made sure that it is at the park airport and has no stand.
void noteGuessedUse(const AiAircraft& aircraft, HhNow now);
/// A cargo aircraft on a stand for others makes it a cargo stand.
void learnCargo(Stand& stand, const AiAircraft& aircraft);

/// Appends a use of this half-hour to a stand. Its number; 0 when there is one like it.
std::int32_t addOption(Stand& stand, const AiAircraft& aircraft, bool real, HhNow now, std::string_view callsign,
                       std::string_view regcode);
/// Completes the half-hours since a use was last noted, if that was at most five half-hours ago, on option `optIndex`
/// of today; behind midnight on a further one.
void fillHours(Stand& stand, HhNow now, std::int32_t optIndex, SeenEntry& seen, const AiAircraft& aircraft, bool real);
/// Makes a callsign the arrival or the departure of an option. A '_' at its end does not count.
void joinCallsign(Stand& stand, std::int32_t optIndex, std::string_view callsign);

/// Finds an arrival and departure around this time of which one is the aircraft's callsign, and takes both callsigns.
void lf_searchForCoupledCsAroundThisTime(HhNow now, AiAircraft& aircraft);

/// Writes the learned file of the park airport and starts the count anew. A failure is told on the status line. Throws
/// filesystem_error "create_directory" when there can be no folder for it.
void saveLearnedFile();

/// Nothing is noted or counted, and nothing is learned until the next list is loaded.
void resetStandLearning();

} // namespace kes
