// SPDX-License-Identifier: MIT
#include "spine/job_table.h"

#include "airports/park_airports.h"
#include "airports/static_parking.h"
#include "core/change.h"
#include "core/log.h"
#include "core/parameters.h"
#include "core/run_state.h"
#include "core/user_aircraft.h"
#include "core/window.h"
#include "feed/control_link.h"
#include "feed/report_queue.h"
#include "feed/traffic_reader.h"
#include "feed/udp_reader.h"
#include "liveries/matching.h"
#include "spine/main_tick.h"
#include "traffic/conflicts.h"
#include "traffic/filters.h"
#include "traffic/live_table.h"
#include "traffic/no_match.h"
#include "traffic/stand_conflicts.h"
#include "traffic/title_table.h"
#include "traffic/user_conflicts.h"

#include <fmt/format.h>
#include <set>
#include <utility>

namespace kes {

namespace {

constexpr int quarter = 15;
constexpr int renewalSeconds = 1200;
constexpr int daySeconds = 86400;

bool renewalBetweenPasses = false;

void resumeFlight() {
    if (!flightStopped)
        return;
    flightStopped = false;
    log(fmt::format("{} Flight resumed", timeStamp()));
    reportQueue.setAccepting(true);
}

void countSecond() {
    ++secondCounter;
}

void replaceNextLanded() {
    if (landingList.empty())
        return;
    if (LiveAircraft* aircraft = findLive(landingList.front()))
        replaceParked(*aircraft);
}

void findCallsignAsked() {
    if (windowRequests.findCallsign.exchange(false))
        findCallsign(par::CALLSIGN_2_OBJECTID.get());
}

void flushStatic() {
    if (!windowRequests.flushStatic.exchange(false))
        return;
    unloadParkAirport();
    if (!par::INITIAL_LOAD_ONLY)
        changeForNow(par::INITIAL_LOAD_ONLY, true);
}

void blockCallsign() {
    if (windowRequests.blockNow)
        applyBlocking(); // clears the request
}

void takeMaxLive() {
    if (windowRequests.maxLive)
        takeNewMaxLive(); // likewise
}

void followParkAirport() {
    if (!renewalBetweenPasses)
        parkingTick(false);
}

void removeTwins() {
    if (!parkedAircraft.empty() && !liveAircraft.empty())
        removeParkedTwins();
}

void listCallsigns() {
    if (par::CALLSIGN_OBJECTIDS && par::MSFS_2020)
        writeCallsignList();
}

void handOverUserPosition() {
    trafficReader.setUserPosition(userAircraft.lat, userAircraft.lon);
}

void tellSimulatorTime() {
    if (rtProfEdition)
        sendQs123(simEpoch);
}

void keepUserStandClear() {
    if (userStandReserved())
        userStandStep();
}

/// Takes two passes, 15 seconds apart, so that the traffic reader can collect the callsigns on the air meanwhile.
void renewalPass() {
    if (!windowRequests.parkAdjust)
        return;
    if (!renewalBetweenPasses) {
        renewalBetweenPasses = true;
        startPlacing();
        clearStatus();
        trafficReader.clearCallsigns();
        trafficReader.setCollectCallsigns();
        return;
    }
    renewalBetweenPasses = false;
    clearError();
    clearStatus();
    std::set<std::string> callsigns = trafficReader.takeCallsigns();
    if (parkAirportLoaded()) // also when nobody stands there: it may be the settings that have changed
        renewParking(std::move(callsigns));
    windowRequests.parkAdjust = false;
}

void checkSilentLamps() {
    if (readouts.weatherLamp == Lamp::silent || readouts.trafficLamp == Lamp::silent)
        readerLampCheck();
}

void clearNoMatchList() {
    if (windowRequests.clearNoMatch.exchange(false))
        noMatchList.clear();
}

void setRangeByRule() {
    if (par::AUTO_RANGE)
        rangeRule();
}

void endAfterReaderFailure() {
    if (!readerFailed)
        return;
    showError("1001: RT error", readerFailureAdvice());
    requestExit(ExitReason::systemError, 0);
}

void showMinutesToRenewal() {
    readouts.minutesToRenewal = (renewalSeconds - secondCounter % renewalSeconds) / 60;
    repaint();
}

void askForRenewal() {
    if (parkAirportLoaded() && !par::INITIAL_LOAD_ONLY && !windowRequests.parkAdjust)
        windowRequests.parkAdjust = true;
}

void endDay() {
    secondCounter = 0;
    writeMatchingSummary();
    clearTitleTable();
}

// Quarter minutes are full, so what is not urgent keeps out of them and waits for its next turn.
constexpr Job jobs[] = {
    // `secondJobs`
    {"resume", 1, 0, resumeFlight},
    {"status age", 1, 0, ageStatus},
    {"counters", 1, 0, updateCounters},
    {"half-hour", 1, 0, computeHhNow},
    {"second", 1, 0, countSecond},
    {"landed", 1, 0, replaceNextLanded},
    {"find callsign", 1, 0, findCallsignAsked},
    {"flush static", 1, 0, flushStatic},
    {"user collisions", 1, 0, checkUserCollisions},
    {"parked collisions", 1, 0, checkParkedCollisions},
    {"block callsign", 1, 0, blockCallsign},
    {"max live", 1, 0, takeMaxLive},

    {"parking", 16, quarter, followParkAirport},
    {"lamps", 59, quarter, readerLampCheck},
    {"twins", 61, quarter, removeTwins},
    {"callsign list", 62, quarter, listCallsigns},

    {"user's position", quarter, 0, handOverUserPosition},
    {"simulator's time", quarter, 0, tellSimulatorTime},
    {"user's stand", quarter, 0, keepUserStandClear},
    {"re-read", quarter, 0, rereadStep},
    {"renewal", quarter, 0, renewalPass},
    {"silent lamps", quarter, 0, checkSilentLamps},
    // `halfMinuteJobs`
    {"no-match clearing", 30, 0, clearNoMatchList},
    {"range", 30, 0, setRangeByRule},
    {"reader failure", 30, 0, endAfterReaderFailure},
    {"minutes to renewal", 60, 0, showMinutesToRenewal},
    {"no-match report", renewalSeconds, 0, writeNoMatchReport},
    {"ask for renewal", renewalSeconds, 0, askForRenewal},
    {"day's end", daySeconds, 0, endDay},
};

bool isDue(const Job& job, std::int32_t second) {
    return second % job.period == 0 && (job.except == 0 || second % job.except != 0);
}

} // namespace

bool runJobs(void (*call)(const Job&)) {
    for (const Job& job : jobs)
        if (job.period == 1)
            call(job);
    if (stopWanted())
        return false;
    const std::int32_t second = secondCounter;
    for (const Job& job : jobs)
        if (job.period != 1 && isDue(job, second))
            call(job);
    return true;
}

void updateCounters() {
    std::int32_t live = 0;
    std::int32_t parked = 0;
    for (const LiveAircraft& a : liveAircraft) {
        if (a.st != AircraftStatus::active)
            continue;
        ++live;
        if (a.fs == FlightState::parked)
            ++parked;
    }
    readouts.live = live;
    readouts.parkedLive = parked;
    readouts.parkedStatic = static_cast<std::int32_t>(parkedAircraft.size());
    repaint();
}

void rereadStep() {
    if (!windowRequests.reRead || placingGoesOn())
        return;
    std::string message;
    reReadParkAirports(true, message);
    if (!message.empty())
        showStatus(message, false);
    enableControl(par::reRead, true);
    enableControl(par::DESTINATION, true);
    windowRequests.reRead = false;
}

void resetJobs() {
    renewalBetweenPasses = false;
}

} // namespace kes
