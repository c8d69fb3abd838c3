// SPDX-License-Identifier: MIT
// The connection to the simulator: one thread opens it, declares what the program asks for and dispatches what arrives.
#pragma once

#include "core/user_aircraft.h"
#include "sim/definitions.h"
#include "simconnect/simconnect.h"

#include <atomic>
#include <cstdint>
#include <optional>
#include <stop_token>

namespace kes {

/// Null while not open. Set and cleared by the SimClient thread, cleared under `simMutex`.
extern std::atomic<simconnect::HANDLE> simHandle;
/// Object ids at or below it belong to the user and are never touched. Starts at 2.
extern std::atomic<std::uint32_t> userObjectId;

/// Milliseconds that a simulator may take to answer before the user is told who was met instead. Tests shorten it.
extern std::atomic<int> simAnswerMs;
/// After this long without a simulator the user is told where it was looked for. Tests make it shorter.
extern std::chrono::milliseconds simAdviceAfter;

/// Starts the SimClient thread; one that still runs is stopped and joined first. Worker.
void startSimClient();
void requestSimClientStop(); ///< returns at once
void joinSimClient();        ///< waits for the end of a thread that was asked to stop

/// Body of the thread.
void simThread(std::stop_token stop);
/// Handles one message of the simulator. SimClient thread. Throws nwk::UserErrorException for what the user must read.
void dispatch(const simconnect::Recv* message, simconnect::DWORD size, void* context);

/// Asks for the user's position and returns the block of the last reply, one request behind. Worker.
UserAircraft readUserPosition();
/// What the SimClient thread has seen of the user's aircraft and others have to act on: who knows the stands is the
/// worker.
struct UserMoves {
    std::optional<LatLon> seenAt; ///< of the newest position reply
    /// The aircraft as it was when a flight was loaded or the connection ended while it stood: its stand is to be
    /// learned.
    std::optional<UserAircraft> stoodAt;
};
/// Takes what has come since the last call. Worker.
UserMoves takeUserMoves();
/// Asks for the on-ground state once per second; false after a failure, which ends the run for a restart. Worker.
bool requestOnGroundBeat();
/// Asks for the user aircraft's title and model. Worker.
void requestUserRecognition();
/// A SimConnect request failed: tells the user, sends no more, ends the run for a restart. Any thread, no lock held.
void requestError();

/// Start values for a new run, after the thread has ended.
void resetSimClient();

} // namespace kes
