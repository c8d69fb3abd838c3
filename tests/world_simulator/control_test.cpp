// SPDX-License-Identifier: MIT
// Commands, and time.
#include "core/geo.h"
#include "raw_client.h"
#include "world/simulator/control.h"

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace kes::world::test {
namespace {

TEST(Control, RefusesAndAcceptsCreates) {
    World world;
    RawClient client(world.simulator);
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

TEST(Control, StopsTheSimAndTheFrames) {
    World world;
    RawClient client(world.simulator);
    client.subscribe(201, "SIM");
    client.subscribe(204, "Frame");
    client.subscribe(205, "FlightLoaded");
    client.subscribe(203, "ObjectRemoved");
    const std::uint32_t id = client.created("T", "X", 50, 8, 1000);
    const auto simEvents = [&] {
        std::vector<std::uint32_t> values;
        for (const Message& message : client.take(kind::event))
            values.push_back(message.u32(20));
        return values;
    };
    EXPECT_EQ(runCommand(world.simulator, "sim 0"), "ok");
    EXPECT_EQ(runCommand(world.simulator, "sim 0"), "ok");
    world.seconds(5);
    EXPECT_EQ(simEvents(), std::vector<std::uint32_t>{0}) << "a state that stays is not told again";
    EXPECT_EQ(runCommand(world.simulator, "sim 1"), "ok");
    EXPECT_EQ(simEvents(), std::vector<std::uint32_t>{1});

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
    auto messages = client.take();
    ASSERT_EQ(messages.size(), 3u);
    EXPECT_EQ(messages[0].u32(20), 0u);
    EXPECT_EQ(messages[1].u32(16), 203u);
    EXPECT_EQ(messages[1].u32(20), id);
    ASSERT_EQ(messages[2].bytes.size(), 288u);
    EXPECT_EQ(messages[2].kind(), kind::filename);
    EXPECT_EQ(messages[2].u32(16), 205u);
    EXPECT_EQ(messages[2].text(24, 260), "C:\\flights\\b.flt");
    world.seconds(1.9);
    EXPECT_EQ(simEvents().size(), 0u);
    world.seconds(0.2);
    EXPECT_EQ(simEvents(), std::vector<std::uint32_t>{1});
}

TEST(Control, TeleportsTheUser) {
    World world;
    EXPECT_EQ(runCommand(world.simulator, "teleport 48.35 11.78 9000 270"), "ok");
    world.seconds(1);
    EXPECT_EQ(world.simulator.user.lat, 48.35);
    EXPECT_EQ(world.simulator.user.alt, 9000.0);
    EXPECT_NEAR(world.simulator.user.heading, 1.5 * pi, 1e-12);
    EXPECT_EQ(runCommand(world.simulator, "airfield 48.35,11.78,1487"), "ok");
    EXPECT_EQ(runCommand(world.simulator, "teleport 48.35,11.78,0"), "ok");
    EXPECT_EQ(world.simulator.user.alt, 1487 + world.simulator.user.staticCg) << "never below the ground";
}

TEST(Control, ComplainsAboutWhatItDoesNotUnderstand) {
    World world;
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

TEST(Control, ReportsInJson) {
    World world;
    RawClient client(world.simulator);
    client.definePose();
    const std::uint32_t id = client.created("Caf\xE9 A320", "DLH1", 50, 8, 300, true);
    client.map(1, "NAV_LIGHTS_SET");
    client.transmit(id, 1, 1);
    client.remove(4711);
    world.seconds(1);
    const auto report = nlohmann::json::parse(runCommand(world.simulator, "report"));
    EXPECT_EQ(report["objectsCreated"], 1);
    EXPECT_EQ(report["peakObjects"], 1);
    EXPECT_EQ(report["exceptions"]["3"], 1);
    EXPECT_EQ(report["events"]["NAV_LIGHTS_SET"], 1);
    EXPECT_EQ(report["packetsReceived"], 13);
    EXPECT_EQ(report["largestGapMs"], 0.0);
    const auto objects = nlohmann::json::parse(runCommand(world.simulator, "objects"));
    ASSERT_EQ(objects.size(), 1u);
    EXPECT_EQ(objects[0]["tail"], "DLH1");
    EXPECT_EQ(objects[0]["onGround"], true);
    EXPECT_EQ(objects[0]["lights"], 1);
}

TEST(Time, FramesNeitherDriftNorPileUp) {
    World world;
    RawClient client(world.simulator);
    client.subscribe(204, "Frame");
    client.subscribe(205, "1sec");
    client.subscribe(206, "4sec");
    client.subscribe(207, "6Hz");
    client.take();
    // Ten minutes in steps that fit no frame.
    for (int i = 0; i < 60000; ++i)
        advance(world.simulator, 10'000'000);
    std::map<std::uint32_t, int> count;
    for (const Message& message : client.take())
        ++count[message.u32(16)];
    EXPECT_EQ(count[204], 18000);
    EXPECT_EQ(count[205], 600);
    EXPECT_EQ(count[206], 150);
    EXPECT_EQ(count[207], 3600);
    advance(world.simulator, 5'000'000'000, true);
    EXPECT_EQ(client.take(kind::frame).size(), 1u) << "a machine that was busy for five seconds";
}

} // namespace
} // namespace kes::world::test
