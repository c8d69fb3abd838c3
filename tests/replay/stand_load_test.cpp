// SPDX-License-Identifier: MIT
// Full airports with live traffic, renewals and changes of the airport: what must hold holds in every second, and the
// same seed shows the same.
#include "airports/airport_ref.h"
#include "airports/static_parking.h"
#include "replay/stand_load.h"

namespace kes::replay {
namespace {

struct Shown {
    std::uint64_t hash = 0;
    std::size_t most = 0;
};

Shown flyTwoAirports(int shift) {
    StandLoad load(120, 90);
    load.circling = 30;
    load.turning = 24;
    load.start();
    load.run(200);
    EXPECT_GT(load.mostStatic, 75U) << "filled";
    for (const int airport : {1, 0}) {
        windowRequests.parkAdjust = true;
        load.setClock(load.clockMs / 1000 + 4 * 3600 + shift); // another four hours, other aircraft
        load.run(100);
        EXPECT_GT(world::inprocCounters().objectsRemoved, 30U);
        load.jump(airport);
        load.run(150);
        EXPECT_EQ(airportRef ? airportRef->code : "-", airport == 1 ? "EDDN" : "EDDM");
    }
    EXPECT_GE(load.mostLive, 50U);
    EXPECT_GT(load.mostParkedLive, 5U);
    for (const std::string& fault : load.faults)
        ADD_FAILURE() << fault;
    EXPECT_TRUE(world::inprocCounters().exceptions.empty());
    VirtualAirport::end();
    EXPECT_FALSE(load.program.logHas("exception"));
    return {load.hash, load.mostStatic};
}

TEST(StandLoadTest, EveryCheckHoldsAndTheSameSeedShowsTheSame) {
    const Shown first = flyTwoAirports(0), second = flyTwoAirports(0), other = flyTwoAirports(4 * 3600);
    EXPECT_EQ(first.hash, second.hash);
    EXPECT_NE(first.hash, other.hash);
}

TEST(StandLoadTest, AUserWhoJumpsEveryTwentySecondsLeavesNothingBehind) {
    StandLoad load(40, 40);
    load.circling = 10;
    load.turning = 10;
    load.start();
    load.run(40);
    for (int jump = 1; jump <= 12; ++jump) {
        load.jump(jump % 2);
        load.run(20);
    }
    load.run(90);
    EXPECT_EQ(airportRef ? airportRef->code : "-", "EDDM");
    EXPECT_GT(load.mostStatic, 30U);
    for (const std::string& fault : load.faults)
        ADD_FAILURE() << fault;
    for (const world::SimObject& o : world::inprocObjects())
        EXPECT_TRUE(!o.tail.ends_with('*') || distanceNm({o.lat, o.lon}, load.rows[0].at) < 4) << o.tail;
    unloadParkAirport();
    load.circling = load.turning = 0;
    load.run(20);
    EXPECT_TRUE(
        std::ranges::none_of(world::inprocObjects(), [](const world::SimObject& o) { return o.tail.ends_with('*'); }));
    VirtualAirport::end();
}

} // namespace
} // namespace kes::replay
