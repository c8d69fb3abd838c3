// SPDX-License-Identifier: MIT
// The measures by which motion is judged, and the boards that collect them by phase.
#pragma once

#include "tools/replay/pose.h"
#include "tools/replay/series.h"
#include "tools/replay/way.h"

#include <array>
#include <memory>
#include <string_view>

namespace kes::replay {

enum class Metric : std::uint8_t {
    across, ///< cross-track: metres off the reference to either side
    along,  ///< along-track: metres ahead of it or behind
    way,    ///< metres off the way, whenever the reference was there
    time,   ///< seconds before or after the reference was at that place of the way
    early,
    late,              ///< the same, where it is ahead and where it is behind; else 0
    height,            ///< feet off the reference, in the air
    jump,              ///< metres by which a tick moves on farther than the tick before
    turnRate,          ///< degrees per second
    turnChange,        ///< degrees per second, per second
    nose,              ///< degrees between nose and motion; pushed back: from 180
    bank,              ///< degrees off the bank of a coordinated turn; on the ground off level
    wrongBank,         ///< 1 where it banks out of a turn of more than 3 degrees of bank, else 0
    restPath,          ///< metres per minute of standing
    restTurn,          ///< degrees per minute of standing
    twitches,          ///< starts per minute of standing
    falseStops,        ///< stops per minute of rolling
    sinkRate,          ///< feet per minute in the last half second before touchdown
    touchdownPitch,    ///< degrees nose up at touchdown; 0 for nose down
    thresholdDistance, ///< metres from the threshold to the touchdown
    floatTime,         ///< seconds from the flare to the touchdown
    belowGround        ///< feet below standing height over the terrain, in the air
};
inline constexpr std::size_t metricCount = 22;
struct MetricName {
    std::string_view key, unit;
    bool everyTick; ///< else every tenth
};
/// How a measure is called in files and tables, and its unit.
const MetricName& nameOf(Metric metric);

/// All measures of one way of drawing, over all aircraft.
struct Board {
    std::array<std::array<Series, phaseCount>, metricCount> series;
    void add(Metric metric, Phase phase, double value, Place place) {
        series[static_cast<std::size_t>(metric)][static_cast<std::size_t>(phase)].add(value, place);
    }
    const Series& of(Metric metric, Phase phase) const {
        return series[static_cast<std::size_t>(metric)][static_cast<std::size_t>(phase)];
    }
};

/// What the judge remembers of one aircraft as one way draws it.
struct Watched {
    std::int32_t ticks = 0; ///< seen in a row
    double lat = 0, lon = 0, heading = 0, metresPerLon = 0;
    double step = 0, rate = 0; ///< metres of the last tick; degrees per second
    struct Window {
        std::int32_t ticks = 0, before = 0, still = 0;
        double path = 0, turn = 0;
        int events = 0;
        bool moving = false;
    };
    Window rest, roll;
    std::array<float, 64> heights{}; ///< feet, of the last ticks, in a ring
    std::uint8_t heightAt = 0;
};

/// Takes one tick. `reference` may be null where nothing is known. A gap in the ticks calls for a fresh Watched.
void watch(Board& board, Watched& watched, const Pose& pose, Phase phase, const Reference* reference, Place place);
/// Takes one tick of the measures of `Metric::way` and `Metric::time`.
void judgeWay(Board& board, const OnWay& on, Phase phase, Place place);
/// Feet per minute down over the last half second, the tick just taken included; nothing before that is known.
double recentSink(const Watched& watched);

} // namespace kes::replay
