// SPDX-License-Identifier: MIT
// Data definitions: names, units, types, periods and flags.
#include "core/clock.h"
#include "raw_client.h"

#include <cmath>
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
        {"Plane Latitude", "radians", 4, 0.8726646259971648},
        {"plane longitude", "Degree", 3, 8},
        {"Plane Heading degrees true", "degree", 4, 85.94366926962348},
        {"Plane Heading degrees true", "radians", 3, 1.5},
        {"Plane Altitude", "feet", 4, 1300},
        {"Plane Altitude", "meters", 4, 396.24},
        {"Plane Altitude", "meters", 1, 396},
        {"Plane Altitude", "nautical miles", 4, 1300 / 6076.11549},
        {"Plane Alt Above Ground", "feet", 2, 1000},
        {"Ground Altitude", "ft", 4, 300},
        {"SIM ON GROUND", "Bool", 2, 0},
        {"LIGHT STATES", "Mask", 2, 0x203},
        {"Light On States", "Mask", 4, 0x203},
        {"LIGHT LOGO", "Bool", 1, 0},
        {"LIGHT BEACON", "Bool", 1, 1},
        {"GEAR HANDLE POSITION", "Bool", 2, 1},
        {"ZULU TIME", "Seconds", 2, 45045},
        {"ZULU TIME", "hours", 4, 12.5125},
        {"ZULU DAY OF YEAR", "Number", 2, 60},
        {"ZULU DAY OF MONTH", "Number", 2, 29},
        {"ZULU MONTH OF YEAR", "Number", 2, 2},
        {"ZULU YEAR", "Number", 2, 2024},
        {"IS USER SIM", "Bool", 1, 1},
    };
    for (const auto& one : cases) {
        const Message reply = ask(world, client, 0, one.datum, one.unit, one.type);
        EXPECT_EQ(reply.bytes.size(), 40u + (one.type == 1 || one.type == 3 ? 4 : 8)) << one.datum << " " << one.unit;
        // A few frames have passed since the start, and a float has its own grain.
        const double tolerance = one.type == 3 ? 1e-6 : std::string_view(one.datum) == "ZULU TIME" ? 1.0 : 1e-9;
        EXPECT_NEAR(number(reply, one.type), one.expected, tolerance) << one.datum << " " << one.unit;
    }
    const struct {
        std::int64_t seconds;
        const char* date; ///< "year month day day-of-year"
    } dates[] = {{0, "1970 1 1 1 "},
                 {951782400, "2000 2 29 60 "},
                 {978307100, "2000 12 31 366 "}, // a leap year by the rule of the 400 years
                 {1735689600, "2025 1 1 1 "},
                 {4107542400, "2100 3 1 60 "}}; // none by that of the 100 years
    for (const auto& one : dates) {
        world.simulator.epochMs = one.seconds * 1000 - world.simulator.timeNs / 1'000'000;
        std::string date;
        for (const char* datum : {"ZULU YEAR", "ZULU MONTH OF YEAR", "ZULU DAY OF MONTH", "ZULU DAY OF YEAR"})
            date += fmt::format("{} ", number(ask(world, client, 0, datum, "Number", 2), 2));
        EXPECT_EQ(date, one.date) << one.seconds;
    }
    user.lat = 0;
    user.alt = 300;
    user.tas = 100;
    user.vs = -10;
    world.simulator.motion = {UserMotion::Mode::fly, 100, 90, -600, {}, 0};
    EXPECT_NEAR(number(ask(world, client, 0, "Ground Velocity", "knots", 4), 4), 100, 1e-9);
    EXPECT_NEAR(number(ask(world, client, 0, "Airspeed True", "meters per second", 4), 4), 51.4444, 1e-4);
}

