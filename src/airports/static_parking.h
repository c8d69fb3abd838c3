// SPDX-License-Identifier: MIT
// Static parked aircraft at the airport in sight: which airport it is, its load, and its end. Worker only, but for the
// two flags that `parkAirportLoaded` and `placingGoesOn` read.
#pragma once

#include "airports/parked_table.h"
#include "airports/placing.h"
#include "airports/static_creation.h"
#include "airports/static_plan.h"
#include "airports/static_renewal.h"

namespace kes {

/// Every 16 seconds and once at the start (`first`): looks for an airport in sight, loads it one call later and plans
/// its static aircraft, ends the placing when all are created, and lets the airport go when it is out of sight. Throws
/// what the load of an airport file throws.
void parkingTick(bool first);

/// All static aircraft leave, live ones give up their stands, and the airport is released. MAX_LIVE is again what it
/// was before the airport's settings.
void unloadParkAirport();
/// Saves what was learned, and forgets the airport.
void releaseParkAirport();
/// Saves what was learned at the loaded park airport, if anything was; also at close-down.
void saveParkState();
/// Whether an airport is loaded, whose stands may get static aircraft: static parking is active.
bool parkAirportLoaded();
void prepareParkState(); ///< at the start of a run
void resetParking();     ///< forgets stands, static aircraft, plan, lists and what is unsaved; at the end of a run

} // namespace kes
