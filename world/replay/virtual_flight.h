// SPDX-License-Identifier: MIT
// The whole logic of a flight in virtual time, on one thread: simulator model, client, main tick, feed lines.
// For tests, benchmarks and replay. The tables (reference data, liveries, airports) are the caller's to fill.
#pragma once

#include "world/simulator/model.h"

#include <string_view>

namespace kes::world {

/// Brings all state of a run to its start values, starts the model in-process, connects and waits (in virtual time) for
/// the user's position. Throws runtime_error when that does not come within ten virtual seconds.
void startVirtualFlight(const SimulatorOptions& options);
/// One pass of 10 ms: the simulator moves on, what it sent is dispatched, one main tick runs. False when the run is to
/// end.
bool virtualTick();
/// The simulator's half of `virtualTick`, for those who time the main tick alone.
void virtualSimulatorStep();
/// Hands one datagram to the traffic reader, as if it had just arrived.
void virtualDatagram(std::string_view line);
/// Closes the connection, ends the model, and brings the state of a run to its start values again.
void endVirtualFlight();

} // namespace kes::world
