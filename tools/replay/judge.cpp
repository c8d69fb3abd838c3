// SPDX-License-Identifier: MIT
#include "tools/replay/judge.h"

#include <algorithm>
#include <cmath>

namespace kes::replay {

namespace {

constexpr double gravity = 9.80665;
constexpr std::int32_t sampleEvery = 10;
constexpr double movingStep = 0.001;  ///< metres per tick, a fifth of a knot
constexpr double trackedStep = 0.005; ///< metres per tick; slower motion has no direction
constexpr std::int32_t settle = 1000; ///< ticks: an aircraft may be as late as that
constexpr std::int32_t windowTicks = 1000;
constexpr double windowsPerMinute = 6.0;
constexpr std::int32_t stopTicks = 100;
constexpr double clearTurn = 3.0; ///< degrees of bank
constexpr std::int32_t sinkTicks = 50;

constexpr std::array<MetricName, metricCount> names{{{"across", "m", false},
                                                     {"along", "m", false},
                                                     {"way", "m", false},
                                                     {"time", "s", false},
                                                     {"early", "s", false},
                                                     {"late", "s", false},
                                                     {"height", "ft", false},
                                                     {"jump", "m", true},
                                                     {"turn rate", "deg/s", true},
                                                     {"turn change", "deg/s2", true},
                                                     {"nose off track", "deg", false},
                                                     {"bank off turn", "deg", false},
                                                     {"wrong bank", "share", false},
                                                     {"rest path", "m/min", false},
                                                     {"rest turn", "deg/min", false},
                                                     {"twitches", "1/min", false},
                                                     {"false stops", "1/min", false},
                                                     {"sink rate", "ft/min", false},
                                                     {"touchdown pitch", "deg", false},
                                                     {"from threshold", "m", false},
                                                     {"float time", "s", false},
                                                     {"below ground", "ft", false}}};
bool inAir(Phase phase) {
    return phase == Phase::air || phase == Phase::approach || phase == Phase::flare;
}

void judgeBank(Board& board, const Watched& w, const Pose& pose, Phase phase, Place place) {
    const double right = -pose.bank * radToDeg;
    if (!inAir(phase)) {
        if (phase != Phase::takeOff)
            board.add(Metric::bank, phase, std::fabs(right), place);
        return;
    }
    const double wanted = std::atan(w.step * ticksPerSecond * w.rate * degToRad / gravity) * radToDeg;
    board.add(Metric::bank, phase, std::fabs(right - wanted), place);
    if (std::fabs(wanted) > clearTurn)
        board.add(Metric::wrongBank, phase, right * wanted < 0.0 ? 1.0 : 0.0, place);
}

void judgePlace(Board& board, const Watched& w, const Pose& pose, Phase phase, const Reference& r, Place place) {
    const double north = (pose.lat - r.at.lat) * metresPerDegree;
    const double east = lonDifference(r.at.lon, pose.lon) * w.metresPerLon;
    const double s = std::sin(r.track), c = std::cos(r.track);
    board.add(Metric::across, phase, std::fabs(east * c - north * s), place);
    board.add(Metric::along, phase, std::fabs(east * s + north * c), place);
    if (!pose.onGround)
        board.add(Metric::height, phase, std::fabs(pose.alt - r.alt), place);
}

/// True when a window is full.
bool fill(Watched::Window& window, bool applies, double step, double turn) {
    if (!applies) {
        window = {};
        return false;
    }
    if (window.before < settle) {
        ++window.before;
        window.moving = step > movingStep;
        return false;
    }
    window.path += step;
    window.turn += turn;
    return ++window.ticks == windowTicks;
}

void restart(Watched::Window& window) {
    window.ticks = 0;
    window.path = window.turn = 0.0;
    window.events = 0;
}

void judgeRest(Board& board, Watched& w, double turn, Phase phase, const Reference& r, Place place) {
    const bool full = fill(w.rest, r.standing, w.step, turn);
    const bool moves = w.step > movingStep;
    if (w.rest.before >= settle && moves && !w.rest.moving)
        ++w.rest.events;
    w.rest.moving = moves;
    if (full) {
        board.add(Metric::restPath, phase, w.rest.path * windowsPerMinute, place);
        board.add(Metric::restTurn, phase, w.rest.turn * windowsPerMinute, place);
        board.add(Metric::twitches, phase, w.rest.events * windowsPerMinute, place);
        restart(w.rest);
    }
    const bool rolled = fill(w.roll, r.rolling, w.step, turn);
    w.roll.still = moves ? 0 : w.roll.still + 1;
    if (w.roll.before >= settle && w.roll.still == stopTicks)
        ++w.roll.events;
    if (rolled) {
        board.add(Metric::falseStops, phase, w.roll.events * windowsPerMinute, place);
        restart(w.roll);
    }
}

} // namespace

const MetricName& nameOf(Metric metric) {
    return names[static_cast<std::size_t>(metric)];
}

void watch(Board& board, Watched& w, const Pose& pose, Phase phase, const Reference* reference, Place place) {
    const bool sampled = place.tick % sampleEvery == 0;
    if (w.ticks == 0 || place.tick % 1000 == 0)
        w.metresPerLon = metresPerDegree * std::cos(pose.lat * degToRad);
    const double north = (pose.lat - w.lat) * metresPerDegree;
    const double east = lonDifference(w.lon, pose.lon) * w.metresPerLon;
    const double step = std::hypot(east, north);
    double turn = (pose.heading - w.heading) * radToDeg;
    turn = turn > 180.0 ? turn - 360.0 : turn < -180.0 ? turn + 360.0 : turn;
    const double rate = turn * ticksPerSecond;
    if (w.ticks >= 2) {
        board.add(Metric::jump, phase, std::max(step - w.step, 0.0), place);
        board.add(Metric::turnRate, phase, std::fabs(rate), place);
        board.add(Metric::turnChange, phase, std::fabs(rate - w.rate) * ticksPerSecond, place);
    }
    w.lat = pose.lat;
    w.lon = pose.lon;
    w.heading = pose.heading;
    w.step = w.ticks >= 1 ? step : 0.0;
    w.rate = w.ticks >= 1 ? rate : 0.0;
    ++w.ticks;
    w.heightAt = static_cast<std::uint8_t>((w.heightAt + 1) % w.heights.size());
    w.heights[w.heightAt] = static_cast<float>(pose.alt);
    if (w.ticks < 3)
        return;
    if (sampled) {
        if (w.step > trackedStep) {
            const double off = std::fabs(angleDiff(std::atan2(east, north), pose.heading)) * radToDeg;
            board.add(Metric::nose, phase, phase == Phase::pushBack ? 180.0 - off : off, place);
        }
        judgeBank(board, w, pose, phase, place);
        if (reference != nullptr)
            judgePlace(board, w, pose, phase, *reference, place);
    }
    if (reference != nullptr)
        judgeRest(board, w, std::fabs(turn), phase, *reference, place);
}

void judgeWay(Board& board, const OnWay& on, Phase phase, Place place) {
    board.add(Metric::way, phase, on.metres, place);
    board.add(Metric::time, phase, std::fabs(on.late), place);
    board.add(Metric::early, phase, std::max(-on.late, 0.0), place);
    board.add(Metric::late, phase, std::max(on.late, 0.0), place);
}

double recentSink(const Watched& w) {
    if (w.ticks <= sinkTicks)
        return 0.0;
    const std::size_t size = w.heights.size();
    const double before = w.heights[(w.heightAt + size - sinkTicks) % size];
    return std::max((before - w.heights[w.heightAt]) * ticksPerSecond / sinkTicks * 60.0, 0.0);
}

} // namespace kes::replay
