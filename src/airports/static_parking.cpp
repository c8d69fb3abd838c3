// SPDX-License-Identifier: MIT
#include "airports/static_parking.h"

#include "airports/airport_errand.h"
#include "airports/airport_file.h"
#include "airports/airport_ref.h"
#include "airports/airport_table.h"
#include "airports/live_parking.h"
#include "airports/object_removal.h"
#include "airports/park_airports.h"
#include "airports/reserved_stand.h"
#include "airports/stand_learning.h"
#include "airports/stands.h"
#include "core/change.h"
#include "core/hh_now.h"
#include "core/log.h"
#include "core/parameters.h"
#include "core/text.h"
#include "core/user_aircraft.h"
#include "core/window.h"
#include "feed/traffic_reader.h"

#include <algorithm>
#include <cmath>
#include <fmt/format.h>
#include <optional>
#include <string>
#include <utility>

namespace kes {

namespace {

constexpr std::int32_t goodQuality = 45; ///< guesses would only make such a list worse ...
constexpr std::size_t manyStands = 20;   ///< ... when it is not a small one
constexpr int startWaitMs = 3000;        ///< for a server, before the flight is shown

bool loadAtNextTick = false;
std::optional<std::int32_t> maxLiveBefore; ///< MAX_LIVE as it was without the airport's settings

bool inReach(double distance) {
    return distance <= par::AIRPORT_RANGE && userAircraft.agl <= par::AIRPORT_HEIGHT;
}

/// The mean of what the options of the static aircraft lie back.
void showAverageFit() {
    std::int64_t sum = 0;
    std::int64_t count = 0;
    for (const AiAircraft& a : parkedAircraft) {
        if (a.st == AircraftStatus::removingfromsim)
            continue;
        sum += halfHoursSince(a.parkedAt, hhNow());
        ++count;
    }
    const double mean = count == 0 ? -1.0 : static_cast<double>(sum) * 0.5 / static_cast<double>(count);
    readouts.averageFit = static_cast<float>(mean);
    repaint();
}

void endFinishedPlacing() {
    if (!placingGoesOn() || loadAtNextTick || staticAircraftWait())
        return;
    endPlacing();
    clearStatus();
    showAverageFit();
}

// The load

void chooseSoftLearning() {
    learningAllowed = qualityPair.real < goodQuality || stands.size() < manyStands;
    if (!learningAllowed && par::LEARN_SOFT) {
        changeForNow(par::LEARN_SOFT, false);
        saveParamChanged = true;
    }
    enableControl(par::LEARN_SOFT, learningAllowed);
}

/// Empty on success, else what the user is to be told.
std::string lf_readParkedFile(const AirportBase& base) {
    constexpr const char* name = "lf_readParkedFile";
    stands.clear();
    forgetNearestStand();
    const std::string code = airportRef->code;
    if (base.source.empty())
        return fmt::format("{} {} not found", name, code);
    if (base.source.find("unknown") != std::string::npos)
        return fmt::format("{} {} has publisher:{}, {}", name, code, "unknown", base.source);
    if (!base.problem.empty())
        return base.problem;
    parkAirportFile = {};
    maxLiveBefore = par::MAX_LIVE;
    std::string problem = gf_readApf(base.source, parkAirportFile, qualityPair, stands);
    if (!problem.empty())
        return problem;
    changeForNow(par::MAX_FIT_FL, static_cast<float>(maxFitHours())); // the airport has its own
    chooseSoftLearning();
    reserveAtLoad();
    saveUpdates = 0;
    readouts.updates = 0;
    readouts.parkingActive = true;
    setReadout(Readout::parkAirport, parkAirportFile.airport_name);
    repaint();
    return {};
}

void firstFill() {
    logTimeLine();
    showStatus("Making changes to airport parking parameters is disabled while static parking takes place ...", false);
    readouts.averageFit = -1.0F;
    clearPlan();
    liveCallsigns = trafficReader.takeCallsigns();
    markReserved();
    setWanted();
    if (wantedParked > static_cast<std::int32_t>(toPark.size()))
        runPasses(0);
    sortByFit(false);
    if (toPark.size() > static_cast<std::size_t>(std::max(wantedParked, 0)))
        toPark.resize(static_cast<std::size_t>(std::max(wantedParked, 0)));
    if (toPark.empty()) {
        log("no parking positions found");
        endPlacing();
        return;
    }
    const auto count = static_cast<double>(toPark.size());
    log(fmt::format("{} positions ({}% vs wanted {}%, with Max fit={} hours)\n", toPark.size(),
                    std::lround(count * 100.0 / static_cast<double>(stands.size())),
                    static_cast<std::int32_t>(par::parking_percentage), shortest(maxFitHours())));
    sortByFit(true);
    allowWaiting();
}

void loadParkAirport() {
    const std::optional<AirportBase> base = airportBase(airportRef->code);
    if (!base)
        return; // the file is on its way
    clearStatus();
    loadAtNextTick = false;
    const std::string problem = lf_readParkedFile(*base);
    if (problem.empty()) {
        enableControl(par::flushStatic, true);
        firstFill();
    } else {
        trafficReader.takeCallsigns(); // nobody needs them
        showStatus(problem, true);
        releaseParkAirport();
    }
    enableParkControls(!staticAircraftWait());
}

// In sight

bool makeParkAirport(const std::string& code) {
    const std::optional<AirportEntry> row = findAirport(code);
    if (!row)
        return false;
    setAirportRef(AirportRef{row->code, row->iata, row->lat, row->lon, row->alt});
    log(fmt::format("The park airport is {}{}", code, row->iata.empty() ? "" : fmt::format(" ({})", row->iata)));
    return true;
}

void prepareLoad(bool tellUser) {
    loadAtNextTick = true;
    startPlacing();
    trafficReader.clearCallsigns();
    trafficReader.setCollectCallsigns();
    askForBase(airportRef->code);
    if (tellUser)
        showStatus("Calculating static parked aircraft ...", false);
}

void lookAroundOnGround(bool first) {
    const std::optional<AirportHere> here = airportAt(userAircraft.position(), first ? startWaitMs : 0);
    if (!here)
        return;
    if (!here->airport) {
        showStatus("User aircraft on the ground, no airport in sight", false);
        return;
    }
    const std::string text = fmt::format("User aircraft on the ground at {}", here->airport->code);
    if (!here->hasFile) {
        showStatus(text + ", no airport file found", false);
        return;
    }
    log(text);
    if (makeParkAirport(here->airport->code))
        prepareLoad(first);
}

void lookForNextInAir() {
    enableParkControls(true);
    if (parkAirportList.empty() || !inReach(parkAirportList.front().distance))
        return;
    const ParkAirportEntry next = parkAirportList.front();
    if (!makeParkAirport(next.code))
        return;
    showStatus(fmt::format("{} in sight at {:.1F} nm", next.code, next.distance), false);
    prepareLoad(false);
}

// Out of sight

void lookForEndInAir() {
    if (!airportLoaded)
        return; // set by others, for a flight without airport files
    const double distance = distanceNm(userAircraft.position(), airportRef->position());
    const std::string code = airportRef->code;
    if (!inReach(distance)) {
        log(fmt::format("\n{} {} is out of sight ({:.1F} nm), parked aircraft will be removed", timeStamp(), code,
                        distance));
        unloadParkAirport();
        return;
    }
    if (parkAirportList.empty())
        return;
    const ParkAirportEntry& first = parkAirportList.front();
    if (first.code == code || !inReach(first.distance) || first.distance > distance)
        return;
    log(fmt::format("\n{} {} is in sight ({:.1F} nm), parked aircraft at {} will be removed first", timeStamp(),
                    first.code, first.distance, code));
    unloadParkAirport();
}

// The end

void removeStatic() {
    for (AiAircraft& a : parkedAircraft) {
        if (a.st != AircraftStatus::removingfromsim)
            removeAircraftFromSim(a);
        // Until the simulator has answered the record stays, but the number is soon that of another airport's stand.
        a.sid = 0;
    }
    sweepParked();
}

void restoreMaxLive() {
    const std::optional<std::int32_t> before = std::exchange(maxLiveBefore, std::nullopt);
    if (!before || par::MAX_LIVE == *before)
        return;
    change(par::MAX_LIVE, *before);
    windowRequests.maxLive = true;
}

} // namespace

void parkingTick(bool first) {
    sweepParked();
    endFinishedPlacing();
    loadAtNextTick = loadAtNextTick && airportRef;
    if (loadAtNextTick) {
        loadParkAirport();
        return;
    }
    if (!userAircraft.known())
        return;
    refreshDistances(userAircraft.position());
    if (airportRef) {
        if (!userOnGround)
            lookForEndInAir();
    } else if (userOnGround) {
        lookAroundOnGround(first);
    } else {
        lookForNextInAir();
    }
}

void unloadParkAirport() {
    toPark.clear();
    removeStatic();
    if (liveParkingHooks.leaveAirport != nullptr)
        liveParkingHooks.leaveAirport();
    releaseParkAirport();
}

void saveParkState() {
    if (airportLoaded && (saveParamChanged || saveUpdates >= 1))
        saveLearnedFile();
}

void releaseParkAirport() {
    saveParkState();
    forgetAirportFile();
    saveUpdates = 0;
    clearPlan();
    wantedParked = 0;
    loadAtNextTick = false;
    forgetReserved();
    setAirportRef(std::nullopt);
    destinationFirst();
    readouts.parkingActive = false;
    readouts.updates = 0;
    readouts.maxPark = readouts.maxParkPercent = -1;
    readouts.averageFit = -1.0F;
    setReadout(Readout::parkAirport, {});
    enableParkControls(false);
    enableControl(par::flushStatic, false);
    repaint();
    restoreMaxLive();
}

bool parkAirportLoaded() {
    return airportLoaded;
}

void prepareParkState() {
    loadAtNextTick = false;
    maxLiveBefore.reset();
    resetPlan();
    enableControl(par::flushStatic, false);
}

void resetParking() {
    endErrands();
    stands.clear();
    forgetAirportFile();
    parkedAircraft.clear();
    loadAtNextTick = false;
    maxLiveBefore.reset();
    resetPlan();
    resetStandLearning();
    forgetReserved();
    resetParkAirports();
    if (placingGoesOn())
        endPlacing();
    setAirportRef(std::nullopt);
}

} // namespace kes
