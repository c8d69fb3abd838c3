// SPDX-License-Identifier: MIT
// The commands of the control port, as a script or a person gives them.
#include "raw_client.h"
#include "world/simulator/control.h"

#include <gtest/gtest.h>

namespace kes::world::test {
namespace {

struct Control : testing::Test {
    World world;
    RawClient client{world.simulator};
};

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

    EXPECT_EQ(runCommand(world.simulator, "newflight C:\\flights\\b.flt"), "ok");
    EXPECT_EQ(client.told(), fmt::format("event 201 0;object 203 {};event 205 C:\\flights\\b.flt;", id));
    world.seconds(1.9);
    EXPECT_EQ(client.take(kind::event).size(), 0u);
    world.seconds(0.2);
    EXPECT_EQ(client.told(kind::event), "event 201 1;");
}

} // namespace
} // namespace kes::world::test
