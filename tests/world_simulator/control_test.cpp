// SPDX-License-Identifier: MIT
// The commands of the control port, as a script or a person gives them.
#include "raw_client.h"
#include "world/simulator/control.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace kes::world::test {
namespace {

struct Control : testing::Test {
    World world;
    RawClient client{world.simulator};
};

TEST_F(Control, RefusesAndAcceptsCreates) {
    const auto works = [&](const char* title) { return client.created(title, "X", 50, 8, 1000) != 0; };
    const auto tell = [&](std::string_view line) { return runCommand(world.simulator, line); };
    EXPECT_EQ(tell("refuse Bad  Airline A320"), "ok");
    EXPECT_FALSE(works("Bad  Airline A320"));
    EXPECT_TRUE(works("Good Airline A320"));
    EXPECT_EQ(tell("accept Bad  Airline A320"), "ok");
    EXPECT_TRUE(works("Bad  Airline A320"));
    EXPECT_EQ(tell("accept Bad  Airline A320").substr(0, 6), "error:");
    EXPECT_EQ(tell("refuse-all on"), "ok");
    EXPECT_FALSE(works("T"));
    EXPECT_EQ(tell("refuse-all off"), "ok");
    EXPECT_EQ(tell("refuse-every 3"), "ok");
    for (int i = 1; i <= 7; ++i)
        EXPECT_EQ(works("T"), i % 3 != 0) << i;
    EXPECT_EQ(tell("refuse-every 0"), "ok");
    EXPECT_TRUE(works("T"));
    EXPECT_EQ(world.simulator.counters.refusedCreates, 4u);
    EXPECT_EQ(world.simulator.counters.exceptions[22], 4u);
}

TEST_F(Control, StopsTheSimAndTheFrames) {
    client.subscribe(201, "SIM");
    client.subscribe(204, "Frame");
    client.subscribe(205, "FlightLoaded");
    client.subscribe(203, "ObjectRemoved");
    const std::uint32_t id = client.created("T", "X", 50, 8, 1000);
    client.take();
    EXPECT_EQ(runCommand(world.simulator, "sim 0"), "ok");
    EXPECT_EQ(runCommand(world.simulator, "sim 0"), "ok");
    world.seconds(5);
    EXPECT_EQ(client.told(kind::event), "event 201 0;") << "a state that stays is not told again";
    EXPECT_EQ(runCommand(world.simulator, "sim 1"), "ok");
    EXPECT_EQ(client.told(kind::event), "event 201 1;");

    EXPECT_EQ(runCommand(world.simulator, "stall 3"), "ok");
    world.seconds(2.9);
    EXPECT_EQ(client.take().size(), 0u);
    world.seconds(1.1);
    const auto resumed = client.take(kind::frame).size();
    EXPECT_GE(resumed, 30u);
    EXPECT_LE(resumed, 34u) << "lost frames are not made up for";

    EXPECT_EQ(runCommand(world.simulator, "fps 60"), "ok");
    world.seconds(1);
    const auto faster = client.take(kind::frame);
    EXPECT_EQ(faster.size(), 60u);
    EXPECT_EQ(faster[0].get<float>(24), 60.0f);

    EXPECT_EQ(runCommand(world.simulator, "newflight C:\\flights\\b.flt"), "ok");
    EXPECT_EQ(client.told(), fmt::format("event 201 0;object 203 {};event 205 C:\\flights\\b.flt;", id));
    world.seconds(1.9);
    EXPECT_EQ(client.take(kind::event).size(), 0u);
    world.seconds(0.2);
    EXPECT_EQ(client.told(kind::event), "event 201 1;");
}

TEST_F(Control, TeleportsTheUser) {
    EXPECT_EQ(runCommand(world.simulator, "teleport 48.35 11.78 9000 270"), "ok");
    world.seconds(1);
    EXPECT_EQ(world.simulator.user.lat, 48.35);
    EXPECT_EQ(world.simulator.user.alt, 9000.0);
    EXPECT_NEAR(world.simulator.user.heading, 1.5 * pi, 1e-12);
    EXPECT_EQ(runCommand(world.simulator, "airfield 48.35,11.78,1487"), "ok");
    EXPECT_EQ(runCommand(world.simulator, "teleport 48.35,11.78,0"), "ok");
    EXPECT_EQ(world.simulator.user.alt, 1487 + world.simulator.user.staticCg) << "never below the ground";
}

TEST_F(Control, ComplainsAboutWhatItDoesNotUnderstand) {
    EXPECT_EQ(runCommand(world.simulator, "  \r"), "");
    for (const char* line : {"dance", "teleport", "teleport 1 2", "teleport 95 2 3", "teleport a b c", "fps 0", "fps x",
                             "stall", "stall -1", "sim 2", "refuse", "refuse-all maybe", "refuse-every 1.5",
                             "user swim", "user fly:1", "user file:/no/such", "airfield 1,2"})
        EXPECT_EQ(runCommand(world.simulator, line).substr(0, 7), "error: ") << line;
    EXPECT_EQ(world.simulator.user.lat, 50.0);
    std::string help = runCommand(world.simulator, "help");
    for (const char* name : {"teleport", "quit", "refuse-every", "report", "newflight"})
        EXPECT_NE(help.find(name), std::string::npos);
}

TEST_F(Control, ReportsInJson) {
    client.definePose();
    const std::uint32_t id = client.created("Caf\xE9 A320", "DLH1", 50, 8, 300, true);
    client.map(1, "NAV_LIGHTS_SET");
    client.transmit(id, 1, 1);
    client.remove(4711);
    world.seconds(1);
    const auto report = nlohmann::json::parse(runCommand(world.simulator, "report"));
    EXPECT_EQ(fmt::format("{} {} {} {} {}", report["objectsCreated"].dump(), report["peakObjects"].dump(),
                          report["exceptions"].dump(), report["events"].dump(), report["packetsReceived"].dump()),
              R"(1 1 {"3":1} {"NAV_LIGHTS_SET":1} 13)");
    EXPECT_EQ(report["largestGapMs"], 0.0);
    const auto objects = nlohmann::json::parse(runCommand(world.simulator, "objects"));
    ASSERT_EQ(objects.size(), 1u);
    EXPECT_EQ(objects[0]["tail"], "DLH1");
    EXPECT_EQ(objects[0]["onGround"], true);
    EXPECT_EQ(objects[0]["lights"], 1);
}

} // namespace
} // namespace kes::world::test
