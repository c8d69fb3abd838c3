// SPDX-License-Identifier: MIT
// The model behind the client's own functions, in one process.
#include "raw_client.h"
#include "simconnect/transport.h"
#include "support.h"
#include "world/simulator/inproc.h"

#include <atomic>
#include <cmath>

namespace kes::world::test {
namespace {

namespace sc = simconnect;
using kes::test::waitFor;

/// What a dispatcher saw.
struct Seen {
    std::vector<Message> messages;

    static void take(const sc::Recv* message, sc::DWORD size, void* context) {
        const auto* first = reinterpret_cast<const std::byte*>(message);
        static_cast<Seen*>(context)->messages.push_back({Bytes(first, first + size)});
    }
    Message last(std::uint32_t wanted) const { return lastOf(messages, wanted); }
    bool has(std::uint32_t wanted) const { return !last(wanted).bytes.empty(); }
};

class Inproc : public testing::Test {
protected:
    void SetUp() override { inprocStart(World::flat()); }
    void TearDown() override {
        if (handle)
            sc::SimConnect_Close(handle);
        inprocStop();
    }
    void open() { ASSERT_EQ(sc::SimConnect_Open(&handle, "Kestrelune"), sc::S_OK); }
    sc::HRESULT dispatch() { return sc::SimConnect_CallDispatch(handle, Seen::take, &seen); }
    void step(double seconds = 0.034) {
        inprocStep(seconds);
        dispatch();
    }
    std::uint32_t create(const char* title, const char* tail, double alt = 5000) {
        sc::InitPosition at{};
        at.latitude = 50.01;
        at.longitude = 8;
        at.altitude = alt;
        EXPECT_EQ(sc::SimConnect_AICreateNonATCAircraft(handle, title, tail, at, 104), sc::S_OK);
        step();
        return seen.last(kind::assigned).u32(16);
    }
    void definePose() {
        const char* fields[8][2] = {{"Plane Latitude", "degree"},
                                    {"Plane Longitude", "degree"},
                                    {"Plane Pitch degrees", "radians"},
                                    {"Plane Bank degrees", "radians"},
                                    {"Plane Heading degrees true", "radians"},
                                    {"Plane Altitude", "feet"},
                                    {"Vertical Speed", "feet per second"},
                                    {"Airspeed True", "knots"}};
        for (const auto& field : fields)
            sc::SimConnect_AddToDataDefinition(handle, 402, field[0], field[1]);
    }
    sc::HANDLE handle = nullptr;
    Seen seen;
};

TEST_F(Inproc, CarriesAWholeConversation) {
    open();
    sc::SimConnect_SubscribeToSystemEvent(handle, 204, "Frame");
    sc::SimConnect_SubscribeToSystemEvent(handle, 202, "ObjectAdded");
    definePose();
    sc::SimConnect_MapClientEventToSimEvent(handle, 214, "FREEZE_ALTITUDE_SET");
    sc::SimConnect_AddClientEventToNotificationGroup(handle, 301, 214, true);
    step();
    EXPECT_TRUE(seen.has(kind::open));
    EXPECT_EQ(std::ranges::count(seen.messages, kind::frame, &Message::kind), 1);

    const std::uint32_t id = create("T A320", "A_LONG_CALLSIGN");
    ASSERT_NE(id, 0u);
    EXPECT_TRUE(seen.has(kind::addRemove));
    EXPECT_EQ(inprocObject("A_LONG_CALLSIGN")->id, id) << "looked up by the tail number as it was cut";

    sc::SimConnect_TransmitClientEvent(handle, id, 214, 1, 301, 0);
    const double pose[8] = {50.1, 8.1, -0.1, 0.2, 3, 7000, -20, 0};
    sc::SimConnect_SetDataOnSimObject(handle, 402, id, 0, 1, 64, pose);
    sc::SimConnect_RequestDataOnSimObject(handle, 120, 402, id, sc::Period::once);
    step();
    for (std::size_t i = 0; i < 8; ++i)
        EXPECT_EQ(seen.last(kind::data).f64(40 + 8 * i), pose[i]) << i;
    EXPECT_EQ(inprocObject(id)->alt, 7000);
    EXPECT_NEAR(inprocAboveGround(id), 6700, 1e-9);
    EXPECT_TRUE(std::isnan(inprocAboveGround(4711)));

    EXPECT_EQ(inprocCommand("refuse Bad"), "ok");
    sc::DWORD sendId = 0;
    create("Bad", "X");
    sc::SimConnect_GetLastSentPacketID(handle, &sendId);
    EXPECT_EQ(told(seen.last(kind::exception)).find(fmt::format("exception 22 of packet {},", sendId)), 0u);
    EXPECT_EQ(inprocCounters().refusedCreates, 1u);
    EXPECT_EQ(inprocObjects().size(), 1u);

    EXPECT_EQ(sc::SimConnect_Close(handle), sc::S_OK);
    handle = nullptr;
    EXPECT_EQ(inprocObjects().size(), 0u);
    EXPECT_EQ(inprocCounters().leftBehind, 1u);
}

TEST_F(Inproc, IsNotThereBeforeItStartsOrAfterItQuits) {
    open();
    create("T", "X");
    EXPECT_EQ(inprocCommand("quit"), "ok");
    EXPECT_FALSE(inprocRunning());
    EXPECT_TRUE(waitFor([&] { return sc::failed(dispatch()); }));
    EXPECT_TRUE(seen.has(kind::quit));
    sc::HANDLE second = nullptr;
    EXPECT_EQ(sc::SimConnect_Open(&second, "Kestrelune"), sc::E_FAIL);
    inprocStop();
    EXPECT_EQ(sc::SimConnect_Open(&second, "Kestrelune"), sc::E_FAIL);
    EXPECT_EQ(inprocCommand("report"), "error: not started");
    inprocStart(World::flat());
    EXPECT_EQ(sc::SimConnect_Open(&second, "Kestrelune", 3), sc::E_INVALIDARG);
    EXPECT_EQ(sc::SimConnect_Open(&second, "Kestrelune"), sc::S_OK);
    sc::SimConnect_Close(second);
}

TEST_F(Inproc, ANewModelKnowsNoClientOfTheOldOne) {
    sc::HRESULT result = 0;
    sc::OpenTry attempt;
    const auto old = sc::openTransport(0, result, attempt);
    ASSERT_TRUE(old);
    inprocStart(World::flat());
    const auto fresh = sc::openTransport(0, result, attempt);
    std::byte buffer[16];
    EXPECT_FALSE(old->write(openPacket().bytes()));
    EXPECT_EQ(old->read(buffer), -1);
    EXPECT_TRUE(fresh->write(openPacket().bytes()));
    EXPECT_EQ(fresh->read(buffer), 16) << "a buffer smaller than a message takes a piece of it";
    std::byte rest[1000];
    EXPECT_EQ(fresh->read(rest), 308 - 16);
    EXPECT_EQ(fresh->read(rest), 0);
    EXPECT_EQ(inprocCommand("drop"), "ok");
    EXPECT_EQ(fresh->read(rest), -1);
}

TEST_F(Inproc, HooksSeeEveryRecordAndEvent) {
    std::vector<double> altitudes;
    std::vector<std::uint32_t> values;
    int added = 0, removed = 0;
    Hooks hooks;
    hooks.position = [&](const SimObject& object) { altitudes.push_back(object.alt); };
    hooks.event = [&](const SimObject&, ClientEvent event, std::uint32_t value) {
        EXPECT_EQ(event, ClientEvent::flaps);
        values.push_back(value);
    };
    hooks.added = [&](const SimObject&) { ++added; };
    hooks.removed = [&](const SimObject&) { ++removed; };
    inprocSetHooks(hooks);
    open();
    definePose();
    sc::SimConnect_MapClientEventToSimEvent(handle, 217, "FLAPS_SET");
    const std::uint32_t id = create("T", "X");
    for (int i = 1; i <= 3; ++i) {
        const double pose[8] = {50, 8, 0, 0, 0, 1000.0 * i, 0, 0};
        sc::SimConnect_SetDataOnSimObject(handle, 402, id, 0, 1, 64, pose);
        sc::SimConnect_TransmitClientEvent(handle, id, 217, static_cast<sc::DWORD>(i), 1,
                                           sc::eventFlagGroupIdIsPriority);
    }
    sc::SimConnect_AIRemoveObject(handle, id, 105);
    step();
    EXPECT_EQ(altitudes, (std::vector<double>{1000, 2000, 3000}));
    EXPECT_EQ(values, (std::vector<std::uint32_t>{1, 2, 3}));
    EXPECT_EQ(added, 1);
    EXPECT_EQ(removed, 1);
    worldSimulator()->hooks = {};
    inprocSetHooks({});
}

TEST_F(Inproc, StandsCallsFromSeveralThreads) {
    open();
    inprocRunThread(10);
    std::atomic<bool> done{false};
    std::thread asker([&] {
        while (!done) {
            inprocCommand("teleport 50 8 1000");
            inprocObjects();
            if (const LockedSimulator simulator = worldSimulator())
                simulator->options.maxObjects = 1000;
        }
    });
    std::thread dispatcher([&] {
        while (!done)
            dispatch();
    });
    for (int i = 0; i < 100; ++i) {
        sc::InitPosition at{};
        sc::SimConnect_AICreateNonATCAircraft(handle, "T", "X", at, 104);
    }
    EXPECT_TRUE(waitFor([] { return inprocCounters().objectsCreated == 100; }));
    done = true;
    asker.join();
    dispatcher.join();
}

} // namespace
} // namespace kes::world::test
