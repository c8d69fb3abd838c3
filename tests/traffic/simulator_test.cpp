// SPDX-License-Identifier: MIT
// Live aircraft through the real command queues and the simulator's protocol.
#include "sim/sim_client.h"
#include "traffic/flight_plans.h"
#include "traffic/harness.h"
#include "world/simulator/inproc.h"

#include <mutex>

namespace kes::test {
namespace {

struct SimulatorTest : TrafficTest {
    std::mutex guard;
    std::map<std::string, std::vector<std::string>> events; ///< by tail number, "name value"

    void SetUp() override {
        TrafficTest::SetUp();
        world::SimulatorOptions options;
        options.lat = homeLat;
        options.lon = homeLon;
        options.altFeet = 20000;
        options.terrain.airfields.push_back({homeLat, homeLon, 400});
        options.titles.known.insert("FSLTL_DLH");
        world::inprocStart(options);
        world::Hooks hooks;
        hooks.event = [this](const world::SimObject& object, world::ClientEvent event, std::uint32_t value) {
            const std::lock_guard lock(guard);
            events[object.tail].push_back(std::string(world::nameOf(event)) + " " + std::to_string(value));
        };
        world::inprocSetHooks(hooks);
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
    std::vector<std::string> eventsOf(const std::string& tail) {
        const std::lock_guard lock(guard);
        return events[tail];
    }
};

TEST_F(SimulatorTest, WhatANewObjectIsToldArrivesInItsOrder) {
    for (int i = 0; i < 4; ++i)
        feed(groundReport(firstHex, i * 20.0, 0.001));
    tickCount = liveAircraft.at(0).stream.front().tick - 150;
    ASSERT_TRUE(tickUntil([] { return liveAircraft.at(0).st == AircraftStatus::active; }));
    const std::vector<std::string> expected{
        // after the three freezes
        "GEAR_SET 1",        "ALL_LIGHTS_TOGGLE 0", "ALL_LIGHTS_TOGGLE 0",  "SPOILERS_SET 0",    "ENGINE_AUTO_START 0",
        "NAV_LIGHTS_SET 1",  "BEACON_LIGHTS_SET 1", "LANDING_LIGHTS_SET 0", "TAXI_LIGHTS_SET 1", "STROBES_SET 0",
        "LOGO_LIGHTS_SET 1", "CABIN_LIGHTS_SET 1",  "THROTTLE_SET 0",       "FLAPS_SET 3072"};
    std::vector<std::string> seen;
    ASSERT_TRUE(waitFor([&] {
        seen = eventsOf(liveAircraft[0].callsign);
        return seen.size() >= expected.size() + 3;
    }));
    EXPECT_EQ(std::vector(seen.begin() + 3, seen.begin() + 3 + static_cast<std::ptrdiff_t>(expected.size())), expected);
}

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

TEST_F(SimulatorTest, ARefusedTitleComesBackAsARefusal) {
    {
        const auto sim = world::worldSimulator();
        sim->faults.refuseAll = true;
    }
    feedFlight(firstHex, 4, 0.05);
    tickCount = liveAircraft.at(0).stream.front().tick - 100;
    ASSERT_TRUE(tickUntil([] { return liveAircraft.empty(); }));
    EXPECT_TRUE(isRefused("FSLTL_DLH"));
}

} // namespace
} // namespace kes::test
