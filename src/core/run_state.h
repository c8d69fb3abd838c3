// SPDX-License-Identifier: MIT
// The flags by which the threads of a run ask each other to stop, and the few values that every floor reads.
// All are process-wide, and atomic but for `secondCounter`; `resetRunFlags` brings back the start values for the next
// run.
#pragma once

#include <atomic>
#include <cstdint>
#include <string_view>

namespace kes {

enum class ExitReason : std::uint32_t {
    notYetSet = 0,
    simWasClosed = 1,
    newFlight = 2,
    newSettings = 3,
    userClosedSim = 4,
    simConnectError = 5,
    readerError = 6,
    systemError = 7,
};

/// The text of a reason as it stands in the log, such as "SIM WAS CLOSED"; "NOT YET SET" for an unknown value.
std::string_view exitReasonText(ExitReason reason);

extern std::atomic<bool> exitRequested;    ///< the run must end; tested by every long loop
extern std::atomic<bool> userClosed;       ///< the user's close click, and nothing else
extern std::atomic<bool> readerFailed;     ///< a feed reader stopped with an error
extern std::atomic<bool> simRunning;       ///< the simulator reports a running flight
extern std::atomic<bool> simRequestFailed; ///< a SimConnect request failed; no more are sent in this run
extern std::atomic<bool> secondDue;        ///< the simulator's one-second beat arrived
extern std::atomic<bool> rtOnThisPc;       ///< RealTraffic's files exist on this PC
extern std::atomic<bool> rtProfEdition;    ///< the connected RealTraffic takes a time from the simulator
extern std::atomic<bool> rtConnected;      ///< a control-link client is accepted and alive
extern std::atomic<bool> rtWaitPending;    ///< RealTraffic has not yet connected in this run
extern std::atomic<bool> flightStopped;    ///< the main tick has noticed that the flight does not run
extern std::atomic<bool> restarting;       ///< this run is a restart of an earlier one in the same process
extern std::atomic<bool> dataBaseRead;     ///< the reference data base was read; once per process

/// 10 ms passes of the main loop since process start; never reset. The worker writes, all threads read.
extern std::atomic<std::int32_t> tickCount;
/// Simulator seconds of this run, 0 to 86399. Worker only.
extern std::int32_t secondCounter;
/// Injection range in nautical miles and in whole metres; set by `setRange`.
inline constexpr std::int32_t defaultRangeNm = 40;
extern std::atomic<float> rangeNm;
extern std::atomic<std::int32_t> rangeMetres;
void setRange(float nauticalMiles); ///< both, one after the other

/// Asks for the end of the run; the first caller wins, and nobody once the user has closed. `delaySeconds` is the
/// countdown before a restart. Any thread; lock-free. Returns whether this call set the reason.
bool requestExit(ExitReason reason, std::int32_t delaySeconds);
/// Overwrites only the reason (the barrier of the worker does this for a user error). Any thread.
void setExitReason(ExitReason reason);
ExitReason exitReason();     ///< `notYetSet` until an end was asked for; any thread
std::int32_t restartDelay(); ///< seconds, as asked with the reason; 0 = none

/// True when the run is to end: `exitRequested` or `userClosed`.
inline bool stopWanted() {
    return exitRequested.load() || userClosed.load();
}

/// Start values for all flags that belong to a run. `restarting`, `dataBaseRead`, `tickCount` and `rtOnThisPc` stay.
void resetRunFlags();

} // namespace kes
