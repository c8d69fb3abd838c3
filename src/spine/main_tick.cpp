// SPDX-License-Identifier: MIT
#include "spine/main_tick.h"

#include "airports/park_airports.h"
#include "airports/static_parking.h"
#include "airports/user_stand.h"
#include "core/change.h"
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
#include "platform/system.h"
#include "sim/ai_commands.h"
#include "sim/orders.h"
#include "sim/sim_client.h"
#include "spine/control_rules.h"
#include "spine/job_table.h"
#include "traffic/live_table.h"
#include "traffic/motion.h"
#include "traffic/replies.h"
#include "traffic/spawn.h"
#include "traffic/stream.h"
#include "traffic/update.h"

#include <chrono>
#include <cmath>
#include <fmt/format.h>
#include <thread>

namespace kes {

namespace {

using SteadyClock = std::chrono::steady_clock;

constexpr auto tickLength = std::chrono::milliseconds(10);
constexpr int idlePeriodTicks = 100;
/// A running flight ends its run on the simulator's beat; without a beat for this long the loop ends by itself.
constexpr int ticksWithoutBeat = 150;

int idleCountdown = 0;
int ticksSinceStopWanted = 0;

void moveOrders(std::int32_t tick) {
    const Moved moved = moveOne(tick);
    if (moved.createdLive != 0)
        noteAsked(moved.createdLive, tick);
    if (moved.staticTurn && staticAircraftWait())
        createNextStatic();
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
    if (range != par::LATERAL_RANGE)
        changeForNow(par::LATERAL_RANGE, range);
    setRange(static_cast<float>(range));
}

bool mainTick() {
    applyControlChanges();
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
    return runJobs();
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
    resetJobs();
}

} // namespace kes
