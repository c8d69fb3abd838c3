// SPDX-License-Identifier: MIT
// The periodic function that everything in a flight hangs on, every 10 ms on the worker: what the user did, what the
// simulator answered, each aircraft by one step, the orders, the reports, and on the simulator's beat the jobs of
// job_table.h. Nothing in it waits. Worker only.
#pragma once

namespace kes {

/// Runs until mainTick returns false.
void mainLoop();
/// One pass; false when the run has to end.
bool mainTick();
/// What each pass of a running flight does before it looks at the clock: replies, aircraft, queues, reports, requests.
void runningTickBody();
/// LATERAL_RANGE from the user's flight state, with AUTO_RANGE on.
void rangeRule();
/// The present half-hour from the wall clock, or from the traffic clock when RealTraffic takes a time.
void computeHhNow();
/// Whether datagrams still come: lamps of the two readers.
void readerLampCheck();
/// Start values of the tick's own state.
void resetMainTick();

} // namespace kes
