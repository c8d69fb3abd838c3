// SPDX-License-Identifier: MIT
// A leg in the air: its time, heights, attitude and heading.
#include "traffic/air_motion.h"
#include "traffic/flight.h"

namespace kes::test {
namespace {

using AirMotionTest = FlightTest;

TEST_F(AirMotionTest, WhatALegDoesWithTheHeight) {
    struct Row {
        const char* name;
        double alt0 = 1000, alt1 = 1000; ///< of the two samples; 0 = on the ground
        double vs = 0, vs1 = vs;         ///< of the two samples
        double agl = 2500;
        bool approach = false;
        double qnh = 1013;
        double step = 0, rate = 0; ///< expected, over 1000 ticks from 1000 ft: feet per tick, or feet per minute
        bool airport = false;      ///< at 600 ft
    };
    const Row rows[] = {
        {.name = "a climb", .alt1 = 1300, .vs = 1800, .step = 0.3},
        {.name = "no faster than the category climbs", .alt1 = 3000, .vs = 1800, .step = 0.6},
        {.name = "a descent is not limited", .alt1 = 100, .vs = -5400, .step = -0.9},
        {.name = "near the ground a climb does not hang", .alt1 = 1100, .vs = 600, .agl = 900, .step = 0.2},
        {.name = "higher up it may", .alt1 = 1100, .vs = 600, .agl = 1500, .step = 0.1},
        {.name = "frozen on final", .agl = 900, .approach = true, .rate = -601},
        {.name = "frozen on final, still high", .agl = 1001, .approach = true},
        {.name = "frozen, though it climbs", .vs = 51, .agl = 900, .approach = true},
        {.name = "sinking on final", .alt1 = 700, .vs = -700, .agl = 900, .approach = true, .step = -0.3},
        {.name = "frozen, high pressure", .agl = 900, .approach = true, .qnh = 1043, .rate = -601},
        {.name = "and sinking, high pressure", .vs = -700, .agl = 900, .approach = true, .qnh = 1043, .rate = -880},
        {.name = "by the mean", .vs = -700, .vs1 = -1100, .agl = 900, .approach = true, .qnh = 1003, .rate = -840},
        {.name = "close to the ground", .vs = -700, .agl = 100, .approach = true, .qnh = 1043, .rate = -600},
        {.name = "from the ground", .alt0 = 0, .alt1 = 1300, .vs = 1800, .step = 0.3},
        {.name = "from the ground, within the limit", .alt0 = 0, .alt1 = 3000, .vs = 1800, .step = 0.6},
        {.name = "from the ground, data below", .alt0 = 0, .alt1 = 900, .vs = 1800},
        {.name = "no height, up", .alt0 = 0, .alt1 = 0, .vs = 1800, .rate = 1800},
        {.name = "no height, slowly up", .alt0 = 0, .alt1 = 0, .vs = 300, .rate = 601},
        {.name = "no height, hardly up", .alt0 = 0, .alt1 = 0, .vs = 50, .rate = -601},
        {.name = "no height, on final", .alt0 = 0, .alt1 = 0, .vs = 1800, .approach = true, .rate = -601},
        {.name = "no height, down", .alt0 = 0, .alt1 = 0, .vs = -300, .approach = true, .rate = -601},
        {.name = "the data land, airport known", .alt1 = 0, .vs = -800, .step = -0.4, .airport = true},
        {.name = "the data land", .alt1 = 0, .vs = -800, .rate = -601},
        {.name = "the data land, high pressure", .alt1 = 0, .vs = -800, .qnh = 1023, .rate = -860, .airport = true},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        Flight f({air(0, 5000, 300, row.alt0), air(1000 * 300 / 360000.0 / 60, 6000, 300, row.alt1)});
        f.a.stream[0].vs = row.vs;
        f.a.stream[1].vs = row.vs1;
        f.a.onGround = false;
        f.a.lowLights = true;
        f.a.alt = 1000;
        f.a.agl = row.agl;
        f.a.approach = row.approach;
        f.m.in.qnh = row.qnh;
        if (row.airport)
            f.airport(600);
        f.leg();
        const bool byRate = row.rate != 0;
        EXPECT_NEAR(f.a.altStep, byRate ? row.rate / 6000 : row.step, byRate ? 1e-12 : 1e-3);
        EXPECT_EQ(f.told().starts_with("gear 1"), row.alt1 == 0);
        EXPECT_NEAR(f.a.stream.front().vs, byRate ? row.rate : row.vs1, 1e-9);
        EXPECT_EQ(f.a.vsFpm, f.a.stream.front().vs);
    }
}

TEST_F(AirMotionTest, BankAndPitchChangeNoFasterThanTheCategory) {
    struct Limits {
        double bankStep, pitchStep, bank; ///< degrees
    };
    constexpr Limits limits[] = {{0.035, 0.01, 40},  {0.0275, 0.0085, 35}, {0.02, 0.0075, 30},
                                 {0.015, 0.005, 20}, {0.1, 0.03, 90},      {0.06, 0.03, 75}};
    for (const AircraftCategory category : everyCategory) {
        SCOPED_TRACE(text(category));
        const Limits& most = limits[static_cast<std::size_t>(category)];
        for (const double east : {1.0, -1.0}) {
            for (const bool longLeg : {false, true}) {
                const double north = longLeg ? 0.5 : 0.0003;
                std::vector<PositionSample> stream{air(0, 5000), air(north, longLeg ? 41000 : 5025), air(north, 60000)};
                stream[1].vs = 2400;
                stream[2].lon += 0.1 * east;
                Flight f(stream, category);
                f.a.pitch = 10 * degToRad;
                f.leg();
                const std::int32_t ticks = f.legTicks();
                EXPECT_NEAR(f.a.headingStep * ticks * radToDeg, 90 * east, 1)
                    << "towards the leg after the next sample";
                if (longLeg) { // it is the largest bank that counts
                    EXPECT_NEAR(f.a.bankStep * ticks * radToDeg, -most.bank * east, 0.5);
                    continue;
                }
                EXPECT_NEAR(f.a.bankStep * radToDeg, -most.bankStep * east, 1e-9) << "right is negative";
                EXPECT_NEAR(f.a.pitchStep * radToDeg, -most.pitchStep, 1e-9);
            }
        }
    }
}

TEST_F(AirMotionTest, ATrustedHeadingGoesBeforeTheCourseNearTheGround) {
    struct Row {
        const char* name;
        double agl;
        bool approach, trusted = true, bank = true, heading = true;
        bool taken = false;
    };
    const Row rows[] = {
        {.name = "low on final", .agl = 1999, .approach = true, .taken = true},
        {.name = "low", .agl = 999, .approach = false, .taken = true},
        {.name = "not low enough", .agl = 1000, .approach = false},
        {.name = "not low enough on final", .agl = 2000, .approach = true},
        {.name = "not trusted", .agl = 900, .approach = false, .trusted = false},
        {.name = "no bank", .agl = 900, .approach = true, .bank = false},
        {.name = "no heading", .agl = 900, .approach = true, .heading = false},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        Flight f({air(0, 5000), air(0.02, 6440), air(0.04, 8000)});
        f.a.stream[1].trueHeading = 0.2;
        f.a.stream[1].trueHeadingValid = row.heading;
        f.a.stream[1].bankValid = row.bank;
        f.a.stream[1].adsbHeading = row.trusted;
        f.a.agl = row.agl;
        f.a.approach = row.approach;
        f.leg();
        EXPECT_NEAR(f.a.headingStep * f.legTicks(), row.taken ? 0.2 : 0, 1e-6);
    }
    // A place that is not left again, or the last sample, leads nowhere: the heading stays.
    for (const std::size_t samples : {2U, 3U}) {
        Flight f({air(0, 5000), air(0.02, 6440), air(0.02, 8000)});
        f.a.stream.resize(samples);
        f.a.heading = 1.0;
        f.leg();
        EXPECT_EQ(f.a.headingStep, 0) << samples;
    }
}

} // namespace
} // namespace kes::test
