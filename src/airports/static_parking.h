// Static parked aircraft at the airport in sight. Worker only.
// Until stands are known this keeps the reference airport alone; no static aircraft are made.
#pragma once

#include "core/ai_aircraft.h"

#include <cstdint>
#include <set>
#include <string>
#include <vector>

namespace kes {

extern std::vector<AiAircraft> parkedAircraft;
AiAircraft* findParked(std::uint32_t hexid);            ///< null when there is none
AiAircraft* findParkedByObject(std::uint32_t objectid); ///< null when there is none
extern std::int32_t wantedParked; ///< number of parked aircraft wanted at the park airport
/// A live aircraft stands on a stand: static aircraft planned for it are not made.
void dropPlacement(std::uint32_t sid);
/// Erases one record by moving the last one into its place.
void eraseParked(AiAircraft& aircraft);

/// Every 16 seconds and once at the start: picks the reference airport, the nearest within AIRPORT_RANGE of the user.
void parkingTick(bool first);
/// One static aircraft's create request, at most every 0.5 s.
void createNextStatic();
/// True while aircraft wait in `toPark`.
bool staticAircraftWait();
/// Static aircraft whose flight is among the `callsigns` on the air leave, and others take the free stands.
void renewParking(const std::set<std::string>& callsigns);
void startPlacing();  ///< placing flag on, parking controls off
bool placingGoesOn(); ///< since `startPlacing`, until every stand that is to have an aircraft has one
/// Drops the static aircraft and the reference airport.
void unloadParkAirport();
/// Saves the state of a loaded park airport at close-down.
void saveParkState();
bool parkAirportLoaded();   ///< with its stands
bool staticParkingActive(); ///< static aircraft are wanted and can be placed
void prepareParkState();    ///< at the start of a run
/// Stands, static aircraft and the reference airport, all gone. After a run, and in tests.
void resetParking();

} // namespace kes
