// SPDX-License-Identifier: MIT
// The configuration of an aircraft in the air, by height and vertical speed.
#include "traffic/air_setup.h"
#include "traffic/flight.h"

namespace kes::test {
namespace {

/// Airliners, small aircraft with wings, helicopters.
enum Kind : std::size_t { airliner, small, rotor };
constexpr Kind kindOf[] = {small, airliner, airliner, airliner, small, rotor};

struct AirSetupTest : FlightTest {
    /// One leg, with what the simulator says of the height.
    static void leg(Flight& f, double alt, double agl, double vs) {
        f.a.stream = {air(0, f.m.in.tick, 200, alt), air(0.01, f.m.in.tick + 1000, 200, alt)};
        f.a.stream[0].vs = vs;
        f.a.agl = agl;
        f.leg();
    }
};

TEST_F(AirSetupTest, FromCruiseToFinalAndAround) {
    struct Leg {
        double alt, agl, vs;
        std::string told[3]; ///< by Kind; a later one left out = as the one before
        bool approach[3] = {};
    };
    const Leg legs[] = {
        {12000, 11000, 0, {"lights nb----c, throttle 11468, gear 0, flaps 0", "", "lights nb----c, throttle 16383"}},
        {10000, 9000, -1000, {"-", "", ""}},
        {9999, 9000, -249, {"lights nbltsoc, cabin 1, gear 0", "", "lights nbltsoc, cabin 1"}},
        {9000, 8000, -250, {"cabin 1, throttle 8191, gear 0", "", "cabin 1"}},
        {3400, 2400, -700, {"cabin 1, gear 0", "", "cabin 1"}},
        {3399, 2399, 101, {"cabin 1", "", ""}},
        {3399, 2399, 100, {"cabin 1, flaps 3072", "", "cabin 1"}},
        {3050, 2051, -700, {"cabin 1", "", ""}},
        {3000, 2000, -249, {"cabin 0", "cabin 1", ""}},
        {3000, 2000, -250, {"cabin 0, throttle 4914, flaps 16383, gear 1", "cabin 1", ""}, {true, false, false}},
        {3051, 2051, -249, {"cabin 1", "", ""}},
        {3000, 2000, -250, {"cabin 0, gear 1", "cabin 1", ""}, {true, false, false}},
        {2999, 1999, 101, {"cabin 0", "cabin 1", ""}, {true, false, false}},
        {2999, 1999, 100, {"cabin 0", "cabin 1, flaps 10240", "cabin 1"}, {true, false, false}},
        {1626, 626, -700, {"cabin 0", "cabin 1", ""}, {true, false, false}},
        {1625, 625, -249, {"cabin 0", "", ""}, {true, false, false}},
        {1625, 625, -250, {"cabin 0", "cabin 0, throttle 4914, flaps 16383, gear 1", "cabin 0"}, {true, true, true}},
        {1400, 400, 600, {"cabin 0", "", ""}, {true, true, true}},
        {1400, 400, 601, {"cabin 0, throttle 16383, gear 0, flaps 0", "", "cabin 0"}},
        {1400, 400, 700, {"cabin 0", "", ""}},
        {3600, 2600, -300, {"cabin 1, gear 0", "", "cabin 1"}},
        {3600, 2600, 400, {"cabin 1, gear 0", "", "cabin 1"}},
        {3600, 2600, 401, {"cabin 1, throttle 11468, gear 0", "", "cabin 1"}},
        {9999, 9000, 1500, {"cabin 1, gear 0", "", "cabin 1"}},
        {10000, 9001, 1500, {"lights nb----c, gear 0", "", "lights nb----c"}},
    };
    for (const AircraftCategory category : everyCategory) {
        SCOPED_TRACE(text(category));
        const Kind kind = kindOf[static_cast<std::size_t>(category)];
        Flight f({air(0, 5000)}, category);
        f.airport(1000);
        f.a.departing = true;
        for (const Leg& l : legs) {
            SCOPED_TRACE(fmt::format("{} ft, {} ft/min", l.agl, l.vs));
            std::string expected;
            for (std::size_t k = 0; k <= kind; ++k)
                expected = l.told[k].empty() ? expected : l.told[k];
            const bool before = f.a.approach;
            if (!before) {
                f.a.sid = 7;
                f.a.climbing = f.a.climbing || l.vs < 0;
                f.a.rotationCount = 9;
                f.a.lateTicks = f.a.earlyTicks = 1000;
            }
            f.out.landings.clear();
            const std::size_t landings = l.approach[kind] && !before ? 1 : 0;
            leg(f, l.alt, l.agl, l.vs);
            EXPECT_EQ(f.out.landings, std::vector(landings, f.a.hexid));
            EXPECT_EQ(f.told(), expected == "-" ? "" : expected);
            EXPECT_EQ(f.a.approach, l.approach[kind]);
            EXPECT_EQ(f.a.departing, l.alt >= 10000 && l.vs <= 0);
            if (landings == 1) {
                EXPECT_EQ(f.a.sid, 0U);
                EXPECT_FALSE(f.a.climbing);
                EXPECT_EQ(f.a.rotationCount, 1);
                EXPECT_EQ(f.a.lateTicks + f.a.earlyTicks, 6000) << "the leg that goes on final begins with the width";
            }
        }
    }
}

/// On final the airport has changed, or the aircraft passes by: it climbs out unless it still sinks.
TEST_F(AirSetupTest, AFinalThatLeadsNowhereIsLeft) {
    struct Row {
        const char* name;
        double airport; ///< nautical miles away; negative = none known
        double vs;
        bool final, leaves;
    };
    for (const Row& row : {Row{"level, far", 10.1, -249, true, true}, Row{"sinking, far", 10.1, -250, true, false},
                           Row{"level, near", 9.9, -249, true, false}, Row{"level, no airport", -1, -249, true, true},
                           Row{"not on final", -1, 600, false, false}}) {
        SCOPED_TRACE(row.name);
        for (const AircraftCategory category : everyCategory) {
            Flight f({air(0, 5000)}, category);
            f.a.lowLights = true;
            f.a.approach = row.final;
            f.a.flareStage = 1;
            if (row.airport >= 0)
                f.airport(0, row.airport);
            leg(f, 600, 600, row.vs);
            EXPECT_EQ(f.told(), !row.leaves ? "cabin 0"
                                : category == AircraftCategory::rotorcraft
                                    ? "cabin 0, throttle 16383"
                                    : "cabin 0, throttle 16383, gear 0, flaps 0");
            EXPECT_EQ(f.a.approach, row.final && !row.leaves);
            EXPECT_EQ(f.a.climbing, row.leaves);
            EXPECT_EQ(f.a.flareStage, row.leaves ? 0 : 1);
        }
    }
}

} // namespace
} // namespace kes::test
