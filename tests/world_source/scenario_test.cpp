// SPDX-License-Identifier: MIT
// The scenario is the truth that the program is measured against, so it must itself be possible to fly.
#include "world/source/scenario.h"

#include <algorithm>
#include <cmath>
#include <fmt/format.h>
#include <gtest/gtest.h>
#include <map>

using namespace kes;
using namespace kes::source;

namespace {

struct Limits {
    double slowest, fastest; ///< knots in the air
    double climb;            ///< feet per minute, either way
    double turn;             ///< degrees per second in the air
};

Limits limitsOf(FlightKind kind) {
    switch (kind) {
    case FlightKind::Light:
        return {90, 170, 1200, 6};
    case FlightKind::Helicopter:
        return {20, 135, 1600, 7};
    case FlightKind::Overflight:
        return {250, 510, 1500, 1.5};
    default:
        return {110, 340, 3600, 3.2};
    }
}

double headingGap(double a, double b) {
    return std::abs(std::remainder(a - b, 360.0));
}

/// Walks a flight in half seconds and returns the first thing that no aircraft could do; empty when there is none.
std::string impossibility(const Scenario& s, const ScenarioFlight& f) {
    constexpr double step = 0.5;
    const Limits limits = limitsOf(f.kind);
    SourceReport last = truthAt(s, f, f.start);
    double travelled = 0;
    for (double t = f.start + step; t <= f.start + f.track.duration; t += step) {
        const SourceReport now = truthAt(s, f, t);
        const auto fail = [&](const char* what, double value) {
            return fmt::format("{} {} at {:.1f} s of flight {} ({} {})", what, value, t - f.start, f.id, f.callsign,
                               now.model);
        };
        const double moved = distanceNm(last.place, now.place);
        travelled += moved;
        // The distance moved is the mean speed times the time, on a curve a little less.
        const double expected = (last.groundSpeed + now.groundSpeed) / 2.0 * step / 3600.0;
        if (std::abs(moved - expected) > 0.00012 + 0.002 * expected)
            return fail("a jump in place, nm", moved - expected);
        const double accel = (now.groundSpeed - last.groundSpeed) / step; // knots per second
        if (std::abs(accel) > (now.airborne && last.airborne ? 2.2 : 4.0))
            return fail("acceleration, kn/s", accel);
        const bool cusp = now.groundSpeed < 1.0 || last.groundSpeed < 1.0; // a push-back ends, motion turns around
        if (!cusp && headingGap(now.track, last.track) / step > (now.airborne ? limits.turn : 20.0))
            return fail("turn of the track, deg/s", headingGap(now.track, last.track) / step);
        if (!now.airborne && !last.airborne && now.trueHeading >= 0 &&
            headingGap(now.trueHeading, last.trueHeading) / step > 20.0)
            return fail("turn of the nose, deg/s", headingGap(now.trueHeading, last.trueHeading) / step);
        if (now.airborne && last.airborne) {
            const double climb = (now.altitude - last.altitude) / step * 60.0;
            if (std::abs(climb) > limits.climb)
                return fail("climb, ft/min", climb);
            if (std::abs(climb - (now.verticalSpeed + last.verticalSpeed) / 2.0) > 60.0)
                return fail("vertical speed does not belong to the heights, off by", climb - now.verticalSpeed);
            if (std::abs(now.verticalSpeed - last.verticalSpeed) / 60.0 * 0.3048 / step > 3.0)
                return fail("vertical acceleration, ft/min in half a second", now.verticalSpeed - last.verticalSpeed);
            if (now.groundSpeed < limits.slowest || now.groundSpeed > limits.fastest)
                return fail("ground speed, kn", now.groundSpeed);
            if (std::abs(now.roll) > 30.0 || std::abs(now.roll - last.roll) / step > 12.0)
                return fail("roll, degrees", now.roll);
            if (now.altitude < s.config.elevation - 1)
                return fail("below the ground, ft", now.altitude);
        } else if (now.airborne != last.airborne) {
            const double height = std::max(now.altitude, last.altitude) - s.config.elevation;
            if (std::abs(height) > 60.0)
                return fail("leaves or meets the ground at a height of ft", height);
        } else if (now.groundSpeed > 170.0) {
            return fail("speed on the ground, kn", now.groundSpeed);
        }
        last = now;
    }
    return travelled > 0.05 || f.kind == FlightKind::Standing ? std::string() : "does not move";
}

} // namespace

TEST(Scenario, EveryFlightOfAnHourCanBeFlown) {
    Scenario scenario;
    startScenario(scenario, {});
    std::map<std::uint32_t, ScenarioFlight> flights;
    for (ScenarioReport r = nextReport(scenario); r.time <= 3600; r = nextReport(scenario))
        for (const ScenarioFlight& f : scenario.flights)
            flights.try_emplace(f.id, f);
    std::map<FlightKind, int> kinds;
    for (const auto& [id, f] : flights) {
        ++kinds[f.kind];
        EXPECT_EQ(impossibility(scenario, f), "");
    }
    EXPECT_GE(kinds[FlightKind::Arrival], 20);
    EXPECT_GE(kinds[FlightKind::Departure], 15);
    EXPECT_GE(kinds[FlightKind::Overflight], 30);
    EXPECT_GE(kinds[FlightKind::Light], 6);
    EXPECT_GE(kinds[FlightKind::Helicopter], 1);
    EXPECT_GE(kinds[FlightKind::Vehicle], 2);
}

TEST(Scenario, TheSeedDecidesEverything) {
    auto lines = [](std::uint32_t seed) {
        Scenario s;
        ScenarioConfig config;
        config.seed = seed;
        startScenario(s, config);
        std::string all;
        for (int i = 0; i < 4000; ++i) {
            const ScenarioReport r = nextReport(s);
            all += lineOf(s, r, 1.7e9 + r.time) + "\n";
        }
        return all;
    };
    const std::string first = lines(7);
    EXPECT_TRUE(first == lines(7));
    EXPECT_FALSE(first == lines(8));
}
