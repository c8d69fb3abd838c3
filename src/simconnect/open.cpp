#include "simconnect/open.h"

#include "core/run_state.h"
#include "simconnect/connection.h"
#include "simconnect/transport.h"

#include <chrono>
#include <memory>
#include <utility>

namespace kes::simconnect {

namespace {

/// The way to a simulator that has refused our version.
std::unique_ptr<Transport> reachAgain(DWORD configIndex, HRESULT& result) {
    OpenTry attempt;
    attempt.giveUp = stopWanted;
    return openTransport(configIndex, result, attempt);
}

} // namespace

HRESULT openSimulator(HANDLE& result, const char* name, DWORD configIndex, OpenTry& attempt) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(attempt.timeoutMs);
    result = nullptr;
    HRESULT outcome = E_FAIL;
    std::unique_ptr<Transport> transport = openTransport(configIndex, outcome, attempt);
    if (!transport)
        return outcome;
    outcome = connectWith(result, std::move(transport), name, configIndex, reachAgain);
    if (failed(outcome))
        return outcome;
    const auto over = [&] { return std::chrono::steady_clock::now() > end || (attempt.giveUp && attempt.giveUp()); };
    if (!awaitAnswer(*result, over)) {
        close(std::exchange(result, nullptr));
        return E_FAIL;
    }
    return S_OK;
}

} // namespace kes::simconnect
