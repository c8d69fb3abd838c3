// SPDX-License-Identifier: MIT
#include "spine/run_traffic.h"

#include "airports/learned_file.h"
#include "airports/static_parking.h"
#include "airports/user_stand.h"
#include "core/codes.h"
#include "core/log.h"
#include "core/parameters.h"
#include "core/run_state.h"
#include "core/text.h"
#include "core/user_aircraft.h"
#include "core/window.h"
#include "feed/control_link.h"
#include "feed/qnh_reader.h"
#include "feed/report_queue.h"
#include "feed/traffic_reader.h"
#include "feed/udp_reader.h"
#include "liveries/store.h"
#include "sim/ai_commands.h"
#include "sim/orders.h"
#include "sim/sim_client.h"
#include "simconnect/config.h"
#include "spine/control_rules.h"
#include "spine/main_tick.h"
#include "spine/waits.h"
#include "traffic/motion.h"
#include "traffic/parking.h"
#include "traffic/removal.h"
#include "traffic/replies.h"

#include <algorithm>
#include <fmt/format.h>

namespace kes {

FeedPorts feedPorts{trafficPort, weatherPort};

namespace {

constexpr std::int32_t onlyRemovals = 10; ///< a tick in which no creation is due

/// The worker stands in the wait for RealTraffic, but what is to leave the simulator still leaves it: about every
/// 100 ms, the time of ten ticks, objects under way are followed and one is removed. The user's stand stays shown.
void workWhileWaiting() {
    applyControlChanges();
    followUserStand();
    for (int tick = 0; tick < 10; ++tick)
        applySimReplies();
    flushOutbox();
    moveOne(onlyRemovals);
}

/// The airlines whose paint can be shown.
std::size_t paintedAirlines() {
    return static_cast<std::size_t>(std::ranges::count_if(liveryTables().liveryStore, [](const auto& entry) {
        return entry.first != genericAirline && entry.first != privateAirline;
    }));
}

/// What the next half minute brings, since nothing is shown until reports have been waited for.
void tellReady() {
    std::string places;
    if (const auto config = simconnect::loadConfig(0))
        places = fmt::format("Simulator at {}:{}, ", config->address, config->port);
    if (rtOnThisPc && !par::AEROWINX)
        places += fmt::format("RealTraffic at port {}, ", controlLinkPort());
    places += fmt::format("reports at UDP port {}, weather at {}.", feedPorts.traffic, feedPorts.weather);
    const bool fed = trafficReader.timestamp != 0.0;
    if (!fed)
        places += " Does RealTraffic show aircraft around you, and does it send to these ports of this PC?";
    const std::size_t airlines = paintedAirlines();
    if (airlines == 0)
        places += " All liveries are generic, so that no aircraft shows its airline: install packages with airlines' "
                  "liveries, and scan for them.";
    showStatus(fmt::format("Ready with {} liveries of {} airline{}, {}", liveryCount(), airlines,
                           plural(static_cast<std::int64_t>(airlines)),
                           fed ? fmt::format("the first aircraft come in about {} s", showDelayTicks / 100)
                               : std::string("but no report has come so far")),
               true, places);
    if (par::LOG)
        logIndented("=N= behind an aircraft tells what found its livery: 1 registration, 2 airline and type, 3 airline "
                    "and similar type, 4 generic of the type, 5 the type under any airline, 6 a similar type");
}

bool waitForPosition(std::int32_t pauseMs) {
    while (!userAircraft.known()) {
        userAircraft = readUserPosition();
        if (!runSleep(pauseMs))
            return false;
    }
    return true;
}

void waitForFirstTraffic() {
    for (int i = 0; i < 150; ++i) {
        if (trafficReader.timestamp != 0.0 || !runSleep(100))
            return;
    }
    log("No traffic in this region?");
}

} // namespace

void wireFloors() {
    controlLinkHooks.clientGone = removeAllLiveForLostSource;
    controlLinkHooks.whileWaiting = workWhileWaiting;
    liveParkingHooks = hooksOfLiveParking();
    learnedFileHooks.autoRangeSwitched = switchAutoRange;
}

bool waitForSim() {
    while (!simRunning || simRequestFailed) {
        if (!runSleep(100))
            return false;
    }
    requestOnGroundBeat();
    userAircraft = readUserPosition();
    while (!(firstReplySeen && userAircraft.known())) {
        if (!runSleep(500))
            return false;
        userAircraft = readUserPosition();
    }
    requestUserRecognition();
    if (!waitForPosition(200))
        return false;
    return !stopWanted();
}

void runTraffic() {
    readouts.rtLight = false;
    readouts.simLight = false;
    repaint();
    wireFloors();
    prepareParkState();
    reserveLiveryTables();
    prepareSimQueues();
    startSimClient();
    if (!waitForSim())
        return;
    if (rtOnThisPc && !par::AEROWINX)
        startServer(par::PORT_NUMBER.get());
    else
        readouts.rtLight = true;
    if (stopWanted())
        return;
    readouts.waiting = false;
    repaint();
    if (par::AEROWINX) {
        rtProfEdition = false;
    } else {
        waitForRealTraffic();
        if (rtProfEdition)
            sendQs123(simEpoch);
    }
    if (stopWanted())
        return;
    reportQueue.setAccepting(false);
    startQnhReader(feedPorts.weather);
    runSleep(2000);
    startTrafficReader(feedPorts.traffic);
    userAircraft = readUserPosition();
    sendQs121(userAircraft);
    trafficReader.setUserPosition(userAircraft.lat, userAircraft.lon);
    if (readerFailed) {
        showError("Reader error", readerFailureAdvice());
        requestExit(ExitReason::systemError, 0);
    }
    waitForFirstTraffic();
    computeHhNow();
    tellReady();
    mainLoop();
}

} // namespace kes