TEST(Data, TextsFillTheirFieldAndKeepAZero) {
    SimulatorOptions options = World::flat();
    options.userTitle = "A title of forty characters, not one less";
    World world(options);
    RawClient client(world.simulator);
    const Message fixed = ask(world, client, 0, "TITLE", "", 6);
    EXPECT_EQ(fixed.bytes.size(), 72u);
    EXPECT_EQ(fixed.text(40, 32), options.userTitle.substr(0, 31));
    EXPECT_EQ(fixed.bytes[71], std::byte{0});
    const Message variable = ask(world, client, 0, "TITLE", "", 11);
    EXPECT_EQ(variable.bytes.size(), 40 + options.userTitle.size() + 1);
    EXPECT_EQ(variable.text(40, 300), options.userTitle);
    EXPECT_EQ(ask(world, client, 0, "ATC MODEL", "none", 6).text(40, 32), "A320");
    // Between other values, a variable text takes just its room.
    client.define(900, "Plane Altitude", "feet");
    client.define(900, "ATC MODEL", "", 11);
    client.define(900, "SIM ON GROUND", "Bool", 1);
    client.request(1, 900, 0, 1);
    world.frame();
    const Message mixed = client.take(kind::data).at(0);
    EXPECT_EQ(mixed.bytes.size(), 40u + 8 + 5 + 4);
    EXPECT_EQ(mixed.text(48, 5), "A320");
    EXPECT_EQ(mixed.get<std::int32_t>(53), 1);
}

