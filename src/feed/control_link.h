// SPDX-License-Identifier: MIT
// TCP server for RealTraffic as a client: it reads the user's position from one line per second.
// All operations run on the worker.
#pragma once

#include "core/user_aircraft.h"

#include <chrono>
#include <cstdint>
#include <string>
#include <string_view>

namespace kes {

/// What the link asks of higher floors. Null = nothing. Called on the worker.
struct ControlLinkHooks {
    void (*clientGone)() = nullptr;   ///< a client has gone and the user has not closed: its traffic leaves
    void (*whileWaiting)() = nullptr; ///< about every 100 ms while the worker stands in the wait for a client
};
extern ControlLinkHooks controlLinkHooks;

/// After this long without a client the user is told what to look at. Tests make it shorter.
extern std::chrono::milliseconds sourceAdviceAfter;

/// Listens on a port of the loopback, for RealTraffic runs on this PC; a link that stands is closed first. Throws
/// runtime_error with the failing call and reason after closing what is open.
void startServer(const std::string& port);
/// Port in use, 0 while not listening.
std::uint16_t controlLinkPort();
/// Shows the waiting text, waits for a client and for its version. One that goes before it has answered does not count.
/// Does nothing unless RealTraffic is on this PC. Ends within 200 ms of `exitRequested` or `userClosed`.
void waitForRealTraffic();
/// Waits for a client that is alive; true when one was accepted and asked for its version. False at once while one is
/// connected, or when the run is to end.
bool waitForClient();
/// Sends the whole text. False when it cannot leave within half a second: the client is then logged and dropped. When
/// it was the last one, the next sendQs121 acts on the loss.
bool sendDataPacket(std::string_view text);
/// What the client said to the version question, at most 16383 bytes; who connects meanwhile is let in and asked as
/// well. Empty when no client is left, after 5 seconds without an answer, and when the run is to end.
std::string receive();
/// The user's state, once per second; nothing while no flight is loaded. Before the line goes out newer clients are let
/// in, those that have gone are noticed (also one that only closed its sending side), and an answer to the version
/// question is evaluated, however late it comes. When no client is left, the next call waits for one.
void sendQs121(const UserAircraft& user);
/// The line that sendQs121 sends, with its CR LF.
std::string formatQs121(const UserAircraft& user);
/// The simulator's time in seconds since 1970; nothing unless connected and at least 1.
void sendQs123(std::int64_t simEpochSeconds);
/// Evaluates the reply to "Qs999=version": sets rtProfEdition and the edition read-out. Takes any bytes.
void evaluateVersionReply(const std::string& reply);
/// "exit", then closes both sockets and ends the socket library.
void closeControlLink();

} // namespace kes
