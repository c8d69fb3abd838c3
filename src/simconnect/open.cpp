// SPDX-License-Identifier: MIT
#include "simconnect/open.h"

#include "core/run_state.h"
#include "simconnect/connection.h"
#include "simconnect/transport.h"

#include <chrono>
#include <memory>
#include <utility>

namespace kes::simconnect {

HRESULT openSimulator(HANDLE& result, const char* name, DWORD configIndex, OpenTry& attempt) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(attempt.timeoutMs);
    result = nullptr;
    HRESULT outcome = E_FAIL;
    std::unique_ptr<Transport> transport = openTransport(configIndex, outcome, attempt);
    if (!transport)
        return outcome;
    const auto over = [&] { return std::chrono::steady_clock::now() > end || (attempt.giveUp && attempt.giveUp()); };
    // A simulator that has refused our version is reached again within the same limits.
    const auto reachAgain = [&](DWORD index, HRESULT& reached) {
        OpenTry again;
        again.giveUp = [&] { return over() || stopWanted(); };
        return openTransport(index, reached, again);
    };
    outcome = connectWith(result, std::move(transport), name, configIndex, reachAgain);
    if (failed(outcome))
        return outcome;
    const bool answered = awaitAnswer(*result, over);
    result->reach = nullptr; // its limits end here, and so do the refusals
    if (!answered) {
        close(std::exchange(result, nullptr));
        return E_FAIL;
    }
    return S_OK;
}

} // namespace kes::simconnect