TEST(Data, WholeNumbersAreHeldAtTheirLimits) {
    Field field;
    std::byte bytes[8];
    const double values[] = {1e30, -1e30, std::nan(""), 2.5e9, -2.6, 2147483647.4};
    const std::int32_t narrow[] = {INT32_MAX, INT32_MIN, 0, INT32_MAX, -3, INT32_MAX};
    const std::int64_t wide[] = {INT64_MAX, INT64_MIN, 0, 2'500'000'000, -3, 2147483647};
    for (std::size_t i = 0; i < std::size(values); ++i) {
        field.type = simconnect::DataType::int32;
        packNumber(field, values[i], bytes);
        EXPECT_EQ(unpackNumber(field, ByteReader(bytes)), narrow[i]) << values[i];
        field.type = simconnect::DataType::int64;
        packNumber(field, values[i], bytes);
        std::int64_t whole;
        std::memcpy(&whole, bytes, sizeof whole);
        EXPECT_EQ(whole, wide[i]) << values[i];
    }
}

TEST(Data, AnyOrderAndUnitOfADefinitionIsUnderstood) {
    World world;
    RawClient client(world.simulator);
    client.define(1, "Airspeed True", "feet per second");
    client.define(1, "ATC ID", "", 5);
    client.define(1, "Plane Longitude", "radians");
    client.define(1, "GENERAL ENG THROTTLE LEVER POSITION:2", "percent", 1);
    client.define(1, "Plane Latitude", "radians", 3);
    const std::uint32_t id = client.created("T", "OLD", 50, 8, 1000);
    Packet values = client.next(0x10).u32(1).u32(id).zeros(8).u32(32);
    client.send(values.add(168.781).text("NEWTAIL", 8).add(-0.5).add(std::int32_t{-40}).add(0.75f));
    EXPECT_EQ(client.take(kind::exception).size(), 0u);
    const SimObject& object = *findObject(world.simulator, id);
    EXPECT_NEAR(object.tas, 100.0, 1e-3);
    EXPECT_EQ(object.tail, "NEWTAIL");
    EXPECT_NEAR(object.lon, -28.64788975654116, 1e-9);
    EXPECT_NEAR(object.lat, 42.97183463481174, 1e-6);
    EXPECT_EQ(object.throttle[1], -40);
    EXPECT_EQ(world.simulator.counters.positionRecords, 1u);
}

TEST(Data, SeveralElementsAndTaggedValuesAreTaken) {
    World world;
    RawClient client(world.simulator);
    client.define(1, "Plane Altitude", "feet", 4, 70);
    client.define(1, "Airspeed True", "knots", 3, 71);
    const std::uint32_t id = client.created("T", "X", 50, 8, 1000);
    client.send(client.next(0x10).u32(1).u32(id).u32(0).u32(2).u32(12).add(2000.0).add(10.0f).add(3000.0).add(20.0f));
    const SimObject& object = *findObject(world.simulator, id);
    EXPECT_EQ(object.alt, 3000.0);
    EXPECT_EQ(object.tas, 20.0);
    const auto answerToTag = [&](std::uint32_t tag) {
        client.send(client.next(0x10).u32(1).u32(id).u32(1).u32(1).u32(8).u32(tag).add(33.0f));
        return client.told().substr(0, 12);
    };
    EXPECT_EQ(answerToTag(71), "");
    EXPECT_EQ(object.alt, 3000.0);
    EXPECT_EQ(object.tas, 33.0);
    EXPECT_EQ(answerToTag(72), "exception 30");
    EXPECT_EQ(answerToTag(70), "exception 19") << "half an altitude";
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
    const struct {
        std::uint32_t period, origin, interval, limit;
        std::size_t inFourSeconds;
    } cases[] = {{1, 0, 0, 0, 1}, {2, 0, 0, 0, 120}, {3, 0, 0, 0, 120}, {4, 0, 0, 0, 4},
                 {4, 2, 0, 0, 2}, {4, 0, 1, 0, 2},   {2, 0, 0, 7, 7},   {2, 60, 9, 0, 6}};
    for (const auto& one : cases) {
        client.request(108, 409, 0, one.period, 0, one.origin, one.interval, one.limit);
        EXPECT_EQ(replies(4.0), one.inFourSeconds) << "period " << one.period << " interval " << one.interval;
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

TEST(Data, OnlyChangesAreSentWhenOnlyTheyAreWanted) {
    World world;
    RawClient client(world.simulator);
    client.define(1, "Plane Altitude", "feet", 4, 50, 10.0f);
    client.define(1, "LIGHT NAV", "Bool", 1, 51);
    const std::uint32_t id = client.created("T", "X", 50, 8, 1000);
    SimObject& object = *findObject(world.simulator, id);
    object.freezeAltitude = true;
    client.request(1, 1, id, 2, 1);
    client.request(2, 1, id, 2, 3);
    world.frame();
    EXPECT_EQ(client.take(kind::data).size(), 2u);
    world.frame();
    EXPECT_EQ(client.take(kind::data).size(), 0u);
    object.alt = 1009; // within the epsilon
    world.frame();
    EXPECT_EQ(client.take(kind::data).size(), 0u);
    object.lights = light::nav;
    world.frame();
    auto replies = client.take(kind::data);
    ASSERT_EQ(replies.size(), 2u);
    EXPECT_EQ(replies[0].bytes.size(), 52u);
    EXPECT_EQ(replies[0].f64(40), 1009);
    ASSERT_EQ(replies[1].bytes.size(), 48u);
    EXPECT_EQ(replies[1].u32(36), 1u);
    EXPECT_EQ(replies[1].u32(40), 51u);
    EXPECT_EQ(replies[1].u32(44), 1u);
    object.alt = 1012; // 3 feet since the plain message, 12 since the last tagged altitude
    world.frame();
    replies = client.take(kind::data);
    ASSERT_EQ(replies.size(), 1u);
    EXPECT_EQ(replies[0].u32(12), 2u);
    EXPECT_EQ(replies[0].u32(40), 50u);
    EXPECT_EQ(replies[0].f64(44), 1012);
}

TEST(Data, TaggedRepliesNameEachValue) {
    World world;
    RawClient client(world.simulator);
    client.define(1, "Ground Altitude", "feet", 4, 77);
    client.define(1, "ATC MODEL", "", 11);
    client.request(1, 1, 0, 1, 2);
    world.frame();
    const Message reply = client.take(kind::data).at(0);
    EXPECT_EQ(reply.bytes.size(), 40u + 12 + 4 + 5);
    EXPECT_EQ(reply.u32(24), 2u);
    EXPECT_EQ(reply.u32(40), 77u);
    EXPECT_EQ(reply.f64(44), 300);
    EXPECT_EQ(reply.u32(52), 1u) << "without an id of its own a value goes by its place";
    EXPECT_EQ(reply.text(56, 5), "A320");
}

} // namespace
} // namespace kes::world::test
