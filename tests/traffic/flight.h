// SPDX-License-Identifier: MIT
// One aircraft with the input and the outbox of its motion: neither program folder, packages, clock nor simulator. What
// it has been told comes as one line of short words, so that a table can say what each phase of a flight must send:
//
//   throttle 16383    flaps 3072    gear 1    spoilers 0    engines on    engines off    cabin 1
//   lights nb-ts-c    all seven in their order: nav, beacon, landing, taxi, strobes, logo, cabin; '-' = off
//   controls 100 -100 spoilers and throttles of the object itself, in percent; first among all
#pragma once

#include "airports/stands.h"
#include "core/geo.h"
#include "core/parameters.h"
#include "sim/ai_commands.h"
#include "traffic/flight_phases.h"
#include "traffic/ground_curve.h"
#include "traffic/ground_data.h"
#include "traffic/leg.h"
#include "traffic/live_aircraft.h"
#include "traffic/live_table.h"
#include "traffic/motion.h"
#include "traffic/reset.h"
#include "traffic/update.h"

#include <cmath>
#include <fmt/format.h>
#include <gtest/gtest.h>
#include <random>
#include <string>
#include <vector>

namespace kes::test {

inline constexpr double homeLat = 50.0, homeLon = 8.0;
inline constexpr std::uint32_t firstHex = 0x400000;
inline constexpr double metre = 1.0 / 1852.0 / 60.0; ///< degrees of latitude

inline constexpr AircraftCategory everyCategory[] = {AircraftCategory::light,    AircraftCategory::buzjets,
                                                     AircraftCategory::large,    AircraftCategory::heavy,
                                                     AircraftCategory::highPerf, AircraftCategory::rotorcraft};

/// What the tables' samples are made of; `latOffset` in degrees north of home.
struct Samples {
    static PositionSample air(double latOffset, std::int32_t tick, double gs = 300, double alt = 8000) {
        PositionSample s;
        s.lat = homeLat + latOffset;
        s.lon = homeLon;
        s.alt = alt;
        s.airborne = alt > 0;
        s.gs = s.tas = gs;
        s.tick = tick;
        return s;
    }
    static PositionSample ground(double latOffset, std::int32_t tick, double gs = 10) {
        return air(latOffset, tick, gs, 0);
    }
    /// On the ground, so many metres north and east of home.
    static PositionSample at(double north, double east, std::int32_t tick, double gs = 10) {
        PositionSample s = ground(north * metre, tick, gs);
        s.lon += east * metre / std::cos(homeLat * degToRad);
        return s;
    }
    static PositionSample stopAt(double north, std::int32_t tick) {
        PositionSample s = at(north, 0, tick, 0);
        s.stopped = true;
        return s;
    }
    /// Metres north and east of home.
    static double north(LatLon p) { return (p.lat - homeLat) / metre; }
    static double east(LatLon p) { return (p.lon - homeLon) / metre * std::cos(homeLat * degToRad); }
};

/// A stand for live traffic "A1", so many metres north of home.
inline Stand standAt(double metresNorth, double radiusMetres, double heading = 0, std::uint32_t sid = 1) {
    Stand s{.id = "A" + std::to_string(sid)};
    s.lat = homeLat + metresNorth * metre;
    s.lon = homeLon;
    s.heading = heading;
    s.radius = radiusMetres / metresPerNm;
    s.sid = sid;
    return s;
}

/// An active aircraft that has just reached the first of its samples.
inline void reachFirst(LiveAircraft& a, const std::vector<PositionSample>& stream) {
    clearCurve(a);
    a.st = AircraftStatus::active;
    a.stream.assign(stream.begin(), stream.end());
    const PositionSample& s = a.stream.front();
    a.fs = s.airborne ? FlightState::flying : FlightState::taxi;
    a.onGround = !s.airborne;
    a.lat = s.lat;
    a.lon = s.lon;
    a.alt = s.alt;
    if (s.trueHeadingValid)
        a.heading = s.trueHeading;
}

/// An active airliner, DLH304, that has just reached the first of its samples.
struct Flight {
    Outbox out;
    Motion m{{5000, standardQnh, std::nullopt}, out};
    LiveAircraft a;

    explicit Flight(const std::vector<PositionSample>& stream, AircraftCategory category = AircraftCategory::large) {
        a.hexid = firstHex;
        a.objectid = 100;
        a.airline = "DLH";
        a.callsign = "DLH304";
        a.category = category;
        a.wingspan = 17 / metresPerNm;
        applyCategory(a);
        reachFirst(a, stream);
    }
    Flight(const Flight&) = delete;
    Flight& operator=(const Flight&) = delete;

    void airport(double elevation, double milesNorth = 0) {
        m.in.airport = MotionAirport{{homeLat + milesNorth / 60, homeLon}, elevation};
    }
    void report(const PositionSample& sample) { decodeExisting(a, sample, m); }
    void leg() { nextPosMain(a, m); }
    void tick(int count = 1) {
        for (int i = 0; i < count; ++i) {
            updateLiveAc(a, m);
            ++m.in.tick;
        }
        clearPositionBuffers();
    }
    /// False when it does not come true within `limit` ticks.
    template <typename Condition> bool tickUntil(Condition condition, int limit = 20000) {
        bool reached = condition();
        for (int i = 0; i < limit && !reached; ++i) {
            tick();
            reached = condition();
        }
        return reached;
    }
    /// What the simulator says of level terrain below.
    void standOver(double elevation) {
        const double height = a.alt - elevation;
        applyGroundData(a, height <= a.staticCg + 0.5, elevation, std::max(height, 0.0), m);
    }
    /// Ticks of the leg that has just begun.
    std::int32_t legTicks() const { return a.stream.front().tick - m.in.tick; }

