// SPDX-License-Identifier: MIT
// Opening a connection, with what the published function cannot tell: who was met on the way, and when to give up.
#pragma once

#include "simconnect/simconnect.h"

#include <functional>
#include <string>

namespace kes::simconnect {

/// How long a simulator may take to be reached and to answer.
inline constexpr int answerMs = 10000;

/// One try to open a connection.
struct OpenTry {
    int timeoutMs = answerMs;     ///< for all of it
    std::function<bool()> giveUp; ///< asked every few milliseconds; true ends the try. Empty = never

    // Afterwards:
    bool reached = false; ///< somebody has taken the connection, whether or not it is a simulator
    std::string address;  ///< "host:port" that was tried; empty = none
    std::string file;     ///< the file that names it, or should; empty = there is none
    std::string doubt;    ///< what is wrong with that file, a sentence; empty = nothing
};

/// As SimConnect_Open, within the limits of `attempt`, which tells afterwards what was met.
HRESULT openSimulator(HANDLE& result, const char* name, DWORD configIndex, OpenTry& attempt);

} // namespace kes::simconnect
