// SPDX-License-Identifier: MIT
// The stream of one client: its bytes, and which exception answers what.
#include "raw_client.h"

#include <gtest/gtest.h>

namespace kes::world::test {
namespace {

Bytes hex(std::string_view digits) {
    Bytes bytes;
    int half = -1;
    for (const char c : digits) {
        if (c == ' ')
            continue;
        const int value = c <= '9' ? c - '0' : c - 'A' + 10;
        if (half >= 0)
            bytes.push_back(static_cast<std::byte>(half * 16 + value));
        half = half >= 0 ? -1 : value;
    }
    return bytes;
}

// Bytes as other clients write them, up to the padding.
TEST(Session, ReadsAndWritesKnownBytes) {
    World world;
    RawClient client(world.simulator);
    const auto theOne = [&](std::uint32_t wanted) {
        const auto messages = client.take(wanted);
        EXPECT_EQ(messages.size(), 1u) << wanted;
        return messages.empty() ? Bytes() : messages[0].bytes;
    };
    const Bytes open = theOne(kind::open);
    ASSERT_EQ(open.size(), 308u);
    EXPECT_EQ(Bytes(open.begin(), open.begin() + 21),
              hex("34 01 00 00 04 00 00 00 02 00 00 00 4B 69 74 74 79 48 61 77 6B"));
    EXPECT_EQ(Bytes(open.begin() + 268, open.end()),
              hex("0B 00 00 00 00 00 00 00 3E 4E 04 00 E7 03 00 00 0B 00 00 00 00 00 00 00 BB F4 00 00 "
                  "03 00 00 00 00 00 00 00 00 00 00 00"));
    Bytes subscribe = hex("14 01 00 00 04 00 00 00 17 00 00 F0 01 00 00 00 CC 00 00 00 46 72 61 6D 65");
    subscribe.resize(276);
    setFrameRate(world.simulator, 59.5);
    receive(world.simulator, client.session(), subscribe);
    advance(world.simulator, 17'000'000);
    EXPECT_EQ(theOne(kind::frame),
              hex("20 00 00 00 04 00 00 00 07 00 00 00 FF FF FF FF CC 00 00 00 00 00 00 00 00 00 6E 42 00 00 80 3F"));

    Bytes datum = hex("20 02 00 00 04 00 00 00 0C 00 00 F0 05 00 00 00 99 01 00 00");
    datum.resize(544);
    std::memcpy(&datum[20], "SIM ON GROUND", 13);
    std::memcpy(&datum[276], "Bool", 4);
    datum[532] = std::byte{2};
    std::memset(&datum[540], 0xFF, 4);
    receive(world.simulator, client.session(), datum);
    receive(world.simulator, client.session(),
            hex("30 00 00 00 04 00 00 00 0E 00 00 F0 07 00 00 00 6C 00 00 00 99 01 00 00 00 00 00 00 04 00 00 00 "
                "00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00"));
    world.seconds(1.1);
    EXPECT_EQ(theOne(kind::data),
              hex("30 00 00 00 04 00 00 00 08 00 00 00 6C 00 00 00 01 00 00 00 99 01 00 00 00 00 00 00 01 00 00 00 "
                  "01 00 00 00 01 00 00 00 01 00 00 00 00 00 00 00"));

    client.subscribe(202, "objectadded");
    receive(world.simulator, client.session(),
            client.next(0x29).text("T", 256).text("A", 12).zeros(56).u32(104).bytes());
    world.frame();
    EXPECT_EQ(theOne(kind::addRemove),
              hex("1C 00 00 00 04 00 00 00 05 00 00 00 FF FF FF FF CA 00 00 00 64 00 00 00 02 00 00 00"));
    quitSimulator(world.simulator);
    EXPECT_EQ(theOne(kind::quit), hex("0C 00 00 00 04 00 00 00 03 00 00 00"));
}

TEST(Session, FaultsOfACallBringItsException) {
    World world;
    RawClient client(world.simulator), other(world.simulator);
    client.definePose();
    client.define(404, "SIM ON GROUND", "Bool", 2);
    client.map(214, "GEAR_SET");
    client.group(301, 214);
    const std::uint32_t mine = client.created("T", "MINE", 50, 8, 5000);
    const std::uint32_t foreign = other.created("T", "FOREIGN", 50, 8, 5000);
    ASSERT_EQ(client.take(kind::exception).size(), 0u);

    const double pose[8] = {50, 8, 0, 0, 0, 5000, 0, 0};
    const double beyond[8] = {91, 8, 0, 0, 0, 5000, 0, 0};
    const double nowhere[8] = {50, 8, 0, 0, 0, std::numeric_limits<double>::quiet_NaN(), 0, 0};
    const auto setData = [&](std::uint32_t definition, std::uint32_t count, std::uint32_t unit, std::size_t bytes) {
        client.send(client.next(0x10).u32(definition).u32(mine).u32(0).u32(count).u32(unit).zeros(bytes));
    };
    const struct {
        const char* name;
        std::uint32_t exception;
        std::int32_t index;
        std::function<void()> call;
    } cases[] = {
        {"a byte too few", 2, 0, [&] { client.send(client.next(0x2C).zeros(7)); }},
        {"a byte too much", 2, 0, [&] { client.send(client.next(0x2C).zeros(9)); }},
        {"datum name", 7, 2, [&] { client.define(500, "No Such Datum", "feet"); }},
        {"unit name", 7, 3, [&] { client.define(500, "Plane Latitude", "furlongs"); }},
        {"no definition", 3, 2, [&] { client.request(1, 499, 0, 1); }},
        {"no object", 3, 3, [&] { client.request(1, 402, 4711, 1); }},
        {"nothing to stop", 3, 1, [&] { client.request(1, 402, 0, 0); }},
        {"range without definition", 3, 2, [&] { client.range(1, 499, 1000); }},
        {"range too wide", 31, 3, [&] { client.range(1, 404, 200001); }},
        {"set without definition", 3, 1, [&] { setData(499, 1, 64, 64); }},
        {"set on no object", 3, 2, [&] { client.setPose(4711, pose); }},
        {"set what is read only", 20, 1, [&] { setData(404, 1, 8, 8); }},
        {"set too little", 19, 5, [&] { setData(402, 1, 64, 63); }},
        {"set too much", 19, 5, [&] { setData(402, 1, 64, 65); }},
        {"set beyond the pole", 20, 6, [&] { client.setPose(mine, beyond); }},
        {"set no number", 20, 6, [&] { client.setPose(mine, nowhere); }},
        {"event name", 7, 2, [&] { client.map(300, "NO_SUCH_EVENT"); }},
        {"event id twice", 9, 1, [&] { client.map(214, "FLAPS_SET"); }},
        {"system event name", 7, 2, [&] { client.subscribe(300, "NoSuchEvent"); }},
        {"group member unknown", 3, 2, [&] { client.group(301, 999); }},
        {"transmit to no object", 3, 1, [&] { client.transmit(4711, 214, 1); }},
        {"transmit no event", 3, 2, [&] { client.transmit(mine, 999, 1); }},
        {"create beyond the pole", 31, 3, [&] { client.create("T", "X", 90.5, 8, 0); }},
        {"create at no number", 20, 3, [&] { client.create("T", "X", std::numeric_limits<double>::infinity(), 8, 0); }},
        {"create without title", 22, 1, [&] { client.create("", "X", 50, 8, 0); }},
        {"remove nothing", 3, 1, [&] { client.remove(4711); }},
        {"remove a foreign object", 25, 1, [&] { client.remove(foreign); }},
        {"remove the user", 25, 1, [&] { client.remove(1); }},
        {"release nothing", 3, 1, [&] { client.send(client.next(0x2B).u32(4711).u32(103)); }},
        {"plan without a file", 23, 2,
         [&] { client.send(client.next(0x2D).u32(mine).text("/no/such/plan.pln", 260).u32(110)); }},
    };
    for (const auto& one : cases) {
        SCOPED_TRACE(one.name);
        const std::uint64_t before = world.simulator.counters.exceptions[one.exception];
        one.call();
        EXPECT_EQ(client.told(), client.refused(one.exception, one.index));
        EXPECT_EQ(world.simulator.counters.exceptions[one.exception], before + 1);
    }
    EXPECT_EQ(findObject(world.simulator, mine)->alt, 5000.0) << "a refused record must not move anything";
}

} // namespace
} // namespace kes::world::test
