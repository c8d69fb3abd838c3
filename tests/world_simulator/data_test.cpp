// SPDX-License-Identifier: MIT
// Data definitions: names, units, types, periods and flags.
#include "core/clock.h"
#include "raw_client.h"

#include <gtest/gtest.h>

namespace kes::world::test {
namespace {

/// Asks once for a single datum of an object.
Message ask(World& world, RawClient& client, std::uint32_t object, std::string_view datum, std::string_view unit,
            std::uint32_t type) {
    static std::uint32_t id = 5000;
    client.define(++id, datum, unit, type);
    client.request(id, id, object, 1);
    world.frame();
    const auto replies = client.take(kind::data);
    return replies.empty() ? Message{Bytes(400)} : replies.back();
}

double number(const Message& message, std::uint32_t type) {
    return type == 1   ? message.get<std::int32_t>(40)
           : type == 2 ? static_cast<double>(message.get<std::int64_t>(40))
           : type == 3 ? static_cast<double>(message.get<float>(40))
                       : message.f64(40);
}

TEST(Data, ConvertsUnitsAndTypes) {
    setWallClockMs(1'709'209'845'000); // 2024-02-29 12:30:45
    World world;
    setWallClockMs(-1);
    SimObject& user = world.simulator.user;
    world.simulator.motion.mode = UserMotion::Mode::stand;
    user.lat = 50;
    user.heading = 1.5;
    user.alt = 1300;
    user.lights = 0x203;
    RawClient client(world.simulator);
    client.take();
    const struct {
        const char *datum, *unit;
        std::uint32_t type;
        double expected;
    } cases[] = {
        {"PLANE LATITUDE", "degrees", 4, 50},
        {"plane longitude", "Degree", 3, 8},
        {"Plane Heading degrees true", "radians", 4, 1.5},
        {"Plane Altitude", "feet", 4, 1300},
        {"Plane Altitude", "meters", 1, 396},
        {"Plane Alt Above Ground", "feet", 2, 1000},
        {"Ground Altitude", "ft", 4, 300},
        {"SIM ON GROUND", "Bool", 2, 0},
        {"LIGHT STATES", "Mask", 2, 0x203},
        {"Light On States", "Mask", 4, 0x203},
        {"ZULU TIME", "Seconds", 2, 45045},
        {"ZULU DAY OF YEAR", "Number", 2, 60},
        {"ZULU YEAR", "Number", 2, 2024},
    };
    for (const auto& one : cases) {
        const Message reply = ask(world, client, 0, one.datum, one.unit, one.type);
        EXPECT_EQ(reply.bytes.size(), 40u + (one.type == 1 || one.type == 3 ? 4 : 8)) << one.datum << " " << one.unit;
        // A few frames have passed since the start, and a float has its own grain.
        const double tolerance = one.type == 3 ? 1e-6 : std::string_view(one.datum) == "ZULU TIME" ? 1.0 : 1e-9;
        EXPECT_NEAR(number(reply, one.type), one.expected, tolerance) << one.datum << " " << one.unit;
    }
    user.lat = 0;
    user.tas = 100;
    world.simulator.motion = {UserMotion::Mode::fly, 100, 90, -600, {}, 0};
    EXPECT_NEAR(number(ask(world, client, 0, "Ground Velocity", "knots", 4), 4), 100, 1e-9);
}

TEST(Data, RequestsKeepTheirPeriod) {
    World world;
    RawClient client(world.simulator);
    client.define(409, "SIM ON GROUND", "Bool", 2);
    const auto replies = [&](double seconds) {
        client.take();
        world.seconds(seconds);
        return client.take(kind::data).size();
    };
    const std::pair<std::uint32_t, std::size_t> inFourSeconds[] = {{1, 1}, {2, 120}, {3, 120}, {4, 4}};
    for (const auto& [period, count] : inFourSeconds) {
        client.request(108, 409, 0, period);
        EXPECT_EQ(replies(4.0), count) << "period " << period;
        client.request(108, 409, 0, 0); // "never"; complains when it has ended by itself
        EXPECT_EQ(replies(2.0), 0u);
    }
    client.request(108, 409, 0, 2);
    client.request(108, 409, 0, 4); // replaces
    EXPECT_EQ(replies(3.0), 3u);
    const std::uint32_t id = client.created("T", "X", 50, 8, 1000);
    client.request(109, 409, id, 2);
    client.remove(id);
    EXPECT_EQ(replies(1.0), 1u) << "the object took its request with it";
    EXPECT_EQ(client.session().requests.size(), 1u);
}

} // namespace
} // namespace kes::world::test
