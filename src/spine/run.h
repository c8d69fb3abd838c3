// One run of the worker: start-up, the wait for simulator and traffic source, the main loop, close-down and restart.
#pragma once

#include <cstdint>

namespace kes {

/// The whole of a run, ending in `lf_closingDown`. Body of the worker thread.
void workerMain();

// Its pieces, all on the worker.
void startUp();
void versionUpdateStep();
void runTraffic();
/// True when the user's aircraft is known to be in a loaded flight; false when the run is to end.
bool waitForSim();
void lf_closingDown();
void restartCountdown();
/// All state of a run back to its start values, after every other thread of the run has ended.
void resetRun();

/// UDP ports of the two readers. RealTraffic sends to fixed ones; tests take free ones.
struct FeedPorts {
    std::uint16_t traffic, weather;
};
extern FeedPorts feedPorts;

/// Sleeps `ms` milliseconds in pieces; ends early, with false, when the run is to end (or, with `onlyUserClose`, when
/// the user has closed). All waits of a run go through here, and what the user does to the controls meanwhile is taken.
bool runSleep(std::int32_t ms, bool onlyUserClose = false);
/// Waits the full time, whatever the flags say.
void runPause(std::int32_t ms);
/// Tests shorten the waits: 0.01 makes a second 10 ms.
void setRunSleepScale(double scale);

} // namespace kes
