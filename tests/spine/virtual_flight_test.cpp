// SPDX-License-Identifier: MIT
// Whole flights in virtual time: a line goes in, an aircraft comes out.
#include "airports/airport_ref.h"
#include "airports/park_airports.h"
#include "core/ai_aircraft.h"
#include "core/hh_now.h"
#include "core/run_state.h"
#include "core/user_aircraft.h"
#include "feed/report_queue.h"
#include "flight_folder.h"
#include "spine/main_tick.h"
#include "traffic/live_table.h"
#include "world/simulator/inproc.h"

namespace kes::test {
namespace {

using VirtualFlightTest = VirtualRun;

TEST_F(VirtualFlightTest, AReportIsShownThirtySecondsLaterAndMovesSmoothly) {
    const Straight flight;
    fly(29, {flight});
    EXPECT_TRUE(world::inprocObjects().empty()) << "nothing is due yet";
    fly(6, {flight});
    auto object = world::inprocObject("DLH4AB");
    ASSERT_TRUE(object);
    EXPECT_EQ(object->title, "Test A320 DLH");
    EXPECT_GT(liveAircraft.at(0).staticCg, 1.0) << "the model's own height came back";

    // From here on: no jump, and never far from where the real aircraft was 30 seconds ago.
    LatLon last{object->lat, object->lon};
    double worstStep = 0;
    double worstError = 0;
    fly(60, {flight}, [&] {
        object = world::inprocObject("DLH4AB");
        ASSERT_TRUE(object);
        const LatLon here{object->lat, object->lon};
        worstStep = std::max(worstStep, distanceNm(last, here));
        worstError = std::max(worstError, distanceNm(here, flight.at(now - 30)));
        last = here;
    });
    const double frameNm = flight.knots / 3600.0 / 30.0; // what the aircraft flies in one frame
    EXPECT_LT(worstStep, 2.5 * frameNm);
    EXPECT_LT(worstError, 0.15) << "nautical miles";
    EXPECT_NEAR(object->heading, flight.bearing, 0.02);
    EXPECT_NEAR(object->alt, 9000, 50);
    EXPECT_TRUE(object->freezeLatLon);
}

TEST_F(VirtualFlightTest, AStoppedFlightIdlesAndResumes) {
    const Straight flight;
    fly(35, {flight});
    const std::int32_t ticks = tickCount;
    world::inprocCommand("sim 0");
    fly(3, {});
    EXPECT_LE(tickCount - ticks, 5) << "an idle tick does not count";
    EXPECT_TRUE(flightStopped);
    EXPECT_TRUE(program.logHas("Flight not running"));
    world::virtualDatagram(flight.line(now));
    EXPECT_EQ(reportQueue.size(), 0U) << "lines of a stopped flight are thrown away";
    world::inprocCommand("sim 1");
    fly(3, {});
    EXPECT_FALSE(flightStopped);
    EXPECT_TRUE(program.logHas("Flight resumed"));
    EXPECT_TRUE(reportQueue.accepting());
}

TEST_F(VirtualFlightTest, TheRangeFollowsTheUsersFlight) {
    struct Case {
        bool onGround;
        double agl, northNm;
        std::int32_t range;
    };
    parkAirportList.assign(1, {"EDDM", "", fieldLat, fieldLon, 0});
    for (const Case& c : {Case{true, 0, 0, 10}, Case{true, 0, 200, 10}, Case{false, 49001, 0, 100},
                          Case{false, 30000, 5, 40}, Case{false, 3000, 7, 10}, Case{false, 3000, 8, 11},
                          Case{false, 3000, 36, 39}, Case{false, 3000, 37.5, 40}, Case{false, 3000, 90, 40}}) {
        userOnGround = c.onGround;
        userAircraft.agl = c.agl;
        userAircraft.lat = fieldLat + c.northNm / 60.0;
        userAircraft.lon = fieldLon;
        rangeRule();
        EXPECT_EQ(par::LATERAL_RANGE.value, c.range) << c.agl << " ft, " << c.northNm << " nm";
        EXPECT_EQ(rangeNm.load(), static_cast<float>(c.range));
        EXPECT_EQ(rangeMetres, c.range * 1852);
    }
}

} // namespace
} // namespace kes::test