    /// What has been told since the last call.
    std::string told() {
        std::string line, lights;
        const auto add = [&](const std::string& word) { line += (line.empty() ? "" : ", ") + word; };
        for (const ControlData& c : out.controls)
            add(fmt::format("controls {} {}", c.spoilers, c.throttle));
        for (const AiEvent& e : out.events) {
            EXPECT_EQ(e.objectid, a.objectid);
            static constexpr std::uint32_t lightSet[] = {event::navLights,  event::beaconLights, event::landingLights,
                                                         event::taxiLights, event::strobes,      event::logoLights,
                                                         event::cabinLights};
            if (lights.size() < std::size(lightSet) && e.eventId == lightSet[lights.size()]) {
                lights += e.value != 0 ? "nbltsoc"[lights.size()] : '-';
                if (lights.size() == std::size(lightSet))
                    add("lights " + std::exchange(lights, ""));
                continue;
            }
            EXPECT_EQ(lights, "") << "half a set";
            add(wordOf(e));
        }
        out = {};
        return line;
    }

private:
    static std::string wordOf(const AiEvent& e) {
        switch (e.eventId) {
        case event::engineStart:
            return "engines on";
        case event::engineShutdown:
            return "engines off";
        case event::throttle:
            return fmt::format("throttle {}", e.value);
        case event::flaps:
            return fmt::format("flaps {}", e.value);
        case event::gear:
            return fmt::format("gear {}", e.value);
        case event::spoilers:
            return fmt::format("spoilers {}", e.value);
        case event::cabinLights:
            return fmt::format("cabin {}", e.value);
        default:
            return fmt::format("event {} {}", e.eventId, e.value);
        }
    }
};

/// A flight that climbs, sinks, lands, stops and starts at random, with noise and slips, over ground at 100 ft.
struct RandomFlight : Flight {
    explicit RandomFlight(std::uint32_t seed)
        : Flight({first(seed)}, everyCategory[seed % std::size(everyCategory)]), random(seed), last(a.stream[0]),
          dueTick(last.tick) {
        airport(100);
        a.staticCg = 9;
        next(5);
        a.stream.push_back(last);
    }
    /// One tick with what comes before it; false when the aircraft leaves, or after two minutes.
    bool fly() {
        if (m.in.tick + 3000 > dueTick) {
            next(between(1, 12));
            report(last);
        }
        if (m.in.tick % 20 == 0)
            standOver(100);
        if (a.st != AircraftStatus::active || a.stream.empty() || m.in.tick > 17000)
            return false;
        tick();
        return true;
    }
    double between(double low, double high) {
        return low + (high - low) * (static_cast<double>(random()) / 4294967296.0);
    }

private:
    static PositionSample first(std::uint32_t seed) {
        PositionSample s = seed % 2 == 0 ? Samples::air(0, 5000, 200, 1500) : Samples::ground(0, 5000, 12);
        if (seed % 7 == 0)
            s.lon = 179.999;
        return s;
    }
    void next(double seconds) {
        static constexpr double speeds[] = {0, 0, 8, 15, 60, 140, 250, 450};
        if (random() % 4 == 0)
            last.gs = speeds[random() % 8] * between(0.8, 1.2);
        last.track = random() % 20 == 0 ? between(0, 360) : std::fmod(last.track + between(-25, 25) + 360, 360);
        const LatLon to = destination(last.position(), last.track * degToRad, last.gs * seconds / 3600 * feetPerNm);
        last.lat = to.lat + between(-2e-5, 2e-5);
        last.lon = to.lon + between(-2e-5, 2e-5);
        last.vs = last.gs > 100 ? between(-2500, 2500) : 0;
        last.alt = last.gs <= 100      ? 0.0
                   : random() % 8 == 0 ? last.alt
                                       : std::max(last.alt + last.vs * seconds / 60, 0.0);
        last.airborne = last.alt > 0;
        last.tas = last.gs;
        last.bankValid = random() % 2 == 0;
        last.bank = between(-0.5, 0.5);
        last.trueHeadingValid = last.adsbHeading = random() % 2 == 0;
        last.trueHeading = between(0, twoPi);
        dueTick += seconds * 100;
        last.tick = static_cast<std::int32_t>(dueTick);
    }
    std::mt19937 random;
    PositionSample last;
    double dueTick;
};

/// For tests of motion alone: parameters at their defaults, empty tables.
struct FlightTest : testing::Test, Samples {
    void SetUp() override {
        setParameterDefaults();
        resetLiveTraffic();
    }
    void TearDown() override {
        setParameterDefaults();
        resetLiveTraffic();
        stands.clear();
    }
};

} // namespace kes::test
