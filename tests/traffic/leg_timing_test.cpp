// SPDX-License-Identifier: MIT
// How long a leg takes, and how fast it turns.
#include "traffic/flight.h"
#include "traffic/leg_timing.h"

namespace kes::test {
namespace {

using LegTimingTest = FlightTest;

TEST_F(LegTimingTest, ArrivalTicksStayWithinTheWindow) {
    struct Row {
        const char* name;
        double miles = 5, gs0 = 300, gs1 = 300;
        std::int32_t due, invented = 0; ///< ticks from now; samples
        std::int32_t arrives;
    };
    const Row rows[] = {
        {.name = "at the mean speed", .gs0 = 200, .gs1 = 400, .due = 6000, .arrives = 6000},
        {.name = "ahead of its time", .due = 6900, .arrives = 6000},
        {.name = "at most ten seconds ahead", .due = 9000, .arrives = 8000},
        {.name = "at most ten seconds late", .due = 3000, .arrives = 4000},
        {.name = "an invented sample keeps to its speed", .due = 3000, .invented = 2, .arrives = 6000},
        {.name = "without speeds in its own time", .gs0 = 0, .gs1 = 0, .due = 6500, .arrives = 6500},
        {.name = "but not for ever", .miles = 0.01, .gs0 = 0, .gs1 = 0, .due = 6000, .invented = 2, .arrives = 3600},
        {.name = "in the past: hurry", .miles = 0.01, .due = -500, .arrives = 25},
        {.name = "long past: at once", .miles = 1, .due = -5000, .arrives = 0},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        Flight f({air(0, 5000, row.gs0), air(row.miles / 60, 5000 + row.due, row.gs1), air(1, 1 << 28)});
        f.a.extrapCount = row.invented;
        f.leg();
        EXPECT_NEAR(f.legTicks(), row.arrives, 1);
        EXPECT_LE(std::fabs(f.a.latStep), row.miles / 60 / 25 + 1e-12) << "no leg is shorter than 25 ticks";
    }
}

TEST_F(LegTimingTest, TheTurnRateFitsTheLeg) {
    struct Row {
        const char* name;
        double degrees, metres; ///< at 10 knots
        double times;           ///< the base rate
        std::int32_t window = 1000;
    };
    // An A320 is given 164 ticks for 20 degrees, 65 for 8, 737 for 90; a metre takes 19.44 ticks.
    const Row rows[] = {
        {"a short leg turns faster", 20, 5, 164 / 97.0},
        {"just under a fifth longer", 20, 10, 164 / 194.0},
        {"a longer one: part for part of 10 degrees", 20, 20, 1 / (389 / 164.0 * 10 / 20)},
        {"a small turn over a long leg: part of 30 m", 8, 60, 1 / (1166 / 65.0 * 30 / 60)},
        {"over the leg", 8, 20, 65 / 389.0},
        {"45 degrees", 45, 20, 1 / (389 / 368.0)},
        {"sharp and short: slower", 60, 20, 389 / 491.0},
        {"sharp and long: faster, within its bound", 60, 100, 2},
        {"hardly sharp", 46, 100, 46 / 30.0},
        {"not yet a full corner", 89, 100, 1944 / 728.0},
        {"a full corner", 90, 100, 1944 / 737.0, 2000},
        {"more than that", 135, 300, 3, 2000},
        {"no turn", 0, 100, 1},
    };
    for (const bool curve : {false, true}) {
        for (const Row& row : rows) {
            SCOPED_TRACE(row.name);
            Flight f({at(0, 0, 5000), at(row.metres, 0, 5000)});
            (curve ? f.a.curveAngle : f.a.legTurn) = row.degrees;
            (curve ? f.a.legTurn : f.a.curveAngle) = 33;
            f.a.turning = !curve;
            if (curve)
                f.a.curve.fill(1.0);
            f.a.turnRate = 9; // of the leg before
            setLegTiming(f.a, f.m);
            EXPECT_NEAR(f.a.turnRate / f.a.turnRateBase, row.times, 0.003 * row.times);
            EXPECT_EQ(f.a.earlyTicks, row.window);
            EXPECT_EQ(f.a.lateTicks, row.window);
        }
    }
}

} // namespace
} // namespace kes::test
