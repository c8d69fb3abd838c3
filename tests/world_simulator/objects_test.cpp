// SPDX-License-Identifier: MIT
// What goes with a client that leaves, and what the report counts.
#include "raw_client.h"

#include <gtest/gtest.h>

namespace kes::world::test {
namespace {

/// A simulator and a client that has opened.
struct Objects : testing::Test {
    World world;
    RawClient client{world.simulator};
};

TEST_F(Objects, GoWithTheirClient) {
    RawClient other(world.simulator);
    other.subscribe(203, "ObjectRemoved");
    client.definePose();
    const std::uint32_t id = client.created("T", "MINE", 50, 8, 1000);
    const std::uint32_t kept = other.created("T", "THEIRS", 50, 8, 1000);
    client.create("T", "COMING", 50, 8, 1000); // its frame never comes for this client
    client.range(101, 402, 5000);
    client.request(1, 402, id, 4);
    other.take();
    closeSession(world.simulator, client.session().id);
    EXPECT_EQ(other.told(), fmt::format("object 203 {};", id));
    world.seconds(2);
    ASSERT_EQ(world.simulator.objects.size(), 1u);
    EXPECT_EQ(world.simulator.objects[0].id, kept);
    EXPECT_EQ(world.simulator.sessions.size(), 1u);
    EXPECT_EQ(world.simulator.counters.leftBehind, 1u);
    EXPECT_EQ(world.simulator.counters.objectsCreated - world.simulator.counters.objectsRemoved, 1u);
}

TEST_F(Objects, CountTheLargestGapOfMovingObjectsOnly) {
    client.definePose();
    const std::uint32_t a = client.created("T", "A", 50, 8, 1000);
    const std::uint32_t b = client.created("T", "B", 50, 8, 1000);
    const auto put = [&](std::uint32_t id, double lat) {
        const double pose[8] = {lat, 8, 0, 0, 0, 1000, 0, 0};
        client.setPose(id, pose);
    };
    const auto gapMs = [&] { return static_cast<double>(world.simulator.counters.largestGapNs) / 1e6; };
    put(a, 50.1);
    EXPECT_EQ(gapMs(), 0.0);
    world.seconds(0.2);
    put(a, 50.2);
    EXPECT_EQ(gapMs(), 200.0);
    put(b, 50.1);
    world.seconds(5);
    put(b, 50.1); // stands: no gap
    EXPECT_EQ(gapMs(), 200.0);
    put(a, 50.2);
    world.seconds(0.1);
    put(a, 50.3); // stood five seconds, then moved within 100 ms
    EXPECT_EQ(gapMs(), 200.0);
    world.seconds(0.3);
    put(b, 50.2);
    EXPECT_EQ(gapMs(), 400.0);
    EXPECT_EQ(world.simulator.counters.largestGapTail, "B");

    // Breaks of the simulator's own making.
    stallFrames(world.simulator, 3);
    world.seconds(4);
    put(b, 50.3);
    EXPECT_EQ(gapMs(), 400.0);
    setSimRunning(world.simulator, false);
    world.seconds(4);
    setSimRunning(world.simulator, true);
    put(b, 50.4);
    EXPECT_EQ(gapMs(), 400.0);

    // A clock outside takes the place of model time.
    world.simulator.outsideNs = 1'000'000'000;
    put(a, 50.4);
    world.simulator.outsideNs += 700'000'000;
    put(a, 50.5);
    EXPECT_EQ(gapMs(), 700.0);
    EXPECT_EQ(world.simulator.counters.positionRecords, 11u);
    EXPECT_EQ(findObject(world.simulator, a)->positionRecords, 6u);

    // Speeds are taken over two seconds, from records that come without a break.
    put(b, 20);
    for (int i = 1; i <= 11; ++i) {
        world.simulator.outsideNs += 400'000'000;
        put(a, 50.5 + i * 0.4 * 250.0 / 3600.0 / 60.0);
    }
    put(b, 50);
    const auto& speeds = world.simulator.counters.speeds.flights();
    ASSERT_EQ(speeds.size(), 1U);
    ASSERT_EQ(speeds.at("A").size(), 1U);
    EXPECT_NEAR(speeds.at("A").at("0"), 250, 1);
}

} // namespace
} // namespace kes::world::test
