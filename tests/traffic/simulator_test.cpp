// SPDX-License-Identifier: MIT
// Live aircraft through the real command queues and the simulator's protocol.
#include "sim/sim_client.h"
#include "traffic/flight_plans.h"
#include "traffic/harness.h"
#include "world/simulator/inproc.h"

namespace kes::test {
namespace {

struct SimulatorTest : TrafficTest {
    void SetUp() override {
        TrafficTest::SetUp();
        world::SimulatorOptions options;
        options.lat = homeLat;
        options.lon = homeLon;
        options.altFeet = 20000;
        options.terrain.airfields.push_back({homeLat, homeLon, 400});
        options.titles.known.insert("FSLTL_DLH");
        world::inprocStart(options);
        world::inprocRunThread(5);
        resetSimClient();
        simRequestFailed = false;
        simulator = true;
        startSimClient();
        ASSERT_TRUE(waitFor([] { return simRunning.load(); }));
    }
    void TearDown() override {
        requestSimClientStop();
        joinSimClient();
        world::inprocStop();
        resetSimClient();
        TrafficTest::TearDown();
    }
    bool tickUntil(const std::function<bool()>& condition) {
        return waitFor([&] {
            tick();
            return condition();
        });
    }
};

TEST_F(SimulatorTest, TheObjectFollowsTheRecordAndGoesWithIt) {
    feedFlight(firstHex, 4, 0.05);
    const std::string tail = liveAircraft.at(0).callsign;
    prepareFlightPlanFolders();
    liveAircraft[0].orig = "EDDF";
    liveAircraft[0].dest = "LHR";
    tickCount = liveAircraft[0].stream.front().tick - 100;
    ASSERT_TRUE(tickUntil([] { return liveAircraft.at(0).st == AircraftStatus::active; }));
    EXPECT_GT(liveAircraft[0].staticCg, 1.0) << "the model's own height came back";
    const std::filesystem::path plan = world::inprocObject(tail)->flightPlan;
    EXPECT_EQ(plan, flightPlanFolder() / (std::to_string(liveAircraft[0].objectid) + ".pln"));
    EXPECT_TRUE(std::filesystem::exists(plan));
    double last = world::inprocObject(tail)->lat;
    ASSERT_TRUE(tickUntil([&] { return world::inprocObject(tail)->lat > last + 0.001; }));
    removeAircraftFromSim(liveAircraft[0]);
    ASSERT_TRUE(tickUntil([&] { return liveAircraft.empty(); }));
    EXPECT_FALSE(world::inprocObject(tail));
    EXPECT_FALSE(std::filesystem::exists(plan));
    EXPECT_TRUE(world::inprocCounters().exceptions.empty());
}

} // namespace
} // namespace kes::test
