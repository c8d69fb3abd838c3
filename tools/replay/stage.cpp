// SPDX-License-Identifier: MIT
#include "tools/replay/stage.h"

#include "core/run_state.h"
#include "feed/report_queue.h"
#include "traffic/flare.h"
#include "traffic/live_table.h"
#include "traffic/push_back.h"
#include "world/simulator/inproc.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <stdexcept>

namespace kes::replay {

namespace {

constexpr std::size_t rowBuffer = 1 << 20;
constexpr std::int32_t everyForScenario = 10, everyForRecording = 100;
constexpr std::int32_t mapEvery = 100, sampleEvery = 10, wayEvery = 50;
constexpr double wayBehind = 90.0;      ///< seconds of a way that are kept behind what is shown
constexpr double nearGroundAgl = 500.0; ///< feet
constexpr double knotsPerMetreAndTick = ticksPerSecond * 3600.0 / metresPerNm;

Pose poseOf(const LiveAircraft& a) {
    return {a.lat, a.lon, a.alt, a.heading, a.pitch, a.bank, a.onGround};
}

/// Of the scenario, for what is shown at a tick.
double scenarioSeconds(std::int32_t tick) {
    return secondsOf(tick - showDelayTicks);
}

Truth truthAt(const ScenarioFlight& flight, std::int32_t tick) {
    return flight.truth(scenarioSeconds(tick));
}

bool stands(const Truth& t) {
    return !t.airborne && t.gs < 0.1;
}

/// In seconds of the replay at which it is to be shown.
void layTrueWay(Way& way, const ScenarioFlight& flight) {
    constexpr int pointsPerSecond = 4;
    const auto count = static_cast<int>(std::ceil((flight.end - flight.begin) * pointsPerSecond));
    for (int i = 0; i <= count; ++i) {
        const double seconds = std::min(flight.begin + static_cast<double>(i) / pointsPerSecond, flight.end);
        const Truth t = flight.truth(seconds);
        way.add(seconds + secondsOf(showDelayTicks), t.at, stands(t));
    }
}

Reference referenceOf(const Truth& t) {
    return {t.at, t.alt, t.track, t.gs, stands(t), !t.airborne && t.gs > 3.0};
}

bool inAir(Phase phase) {
    return phase == Phase::air || phase == Phase::approach || phase == Phase::flare || phase == Phase::takeOff;
}

} // namespace

Phase phaseOf(const LiveAircraft& a) {
    if (!a.onGround) {
        if (a.fs == FlightState::take_off)
            return Phase::takeOff;
        return a.flareStage > 0 ? Phase::flare : a.approach ? Phase::approach : Phase::air;
    }
    if (a.fs == FlightState::take_off)
        return Phase::takeOff;
    if (a.fs == FlightState::pushing_back)
        return Phase::pushBack;
    const bool stands = a.fs == FlightState::parked || a.fs == FlightState::pushed_back ||
                        (!a.stream.empty() && a.stream.front().stopped);
    if (stands)
        return Phase::parked;
    return a.landingRoll || a.derotating ? Phase::rollOut : a.departing ? Phase::takeOff : Phase::taxi;
}

Stage::Stage(const Options& options, const ReplayFeed& feed, const world::Terrain& terrain)
    : feed_(feed), terrain_(terrain), every_(options.every) {
    result_.feed = options.feed;
    result_.truthKnown = feed.scenario() != nullptr;
    if (every_ == 0)
        every_ = result_.truthKnown ? everyForScenario : everyForRecording;
    for (auto& board : result_.boards)
        board = std::make_unique<Board>();
    result_.map.title = std::filesystem::path(options.feed).filename().string();
    for (std::size_t p = 0; p < phaseCount; ++p)
        result_.map.phases.push_back(text(static_cast<Phase>(p)));
    const std::string file = (options.out / "motion.csv").string();
    csv_ = std::fopen(file.c_str(), "wb");
    if (csv_ == nullptr)
        throw std::runtime_error(fmt::format("{} cannot be written", file));
    fmt::format_to(std::back_inserter(rows_),
                   "seconds,hexid,callsign,model,phase,fs,status,lat,lon,alt_ft,pitch_deg,bank_deg,heading_deg,"
                   "vs_fps,tas_kn,agl_ft,on_ground,truth_lat,truth_lon,truth_alt_ft,truth_heading_deg,truth_gs_kn\n");
}

Stage::~Stage() {
    if (csv_ != nullptr)
        std::fclose(csv_);
}

std::size_t Stage::reportsQueued() const {
    return reportQueue.size() + reportQueue.dropped();
}

Stage::Seen& Stage::seenOf(std::uint32_t hexid) {
    auto [it, isNew] = byHexid_.try_emplace(hexid, nullptr);
    if (!isNew)
        return *it->second;
    Seen& seen = all_.emplace_back();
    it->second = &seen;
    seen.place = static_cast<std::uint32_t>(all_.size() - 1);
    if (const TruthScenario* scenario = feed_.scenario()) {
        const auto flight = std::ranges::find(scenario->flights, hexid, &ScenarioFlight::hexid);
        if (flight != scenario->flights.end()) {
            seen.flight = &*flight;
            layTrueWay(seen.way, *flight);
        }
    }
    result_.names.push_back(fmt::format("{:06X}", hexid));
    result_.flown.emplace_back();
    result_.map.aircraft.emplace_back().callsign = result_.names.back();
    return seen;
}

void Stage::takeNewestReport(std::int32_t base) {
    AircraftReport newest;
    reportQueue.copyNewest(newest);
    Seen& seen = seenOf(newest.hexid);
    const PositionSample& s = newest.sample;
    Report r;
    r.tick = s.tick - base;
    r.at = s.position();
    r.airborne = s.airborne;
    r.alt = s.airborne ? s.alt : world::terrainFeet(terrain_, s.lat, s.lon);
    r.gs = s.gs;
    r.vs = s.vs;
    r.track = s.track * degToRad;
    r.heading = s.trueHeadingValid ? s.trueHeading : r.track;
    r.bank = s.bankValid ? s.bank : 0.0;
    seen.baselines.add(r);
    if (seen.flight == nullptr) {
        seen.way.forgetBefore(secondsOf(r.tick - 2 * showDelayTicks) - wayBehind);
        seen.way.add(secondsOf(r.tick), r.at, seen.baselines.endsStanding());
    }
    MapAircraft& drawn = result_.map.aircraft[seen.place];
    if (drawn.model.empty())
        drawn.model = newest.model;
    if (!newest.callsign.empty())
        result_.names[seen.place] = drawn.callsign = newest.callsign;
    drawn.reports.push_back({secondsOf(r.tick), s.lat, s.lon, r.alt, s.gs,
                             s.trueHeadingValid ? s.trueHeading * radToDeg : s.track, s.airborne});
}

void Stage::look(std::int32_t tick) {
    slots_.resize(std::max(slots_.size(), liveAircraft.size()));
    std::size_t active = 0;
    for (std::size_t i = 0; i < liveAircraft.size(); ++i) {
        const LiveAircraft& a = liveAircraft[i];
        if (a.st != AircraftStatus::active || a.objectid == 0)
            continue;
        ++active;
        Slot& slot = slots_[i];
        if (slot.hexid != a.hexid)
            slot = {a.hexid, &seenOf(a.hexid)};
        lookAt(*slot.seen, a, tick);
    }
    result_.mostAtOnce = std::max(result_.mostAtOnce, active);
    if (rows_.size() > rowBuffer)
        flushRows();
}

void Stage::noteFlown(Seen& seen, const LiveAircraft& a) {
    seen.object = a.objectid;
    const auto object = world::inprocObject(a.objectid);
    result_.flown[seen.place] = {a.model, std::string(text(a.category)), object ? object->title : std::string()};
    result_.map.aircraft[seen.place].model = a.model;
}

void Stage::lookAt(Seen& seen, const LiveAircraft& a, std::int32_t tick) {
    if (seen.object != a.objectid)
        noteFlown(seen, a);
    if (seen.lastTick != tick - 1) {
        seen.watched = {};
        seen.followers[0] = {};
        seen.wasOnGround = a.onGround;
        seen.flareBegin = -1;
    }
    seen.lastTick = tick;
    const Pose pose = poseOf(a);
    const Phase phase = phaseOf(a);
    const Place place{seen.place, tick};
    const bool between = seen.baselines.moveTo(tick);
    Reference reference;
    bool known = true;
    if (seen.flight != nullptr && scenarioSeconds(tick) <= seen.flight->end)
        reference = referenceOf(truthAt(*seen.flight, tick));
    else if (seen.flight == nullptr && between)
        reference = seen.baselines.reference();
    else
        known = false;
    watch(*result_.boards[0], seen.watched[0], pose, phase, known ? &reference : nullptr, place);
    if (known)
        follow(seen, 0, pose.position(), phase, place);
    judgeLanding(seen, a, pose, phase, place);
    if (between != seen.baselinesRun) {
        std::fill(seen.watched.begin() + 1, seen.watched.end(), Watched{});
        std::fill(seen.followers.begin() + 1, seen.followers.end(), WayFollower{});
    }
    seen.baselinesRun = between;
    if (between)
        judgeBaselines(seen, phase, seen.flight != nullptr && known ? &reference : nullptr, known, place);
    if (tick % every_ == 0)
        writeRow(seen, a, phase, tick);
    if (tick % mapEvery == 0) {
        MapAircraft& drawn = result_.map.aircraft[seen.place];
        drawn.halfSpan = a.wingspan;
        drawn.shown.push_back({secondsOf(tick), a.lat, a.lon, a.alt, a.heading * radToDeg,
                               seen.watched[0].step * knotsPerMetreAndTick, static_cast<std::uint8_t>(phase)});
    }
}

void Stage::follow(Seen& seen, std::size_t way, LatLon at, Phase phase, Place place) {
    if (place.tick % wayEvery != 0)
        return;
    // The second of the baselines is always where the first is.
    constexpr std::size_t reported = 2;
    if (way != reported)
        seen.onWay = seen.followers[way].follow(seen.way, at, secondsOf(place.tick));
    if (seen.onWay)
        judgeWay(*result_.boards[way], *seen.onWay, phase, place);
}

void Stage::judgeLanding(Seen& seen, const LiveAircraft& a, const Pose& pose, Phase phase, Place place) {
    Board& board = *result_.boards[0];
    if (inAir(phase) && a.agl < nearGroundAgl && place.tick % sampleEvery == 0) {
        const double ground = world::terrainFeet(terrain_, a.lat, a.lon) + a.staticCg;
        board.add(Metric::belowGround, phase, std::max(ground - a.alt, 0.0), place);
    }
    if (phase == Phase::flare && seen.flareBegin < 0)
        seen.flareBegin = place.tick;
    if (a.onGround && !seen.wasOnGround && a.landingRoll) {
        board.add(Metric::sinkRate, Phase::flare, recentSink(seen.watched[0]), place);
        board.add(Metric::touchdownPitch, Phase::flare, std::max(-pose.pitch * radToDeg, 0.0), place);
        if (seen.flareBegin >= 0)
            board.add(Metric::floatTime, Phase::flare, secondsOf(place.tick - seen.flareBegin), place);
        if (seen.flight != nullptr && seen.flight->landingThreshold)
            board.add(Metric::thresholdDistance, Phase::flare,
                      distanceNm(pose.position(), *seen.flight->landingThreshold) * metresPerNm, place);
    }
    if (a.onGround)
        seen.flareBegin = -1;
    seen.wasOnGround = a.onGround;
}

void Stage::judgeBaselines(Seen& seen, Phase phase, const Reference* reference, bool known, Place place) {
    const bool lands = seen.baselines.touchesDown();
    for (std::size_t i = 0; i < seen.baselines.poses().size(); ++i) {
        const Pose& pose = seen.baselines.poses()[i];
        Board& board = *result_.boards[i + 1];
        watch(board, seen.watched[i + 1], pose, phase, reference, place);
        if (known)
            follow(seen, i + 1, pose.position(), phase, place);
        if (!lands)
            continue;
        board.add(Metric::sinkRate, Phase::flare, recentSink(seen.watched[i + 1]), place);
        if (seen.flight != nullptr && seen.flight->landingThreshold)
            board.add(Metric::thresholdDistance, Phase::flare,
                      distanceNm(pose.position(), *seen.flight->landingThreshold) * metresPerNm, place);
    }
}

void Stage::writeRow(const Seen& seen, const LiveAircraft& a, Phase phase, std::int32_t tick) {
    auto out = std::back_inserter(rows_);
    fmt::format_to(out, "{:.2f},{},{},{},{},{},{},{:.7f},{:.7f},{:.2f},{:.3f},{:.3f},{:.3f},{:.2f},{:.1f},{:.1f},{}",
                   secondsOf(tick), a.hexid, a.callsign, a.model, text(phase), text(a.fs), text(a.st), a.lat, a.lon,
                   a.alt, a.pitch * radToDeg, a.bank * radToDeg, a.heading * radToDeg, a.vsOut, a.tasOut, a.agl,
                   a.onGround ? 1 : 0);
    if (seen.flight != nullptr) {
        const Truth t = truthAt(*seen.flight, tick);
        fmt::format_to(out, ",{:.7f},{:.7f},{:.2f},{:.3f},{:.2f}\n", t.at.lat, t.at.lon, t.alt, t.heading * radToDeg,
                       t.gs);
    } else {
        fmt::format_to(out, ",,,,,\n");
    }
}

void Stage::flushRows() {
    writeFailed_ = std::fwrite(rows_.data(), 1, rows_.size(), csv_) != rows_.size() || writeFailed_;
    rows_.clear();
}

Result Stage::finish() {
    flushRows();
    writeFailed_ = std::fclose(csv_) != 0 || writeFailed_;
    csv_ = nullptr;
    if (writeFailed_)
        throw std::runtime_error("motion.csv cannot be written to its end");
    for (const Seen& seen : all_) {
        if (seen.flight == nullptr)
            continue;
        auto& truth = result_.map.aircraft[seen.place].truth;
        for (double t = seen.flight->begin; t <= seen.flight->end; t += 1.0) {
            const Truth now = seen.flight->truth(t);
            truth.push_back(
                {t + secondsOf(showDelayTicks), now.at.lat, now.at.lon, now.alt, now.heading * radToDeg, now.gs, 0});
        }
    }
    return std::move(result_);
}

} // namespace kes::replay
