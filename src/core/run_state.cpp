// SPDX-License-Identifier: MIT
#include "core/run_state.h"

#include "core/units.h"

namespace kes {

std::atomic<bool> exitRequested{false};
std::atomic<bool> userClosed{false};
std::atomic<bool> readerFailed{false};
std::atomic<bool> simRunning{false};
std::atomic<bool> simRequestFailed{false};
std::atomic<bool> secondDue{false};
std::atomic<bool> rtOnThisPc{false};
std::atomic<bool> rtProfEdition{false};
std::atomic<bool> rtConnected{false};
std::atomic<bool> rtWaitPending{true};
std::atomic<bool> flightStopped{false};
std::atomic<bool> restarting{false};
std::atomic<bool> dataBaseRead{false};
std::atomic<std::int32_t> tickCount{0};
std::int32_t secondCounter = 0;
std::atomic<float> rangeNm{static_cast<float>(defaultRangeNm)};
std::atomic<std::int32_t> rangeMetres{static_cast<std::int32_t>(defaultRangeNm * metresPerNm)};

namespace {
// Reason in the low word, delay in the high word: one exchange sets both, so no reader sees half of a request.
// The mark tells a request from a reason that `setExitReason` left alone, which keeps no later request out.
std::atomic<std::uint64_t> exitOrder{0};
constexpr std::uint64_t requestedMark = 0x80000000ULL;
constexpr std::uint64_t reasonMask = 0x7FFFFFFFULL;

std::uint64_t pack(ExitReason reason, std::int32_t delay) {
    return static_cast<std::uint64_t>(static_cast<std::uint32_t>(delay)) << 32 | requestedMark |
           static_cast<std::uint32_t>(reason);
}
} // namespace

std::string_view exitReasonText(ExitReason reason) {
    static constexpr std::string_view texts[] = {"NOT YET SET",     "SIM WAS CLOSED",   "NEW FLIGHT",   "NEW SETTINGS",
                                                 "USER CLOSED SIM", "SIMCONNECT ERROR", "READER ERROR", "SYSTEM ERROR"};
    const auto index = static_cast<std::uint32_t>(reason);
    return index < std::size(texts) ? texts[index] : texts[0];
}

void setRange(float nauticalMiles) {
    rangeNm = nauticalMiles;
    rangeMetres = static_cast<std::int32_t>(nauticalMiles * static_cast<float>(metresPerNm));
}

bool requestExit(ExitReason reason, std::int32_t delaySeconds) {
    if (exitRequested)
        return false;
    std::uint64_t old = exitOrder;
    do {
        if ((old & requestedMark) != 0)
            return false;
    } while (!exitOrder.compare_exchange_weak(old, pack(reason, delaySeconds)));
    exitRequested = true;
    return true;
}

void setExitReason(ExitReason reason) {
    std::uint64_t old = exitOrder;
    while (!exitOrder.compare_exchange_weak(old, (old & ~reasonMask) | static_cast<std::uint32_t>(reason))) {
    }
}

ExitReason exitReason() {
    return static_cast<ExitReason>(exitOrder.load() & reasonMask);
}

std::int32_t restartDelay() {
    return static_cast<std::int32_t>(exitOrder.load() >> 32);
}

void resetRunFlags() {
    exitOrder = 0;
    exitRequested = false;
    userClosed = false;
    readerFailed = false;
    simRunning = false;
    simRequestFailed = false;
    secondDue = false;
    rtProfEdition = false;
    rtConnected = false;
    rtWaitPending = true;
    flightStopped = false;
    secondCounter = 0;
}

} // namespace kes
