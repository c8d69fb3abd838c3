// SPDX-License-Identifier: MIT
#include "tools/replay/replay.h"

#include "airports/airport_table.h"
#include "airports/stands.h"
#include "core/clock.h"
#include "core/folders.h"
#include "core/log.h"
#include "core/parameters.h"
#include "core/random.h"
#include "core/run_state.h"
#include "feed/qnh_reader.h"
#include "liveries/scan.h"
#include "liveries/store.h"
#include "reference/reference.h"
#include "reference/reference_document.h"
#include "tools/replay/replay_airport.h"
#include "tools/replay/replay_feed.h"
#include "tools/replay/stage.h"
#include "traffic/flight_plans.h"
#include "traffic/tick_check.h"
#include "world/content/content.h"
#include "world/replay/virtual_flight.h"
#include "world/simulator/inproc.h"

#include <algorithm>
#include <cmath>
#include <fmt/format.h>
#include <fstream>
#include <stdexcept>

namespace kes::replay {

namespace {

constexpr double airfieldsWithinNm = 60.0;
constexpr double aboveAirport = 5000.0, aboveGround = 5000.0, amongAirTraffic = 20000.0; ///< feet
constexpr std::int32_t checkEvery = 10, progressEvery = 1000;
constexpr std::int32_t longestTicks = 24 * 60 * ticksPerMinute;

bool anyReportNear(const std::string& file, LatLon place) {
    source::Recording recording;
    std::string problem;
    if (!recording.open(file, problem))
        return true; // whoever reads it next tells
    while (const auto line = recording.next()) {
        const auto report = source::placeOfLine(line->text);
        if (report && distanceNm(report->at, place) <= defaultRangeNm)
            return true;
    }
    return false;
}

/// A slip in the place would show as nothing but an empty replay.
void checkTrafficAround(const Options& o, const ReplayFeed& feed, LatLon place) {
    if (feed.scenario() != nullptr || anyReportNear(o.feed, place))
        return;
    std::string text = fmt::format("no report within {} nm of {}", defaultRangeNm,
                                   o.at ? fmt::format("{:.4f},{:.4f}", place.lat, place.lon) : o.airport);
    if (const auto middle = feed.middle()) {
        if (const auto nearest = nearestAirport({middle->lat, middle->lon}, airfieldsWithinNm))
            text += fmt::format(", did you mean {}?", nearest->code);
    }
    throw std::runtime_error(text);
}

Viewpoint viewpointOf(const Options& o, const ReplayFeed& feed) {
    if (o.at) {
        checkTrafficAround(o, feed, o.at->at);
        return *o.at;
    }
    if (!o.airport.empty()) {
        const auto airport = findAirport(o.airport);
        if (!airport)
            throw std::runtime_error(fmt::format("airport {} is unknown", o.airport));
        checkTrafficAround(o, feed, {airport->lat, airport->lon});
        return {{airport->lat, airport->lon}, airport->alt + aboveAirport};
    }
    if (const TruthScenario* scenario = feed.scenario())
        return {scenario->user, scenario->userAlt};
    const auto middle = feed.middle();
    if (!middle)
        throw std::runtime_error(fmt::format("{} tells no position", o.feed));
    return {{middle->lat, middle->lon}, middle->onGround ? aboveGround : amongAirTraffic};
}

world::SimulatorOptions simulatorFor(const Viewpoint& view) {
    world::SimulatorOptions o;
    o.lat = view.at.lat;
    o.lon = view.at.lon;
    o.altFeet = view.altFeet;
    o.terrain.hillFeet = 0;
    for (const AirportEntry& a : airportTable) {
        if (std::fabs(a.lat - view.at.lat) < 1.0 && distanceNm({a.lat, a.lon}, view.at) < airfieldsWithinNm)
            o.terrain.airfields.push_back({a.lat, a.lon, a.alt});
    }
    return o;
}

/// The scenario's world in place of the real one.
void placeScenarioAirport(const TruthScenario& s) {
    airportTable.clear();
    airportTable.push_back({s.airportCode, "", s.airport.lat, s.airport.lon, s.elevation});
}

void placeScenarioStands(const TruthScenario& s) {
    currentQnh = static_cast<std::int32_t>(s.qnh);
    for (const ScenarioFlight& f : s.flights) {
        if (!f.stand)
            continue;
        Stand stand;
        stand.id = f.stand->id;
        stand.lat = f.stand->lat;
        stand.lon = f.stand->lon;
        stand.heading = f.stand->heading;
        stand.radius = f.stand->radius;
        stand.sid = static_cast<std::uint32_t>(stands.size() + 1);
        stands.push_back(stand);
    }
}

/// What the program's log says of things that must not happen.
void addLoggedFaults(std::vector<std::string>& faults) {
    static constexpr std::string_view signs[] = {"! tick check", "updateLiveAc: ", "exception"};
    std::vector<char> found(std::size(signs), 0);
    std::ifstream file("Log.txt", std::ios::binary);
    for (std::string line; std::getline(file, line);) {
        for (std::size_t i = 0; i < std::size(signs); ++i) {
            if (!found[i] && line.find(signs[i]) != std::string::npos) {
                found[i] = 1;
                faults.push_back(line);
            }
        }
    }
}

void noteFault(std::vector<std::string>& faults, const std::string& fault) {
    const std::string_view kind = std::string_view(fault).substr(0, fault.find(':'));
    if (!fault.empty() && std::ranges::none_of(faults, [&](const std::string& f) { return f.starts_with(kind); }))
        faults.push_back(fault);
}

std::int32_t lengthOf(const Options& o, const ReplayFeed& feed) {
    if (o.minutes > 0.0)
        return static_cast<std::int32_t>(
            std::min(std::lround(o.minutes * ticksPerMinute), static_cast<long>(longestTicks)));
    return std::min(feed.lastTick() + showDelayTicks, longestTicks);
}

/// Ends the virtual flight whatever happens.
struct Flight {
    explicit Flight(const world::SimulatorOptions& options) { world::startVirtualFlight(options); }
    ~Flight() {
        world::endVirtualFlight();
        setWallClockMs(-1);
    }
    Flight(const Flight&) = delete;
    Flight& operator=(const Flight&) = delete;
};

void fly(const Options& o, ReplayFeed& feed, Stage& stage, std::int32_t length,
         const std::function<void(double)>& progress) {
    Result& result = stage.result();
    ParkingJudge parking;
    const std::int32_t base = tickCount;
    for (std::int32_t tick = 0; tick < length; ++tick) {
        setWallClockMs(feed.epochMs() + static_cast<std::int64_t>(tick) * 10);
        while (const FeedLine* line = feed.due(tick)) {
            const std::size_t before = stage.reportsQueued();
            world::virtualDatagram(line->text);
            if (stage.reportsQueued() != before) {
                result.overspeed.takeNewestReport(base);
                stage.takeNewestReport(base);
                parking.takeNewestReport(base);
            }
            ++result.lines;
            feed.pop();
        }
        if (!world::virtualTick())
            throw std::runtime_error("the program ended the flight by itself, see program/Log.txt");
        stage.look(tick + 1);
        result.overspeed.lookAtAll(tick + 1);
        parking.look(tick + 1);
        if (tick % checkEvery == 0)
            noteFault(result.faults, checkLiveTables());
        if (tick % progressEvery == 0)
            progress(static_cast<double>(tick) / length);
    }
    if (!o.quiet)
        progress(1.0);
    result.ticks = length;
    result.parking = parking.finish();
    noteFault(result.faults, result.parking.tableFault);
    for (const std::string& clash : result.parking.clashes)
        noteFault(result.faults, clash);
}

/// What the map shows beside the aircraft.
void describePlace(MapPage& map, const Viewpoint& view, const ReplayFeed& feed) {
    map.userLat = view.at.lat;
    map.userLon = view.at.lon;
    map.epoch = static_cast<double>(feed.epochMs()) / 1000.0;
    for (const Stand& stand : stands)
        map.stands.push_back({stand.id, stand.lat, stand.lon, stand.radius * metresPerNm, stand.heading * radToDeg});
}

/// The worst moment of each measure of ours, in the order of the measures.
void findWorst(Result& result) {
    for (std::size_t m = 0; m < metricCount; ++m) {
        const auto metric = static_cast<Metric>(m);
        const Series* worst = nullptr;
        Phase of{};
        for (std::size_t p = 0; p < phaseCount; ++p) {
            const Series& s = result.boards[0]->of(metric, static_cast<Phase>(p));
            if (s.count() > 0 && s.maximum() > 0.0 && (worst == nullptr || s.maximum() > worst->maximum())) {
                worst = &s;
                of = static_cast<Phase>(p);
            }
        }
        if (worst != nullptr)
            result.map.worst.push_back({worst->worst().aircraft, secondsOf(worst->worst().tick),
                                        fmt::format("{} {:.4g} {} ({})", nameOf(metric).key, worst->maximum(),
                                                    nameOf(metric).unit, text(of))});
    }
}

void fillProgramFolder(const Options& o, const std::filesystem::path& folder) {
    world::makeContent({o.data, folder, folder / "sim" / "Community", folder / "appdata", true});
    setParameterDefaults();
    par::MSFS_INSTALL_PATH.set((folder / "sim").string());
    createFolders();
    resetLiveries();
    resetAirportTable();
    if (!readDataBase() || !readAirportTable())
        throw std::runtime_error(fmt::format("the reference content of {} cannot be read", o.data.string()));
    scanLiveries();
}

} // namespace

Result replayInPlace(const Options& o, const std::function<void(double)>& progress) {
    ReplayFeed feed(o.feed, o.seed, o.burst);
    if (const TruthScenario* scenario = feed.scenario())
        placeScenarioAirport(*scenario);
    setRandomSeed(o.seed);
    setWallClockMs(feed.epochMs());
    const Viewpoint view = viewpointOf(o, feed);
    const world::SimulatorOptions simulator = simulatorFor(view);
    const std::string parkAirport = chooseParkAirport(serveStands(o.stands, "updates"), view.at);
    tickCount = 0; // much goes by every n-th tick
    const Flight flight(simulator);
    prepareFlightPlanFolders();
    if (const TruthScenario* scenario = feed.scenario())
        placeScenarioStands(*scenario);
    Stage stage(o, feed, simulator.terrain);
    fly(o, feed, stage, lengthOf(o, feed), progress);
    Result result = stage.finish();
    describePlace(result.map, view, feed);
    for (const pack::AptRunway& r : runwaysOf(o.stands, parkAirport))
        result.map.runways.push_back({r.name, r.width, r.first, r.second});
    findWorst(result);
    const world::Counters counters = world::inprocCounters();
    result.objects = counters.objectsCreated;
    if (!counters.exceptions.empty())
        result.faults.push_back("the simulator refused a request");
    gf_removeFlightPlanFolder();
    return result;
}

Result runReplay(const Options& options, const std::function<void(double)>& progress) {
    Options o = options;
    if (std::filesystem::exists(o.feed))
        o.feed = std::filesystem::absolute(o.feed).string();
    o.data = std::filesystem::absolute(o.data);
    if (!o.stands.empty())
        o.stands = std::filesystem::absolute(o.stands);
    o.out = std::filesystem::absolute(o.out);
    const std::filesystem::path program = o.out / "program";
    struct WayBack { // also when the flight cannot begin
        std::filesystem::path before = std::filesystem::current_path();
        ~WayBack() {
            std::error_code ignored;
            closeLog();
            std::filesystem::current_path(before, ignored);
        }
    } wayBack;
    std::filesystem::create_directories(program / "appdata" / "Kestrelune");
    std::filesystem::current_path(program);
    setUserDataFolder(program / "appdata" / "Kestrelune");
    openLog("Log.txt");
    fillProgramFolder(o, program);
    Result result = replayInPlace(o, progress);
    closeLog();
    addLoggedFaults(result.faults);
    result.feed = options.feed;
    return result;
}

} // namespace kes::replay
