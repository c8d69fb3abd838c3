#include "airports/park_airports.h"
#include "airports/static_parking.h"
#include "airports/user_stand.h"
#include "core/clock.h"
#include "core/hh_now.h"
#include "core/log.h"
#include "core/parameters.h"
#include "core/run_state.h"
#include "core/user_aircraft.h"
#include "core/window.h"
#include "feed/control_link.h"
#include "feed/qnh_reader.h"
#include "feed/report_queue.h"
#include "feed/traffic_reader.h"
#include "liveries/matching.h"
#include "platform/system.h"
#include "sim/ai_commands.h"
#include "sim/orders.h"
#include "sim/sim_client.h"
#include "spine/main_tick.h"
#include "traffic/conflicts.h"
#include "traffic/filters.h"
#include "traffic/live_table.h"
#include "traffic/motion.h"
#include "traffic/no_match.h"
#include "traffic/replies.h"
#include "traffic/spawn.h"
#include "traffic/stream.h"
#include "traffic/title_table.h"
#include "traffic/update.h"
#include "traffic/user_conflicts.h"

#include <chrono>
#include <cmath>
#include <fmt/format.h>
#include <thread>

namespace kes {

namespace {

using SteadyClock = std::chrono::steady_clock;

constexpr auto tickLength = std::chrono::milliseconds(10);
constexpr int idlePeriodTicks = 100;
constexpr int renewalSeconds = 1200;
constexpr int daySeconds = 86400;
/// A running flight ends its run on the simulator's beat; without a beat for this long the loop ends by itself.
constexpr int ticksWithoutBeat = 150;

int idleCountdown = 0;
int ticksSinceStopWanted = 0;
bool renewalBetweenPasses = false;

void handOverUserPosition() {
    trafficReader.setUserPosition(userAircraft.lat, userAircraft.lon);
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

void moveOrders(std::int32_t tick) {
    const Moved moved = moveOne(tick);
    if (moved.createdLive != 0)
        noteAsked(moved.createdLive, tick);
    if (moved.staticTurn && staticAircraftWait())
        createNextStatic();
}

void replaceNextLanded() {
    if (landingList.empty())
        return;
    if (LiveAircraft* aircraft = findLive(landingList.front()))
        replaceParked(*aircraft);
}

void secondJobs() {
    if (flightStopped) {
        flightStopped = false;
        log(fmt::format("{} Flight resumed", timeStamp()));
        reportQueue.setAccepting(true);
    }
    ageStatus();
    updateCounters();
    computeHhNow();
    ++secondCounter;
    replaceNextLanded();
    if (windowRequests.findCallsign.exchange(false))
        findCallsign(par::CALLSIGN_2_OBJECTID.get());
    if (windowRequests.flushStatic.exchange(false)) {
        unloadParkAirport();
        if (!par::INITIAL_LOAD_ONLY) {
            par::INITIAL_LOAD_ONLY.value = true;
            setCheck(par::INITIAL_LOAD_ONLY, true);
        }
    }
    checkUserCollisions();
    checkParkedCollisions();
    if (windowRequests.blockNow)
        applyBlocking(); // clears the request
    if (windowRequests.maxLive)
        takeNewMaxLive(); // likewise
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

/// Takes two passes, 15 seconds apart, so that the traffic reader can collect the callsigns on the air meanwhile.
void renewalPass() {
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
    const std::set<std::string> callsigns = trafficReader.takeCallsigns();
    if (parkAirportLoaded() && !parkedAircraft.empty())
        renewParking(callsigns);
    windowRequests.parkAdjust = false;
}

void halfMinuteJobs() {
    if (windowRequests.clearNoMatch.exchange(false))
        noMatchList.clear();
    if (par::AUTO_RANGE)
        rangeRule();
    if (readerFailed) {
        showError("1001: RT error");
        requestExit(ExitReason::systemError, 0);
    }
    if (secondCounter % 60 != 0)
        return;
    readouts.minutesToRenewal = (renewalSeconds - secondCounter % renewalSeconds) / 60;
    repaint();
    if (secondCounter % renewalSeconds == 0) {
        writeNoMatchReport();
        if (staticParkingActive() && !par::INITIAL_LOAD_ONLY && !windowRequests.parkAdjust)
            windowRequests.parkAdjust = true;
    }
    if (secondCounter % daySeconds == 0) {
        secondCounter = 0;
        writeMatchingSummary();
        clearTitleTable();
    }
}

void quarterMinuteJobs() {
    handOverUserPosition();
    if (rtProfEdition)
        sendQs123(simEpoch);
    if (userStandReserved())
        userStandStep();
    rereadStep();
    if (windowRequests.parkAdjust)
        renewalPass();
    if (readouts.weatherLamp == Lamp::silent || readouts.trafficLamp == Lamp::silent)
        readerLampCheck();
    if (secondCounter % 30 == 0)
        halfMinuteJobs();
}

void oddSecondJobs() {
    const std::int32_t s = secondCounter;
    if (s % 16 == 0 && !renewalBetweenPasses)
        parkingTick(false);
    if (s % 59 == 0)
        readerLampCheck();
    if (s % 61 == 0 && !parkedAircraft.empty() && !liveAircraft.empty())
        removeParkedTwins();
    if (s % 62 == 0 && par::CALLSIGN_OBJECTIDS && par::MSFS_2020)
        writeCallsignList();
}

void idleTick() {
    if (!flightStopped) {
        reportQueue.setAccepting(false);
        flightStopped = true;
        idleCountdown = idlePeriodTicks;
        clearPositionBuffers();
        log(fmt::format("{} Flight not running", timeStamp()));
    }
    applySimReplies();
    flushOutbox();
    --idleCountdown;
    if (idleCountdown % idlePeriodTicks == 0) {
        rereadStep();
        sendQs121(userAircraft);
    }
    if (idleCountdown < 1) {
        idleCountdown = idlePeriodTicks;
        updateCounters();
        computeHhNow();
    }
}

void checkLamp(UdpReader& reader, std::atomic<Lamp>& lamp) {
    const std::uint32_t count = reader.datagramCount;
    if (count == reader.lastSeenCount) {
        lamp = Lamp::silent;
        reader.lampShowsData = false;
        repaint();
    } else if (!reader.lampShowsData) {
        reader.lampShowsData = true;
        lamp = Lamp::receiving;
        repaint();
    }
    reader.lastSeenCount = count;
}

/// Sleeps to a point in time in whole milliseconds, rounded up, at most a day at once.
void sleepUntil(SteadyClock::time_point until) {
    for (;;) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(until - SteadyClock::now());
        if (left < std::chrono::milliseconds(1))
            return;
        std::this_thread::sleep_for(std::min<std::chrono::milliseconds>(left, std::chrono::hours(24)));
    }
}

} // namespace

void runningTickBody() {
    const std::int32_t tick = tickCount;
    applySimReplies();
    updateLiveAircraft();
    publishPositions();
    moveOrders(tick);
    takeReports();
    spawnNext();
    if (tick % 20 == 0 && !simRequestFailed)
        requestRange();
    flushOutbox();
    if (tick % 100 == 0) {
        sendQs121(userAircraft);
        userAircraft = readUserPosition();
    }
    tickCount = tick + 1;
}

void computeHhNow() {
    const double traffic = trafficReader.timestamp;
    setHhNow(hhOf(rtProfEdition && traffic != 0.0 ? static_cast<std::int64_t>(traffic) : wallClock()));
}

void readerLampCheck() {
    if (!readouts.rtLight)
        return;
    checkLamp(qnhReader, readouts.weatherLamp);
    checkLamp(trafficReader, readouts.trafficLamp);
}

void rangeRule() {
    std::int32_t range = 40;
    if (userOnGround) {
        range = 10;
    } else if (userAircraft.agl > par::AUTO_RANGE_ABOVE_HEIGHT) {
        range = 100;
    } else if (userAircraft.agl > par::AIRPORT_HEIGHT) {
        range = 40;
    } else {
        const double x = nearestCandidateNm(userAircraft.position());
        if (x <= 7.0)
            range = 10;
        else if (x < 37.0)
            range = static_cast<std::int32_t>(std::lround(x)) + 3;
    }
    if (range != par::LATERAL_RANGE) {
        par::LATERAL_RANGE.value = range;
        setText(par::LATERAL_RANGE, std::to_string(range));
    }
    setRange(static_cast<float>(range));
}

bool mainTick() {
    followUserStand();
    if (!simRunning || simRequestFailed) {
        idleTick();
        return !stopWanted();
    }
    runningTickBody();
    bool due = true;
    if (!secondDue.compare_exchange_strong(due, false)) {
        // A simulator whose frames stall sends no beat; the user's close click must not wait for it.
        ticksSinceStopWanted = stopWanted() ? ticksSinceStopWanted + 1 : 0;
        return ticksSinceStopWanted < ticksWithoutBeat;
    }
    secondJobs();
    if (stopWanted())
        return false;
    if (secondCounter % 15 != 0)
        oddSecondJobs();
    else
        quarterMinuteJobs();
    return true;
}

void mainLoop() {
    parkingTick(true);
    readerLampCheck();
    secondCounter = 0;
    auto next = SteadyClock::now() + tickLength;
    computeHhNow();
    reportQueue.setAccepting(true);
    enableControl(par::CALLSIGN_2_OBJECTID, true);
    platform::beginFineTimer();
    struct GiveBack {
        ~GiveBack() { platform::endFineTimer(); }
    } giveBack;
    while (mainTick()) {
        if (next - SteadyClock::now() >= std::chrono::milliseconds(1))
            sleepUntil(next);
        // The schedule is absolute, so a slow tick is made good; once a second it is pulled back to the present.
        if (secondDue)
            next = SteadyClock::now();
        next += tickLength;
    }
}

void resetMainTick() {
    idleCountdown = 0;
    ticksSinceStopWanted = 0;
    renewalBetweenPasses = false;
}

} // namespace kes
