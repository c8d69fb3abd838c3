// SPDX-License-Identifier: MIT
// AI objects as their client and the others see them, and what the report counts.
#include "core/geo.h"
#include "raw_client.h"

#include <cmath>
#include <gtest/gtest.h>

namespace kes::world::test {
namespace {

/// A simulator and a client that has opened.
struct OneClient : testing::Test {
    World world;
    RawClient client{world.simulator};
};
using Objects = OneClient;
using Report = OneClient;

constexpr double pose1[8] = {50.1, 8.2, -0.02, 0.1, 1.5, 4000, -5, 210};

TEST_F(Objects, LiveFromCreateToRemove) {
    RawClient watcher(world.simulator);
    for (RawClient* one : {&client, &watcher}) {
        one->subscribe(202, "ObjectAdded");
        one->subscribe(203, "OBJECTREMOVED");
        one->take();
    }
    client.definePose();
    client.create("Airline A320", "LONGCALLSIGN99", 50.1, 8.2, 4000);
    EXPECT_EQ(client.told(), "") << "nothing happens between frames";
    world.frame();
    const std::uint32_t id = world.simulator.objects.at(0).id;
    EXPECT_GT(id, 2u) << "ids up to 2 are taken for the user's";
    EXPECT_EQ(client.told(), fmt::format("assigned 104 {0};object 202 {0};", id));
    EXPECT_EQ(watcher.told(), fmt::format("object 202 {};", id)) << "the id is the creator's affair";

    client.setPose(id, pose1);
    client.request(120, 402, id, 1);
    findObject(world.simulator, id)->freezeLatLon = findObject(world.simulator, id)->freezeAltitude = true;
    world.frame();
    const auto back = client.take();
    ASSERT_EQ(back.size(), 1u);
    ASSERT_EQ(back[0].bytes.size(), 104u);
    for (std::size_t i = 0; i < 8; ++i)
        EXPECT_EQ(back[0].f64(40 + 8 * i), pose1[i]) << i;
    world.frame();
    EXPECT_EQ(client.take().size(), 0u) << "once is once";
    EXPECT_EQ(findObject(world.simulator, id)->tail, "LONGCALLSIG");

    client.remove(id);
    client.remove(id); // the second finds nothing any more
    EXPECT_EQ(client.told(), client.refused(3, 1));
    client.setPose(id, pose1); // may still be on its way
    world.frame();
    for (RawClient* one : {&client, &watcher})
        EXPECT_EQ(one->told(), fmt::format("object 203 {};", id));
    EXPECT_EQ(findObject(world.simulator, id), nullptr);
    EXPECT_NE(client.created("T", "N", 50, 8, 1000), id) << "ids are not used again";
}

TEST_F(Objects, AFramesMessagesHaveAnOrder) {
    client.subscribe(202, "ObjectAdded");
    client.subscribe(203, "ObjectRemoved");
    client.subscribe(204, "Frame");
    client.subscribe(205, "1sec");
    client.define(404, "SIM ON GROUND", "Bool", 2);
    const std::uint32_t old = client.created("T", "OLD", 50, 8, 1000);
    client.request(108, 404, 0, 4);
    advance(world.simulator, 990'000'000 - world.simulator.timeNs);
    client.take();
    client.range(101, 404, 5000);
    client.request(109, 404, 0, 1);
    client.create("T", "NEW", 50, 8, 1000);
    client.remove(old);
    world.seconds(0.02); // just the frame at one second
    std::vector<std::uint32_t> kinds;
    for (const Message& message : client.take())
        kinds.push_back(message.kind());
    EXPECT_EQ(kinds,
              (std::vector<std::uint32_t>{kind::frame, kind::assigned, kind::addRemove, kind::addRemove, kind::event,
                                          kind::data, kind::data, kind::dataByType, kind::dataByType}));
}

TEST_F(Objects, RangeRepliesComeLastAndAreCounted) {
    client.define(404, "Plane Alt Above Ground", "feet");
    client.define(404, "Ground Altitude", "feet");
    client.define(404, "SIM ON GROUND", "Bool", 2);
    client.define(404, "ATC ID", "", 6);
    client.create("T A320", "NEAR", 50.01, 8, 300, true);
    client.create("T", "FAR", 51, 8, 5000);
    world.frame();
    client.take();

    const std::pair<std::uint32_t, std::size_t> aircraftWithin[] = {{5000, 2}, {120000, 3}, {0, 1}};
    for (const auto& [metres, aircraft] : aircraftWithin) {
        client.range(101, 404, metres);
        world.frame();
        const auto replies = client.take();
        ASSERT_EQ(replies.size(), aircraft) << metres;
        for (std::size_t i = 0; i < replies.size(); ++i) {
            EXPECT_EQ(replies[i].kind(), kind::dataByType);
            EXPECT_EQ(replies[i].bytes.size(), 40u + 56u);
            EXPECT_EQ(replies[i].u32(28), i + 1);
            EXPECT_EQ(replies[i].u32(32), replies.size());
            EXPECT_EQ(replies[i].u32(36), 4u);
        }
        EXPECT_EQ(replies[0].u32(16), userId);
    }
    client.range(101, 404, 5000);
    world.frame();
    const Message reply = client.take().at(1);
    const double cg = findByTail(world.simulator, "NEAR")->staticCg;
    EXPECT_NEAR(reply.f64(40), cg, 1e-9);
    EXPECT_EQ(reply.f64(48), 300);
    EXPECT_EQ(reply.get<std::int64_t>(56), 1);
    EXPECT_EQ(reply.text(64, 32), "NEAR");
}

TEST_F(Objects, StaySetWhileFrozenAndDriftOtherwise) {
    client.definePose();
    client.map(214, "FREEZE_LATITUDE_LONGITUDE_SET");
    client.map(215, "FREEZE_ALTITUDE_SET");
    client.map(216, "freeze_attitude_set");
    const std::uint32_t id = client.created("T", "X", 50, 8, 4000);
    const double east[8] = {50, 8, 0, 0, pi / 2, 4000, -10, 360};
    const auto after = [&](double seconds) {
        client.setPose(id, east);
        world.seconds(seconds);
        return *findObject(world.simulator, id);
    };
    SimObject object = after(10);
    EXPECT_NEAR(distanceNm({50, 8}, {object.lat, object.lon}), 1.0, 0.01);
    EXPECT_GT(object.lon, 8.0);
    EXPECT_NEAR(object.alt, 3900, 1);

    client.transmit(id, 214, 1);
    object = after(10);
    EXPECT_EQ(object.lat, 50.0);
    EXPECT_EQ(object.lon, 8.0);
    EXPECT_NEAR(object.alt, 3900, 1);
    client.transmit(id, 215, 1);
    client.transmit(id, 216, 1);
    object = after(10);
    EXPECT_EQ(object.alt, 4000.0);
    EXPECT_TRUE(object.freezeAttitude);
    const double below[8] = {50, 8, 0, 0, 0, -500, 0, 0};
    client.setPose(id, below);
    world.seconds(1);
    EXPECT_EQ(findObject(world.simulator, id)->alt, -500.0)
        << "a frozen object goes where it is put, even below the ground";

    client.transmit(id, 215, 0);
    world.seconds(1);
    EXPECT_NEAR(findObject(world.simulator, id)->alt, 300 + object.staticCg, 1e-9) << "a free one stands on it";
}

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

TEST_F(Report, CountsTheLargestGapOfMovingObjectsOnly) {
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
