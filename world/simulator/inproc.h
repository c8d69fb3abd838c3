// SPDX-License-Identifier: MIT
// The simulator in the same process: its model behind the client functions, without sockets, for tests and replay.
// A program that links it and calls SimConnect_Open talks to this model; while it is not started, opening fails.
// All functions may be called from any thread. Without `inprocRunThread` its time stands still between steps.
#pragma once

#include "world/simulator/model.h"

#include <cstddef>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kes::world {

/// Starts the model afresh; clients of an earlier one see their stream end.
void inprocStart(const SimulatorOptions& options);
/// Lets some seconds of model time pass; frames and beats happen inside.
void inprocStep(double seconds);
/// A thread that lets time pass `speed` times as fast as real time, until `inprocStopThread`. One at a time.
void inprocRunThread(double speed);
void inprocStopThread(); ///< joins it; harmless without one
/// Ends all streams without a word and stops the thread. Harmless when not started.
void inprocStop();
bool inprocRunning(); ///< the model is there, whether or not a thread lets its time pass

/// One of the commands of control.h; "error: ..." when not started.
std::string inprocCommand(std::string_view line);

/// Copies, empty when there is no such object.
std::optional<SimObject> inprocObject(std::uint32_t id);
std::optional<SimObject> inprocObject(std::string_view tailNumber); ///< cut to the room that a packet has for it
std::vector<SimObject> inprocObjects();
/// The object's height above the terrain as the model sees it, feet; NaN when there is no such object.
double inprocAboveGround(std::uint32_t id);
Counters inprocCounters(); ///< all 0 when not started
/// Packets and messages on their way to clients, bytes.
std::size_t inprocWaiting();
/// Called under the model's lock: keep them short and call nothing of this header from inside.
void inprocSetHooks(Hooks hooks);

/// The model under its lock, for all that has no function above. Holds the lock as long as it lives.
class LockedSimulator {
public:
    explicit operator bool() const { return simulator_ != nullptr; }
    Simulator* operator->() const { return simulator_; }
    Simulator& operator*() const { return *simulator_; }

private:
    friend LockedSimulator worldSimulator();
    LockedSimulator(std::unique_lock<std::mutex> lock, Simulator* simulator)
        : lock_(std::move(lock)), simulator_(simulator) {}
    std::unique_lock<std::mutex> lock_;
    Simulator* simulator_;
};
/// False when not started. Nothing else of this header may be called while it lives.
LockedSimulator worldSimulator();

} // namespace kes::world
