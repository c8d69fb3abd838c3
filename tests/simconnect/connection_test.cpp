// SPDX-License-Identifier: MIT
// The connection as a whole: refused versions, several threads, packets of the handler, and peers that stall.
#include "simconnect/connection.h"
#include "simconnect/raw_server.h"

#include <atomic>
#include <cstring>
#include <utility>

namespace kes::simconnect {

namespace {

using Link = ClientTest;

/// A connection that brings one text and takes a number of packets before it fails.
struct ScriptTransport final : Transport {
    static inline std::vector<std::string> written;
    std::string incoming;
    int writes;

    ScriptTransport(std::string text, int count) : incoming(std::move(text)), writes(count) {}
    bool write(std::span<const std::byte> packet) override {
        if (writes-- <= 0)
            return false;
        written.emplace_back(reinterpret_cast<const char*>(packet.data()), packet.size());
        return true;
    }
    std::ptrdiff_t read(std::span<std::byte> buffer) override {
        std::memcpy(buffer.data(), incoming.data(), incoming.size());
        return static_cast<std::ptrdiff_t>(std::exchange(incoming, {}).size());
    }
};

constexpr DWORD mismatch = static_cast<DWORD>(Exception::versionMismatch);

std::string withVersion(std::string packet, char version) {
    packet[4] = version;
    return packet;
}

} // namespace

TEST_F(Link, ARefusedVersionIsFollowedByTheNext) {
    connect();
    const std::string open = peer.packet();
    SimConnect_SubscribeToSystemEvent(client, 201, "Sim");
    SimConnect_AddToDataDefinition(client, 402, "Plane Latitude", "degree");
    const std::string subscribe = peer.packet(), datum = peer.packet();
    // What the refused connection still brings, half a message at that, is no part of the next one.
    peer.send(message(1, {mismatch, 1, 4}) + message(4, {1, 2, 3}) + openMessage("half").substr(0, 50));
    peer.socket.close();

    std::string openAgain, subscribeAgain, datumAgain;
    std::thread simulator([&] {
        peer = accept();
        openAgain = peer.packet();
        subscribeAgain = peer.packet();
        datumAgain = peer.packet();
        peer.send(openMessage());
    });
    EXPECT_TRUE(dispatchUntil([&] { return !seen.messages.empty(); }));
    simulator.join();
    EXPECT_EQ(seen.messages, std::vector<std::string>{openMessage()});
    EXPECT_EQ(openAgain, bytesOf("28 01 00 00 05 00 00 00 01 00 00 F0 01 00 00 00 'Kestrelune' 246*00 00 00 00 00 00 "
                                 "48 4B 00 0B 00 00 00 00 00 00 00 BB F4 00 00 03 00 00 00"));
    EXPECT_EQ(open.substr(0, 4), openAgain.substr(0, 4));
    EXPECT_EQ(subscribeAgain, withVersion(subscribe, 5));
    EXPECT_EQ(datumAgain, withVersion(datum, 5));
    EXPECT_EQ(SimConnect_AIRemoveObject(client, 77, 105), S_OK);
    EXPECT_EQ(peer.packet(), bytesOf("18 00 00 00 05 00 00 00 2C 00 00 F0 04 00 00 00 4D 00 00 00 69 00 00 00"));

    // Once the version stands, a mismatch is a message as any other.
    peer.send(message(1, {mismatch, 4, 1}));
    EXPECT_TRUE(dispatchUntil([&] { return seen.messages.size() == 2; }));
    EXPECT_EQ(seen.messages.back(), message(1, {mismatch, 4, 1}));
}

TEST_F(Link, PacketsThatARefusedConnectionNoLongerTakesAreNotLost) {
    const auto refused = [](DWORD, HRESULT& result) -> std::unique_ptr<Transport> {
        result = S_OK;
        return std::make_unique<ScriptTransport>(openMessage(), 100);
    };
    ScriptTransport::written.clear();
    ASSERT_EQ(connectWith(client, std::make_unique<ScriptTransport>(message(1, {mismatch, 1, 4}), 1), "Kestrelune", 0,
                          refused),
              S_OK);
    EXPECT_EQ(SimConnect_AIRemoveObject(client, 1, 105), S_OK);
    EXPECT_EQ(SimConnect_AIRemoveObject(client, 2, 105), S_OK);
    EXPECT_TRUE(dispatchUntil([&] { return !seen.messages.empty(); }));
    EXPECT_EQ(seen.messages, std::vector<std::string>{openMessage()});
    ASSERT_EQ(ScriptTransport::written.size(), 4U);
    for (std::uint32_t id = 1; id <= 3; ++id)
        EXPECT_EQ(wordAt(ScriptTransport::written[id], 12), id);
}

TEST_F(Link, TooMuchForASecondTryHandsTheRefusalOn) {
    connect();
    const std::vector<char> data(60000);
    for (int i = 0; i < 9; ++i) {
        ASSERT_EQ(SimConnect_SetDataOnSimObject(client, 1, 2, 0, 1, 60000, data.data()), S_OK);
        peer.packet();
    }
    peer.send(message(1, {mismatch, 1, 4}));
    EXPECT_TRUE(dispatchUntil([&] { return !seen.messages.empty(); }));
    EXPECT_EQ(seen.messages, std::vector<std::string>{message(1, {mismatch, 1, 4})});
}

TEST_F(Link, ARefusalWithoutAnotherConnectionIsHandedOn) {
    connect();
    peer.packet();
    peer.send(message(1, {mismatch, 1, 4}));
    listener.close();
    EXPECT_TRUE(dispatchUntilEnd());
    EXPECT_EQ(seen.messages, (std::vector<std::string>{message(1, {mismatch, 1, 4}), message(3)}));
}

TEST_F(Link, NothingIsLostOrSwappedWhileVersionsAreTried) {
    constexpr std::uint32_t count = 1500;
    connect();
    std::atomic<std::uint32_t> sent{0};
    std::thread caller([&] {
        for (std::uint32_t i = 0; i < count; ++i) {
            EXPECT_EQ(SimConnect_AIRemoveObject(client, i, 105), S_OK);
            sent = i + 1;
            std::this_thread::yield();
        }
    });
    std::thread simulator([&] {
        for (int version = 4; version <= 5; ++version) {
            for (int i = 0; i < 20; ++i)
                peer.packet();
            peer.send(message(1, {mismatch, 1, 4}));
            peer = accept();
        }
        for (std::uint32_t id = 1; id <= count + 1; ++id) {
            const std::string packet = peer.packet();
            ASSERT_EQ(wordAt(packet, 12), id);
            ASSERT_EQ(wordAt(packet, 4), 6U);
            if (id > 1) {
                ASSERT_EQ(wordAt(packet, 16), id - 2);
            }
        }
        peer.send(openMessage("SunRise"));
    });
    EXPECT_TRUE(dispatchUntil([&] { return !seen.messages.empty(); }));
    caller.join();
    simulator.join();
    EXPECT_EQ(sent, count);
    EXPECT_EQ(seen.messages, std::vector<std::string>{openMessage("SunRise")});
}

TEST_F(Link, PacketsOfTheHandlerArriveInOrderAmongThoseOfOthers) {
    constexpr std::uint32_t frames = 20, records = 900; // a frame's packets are more than is held back at once
    connect();
    peer.packet();
    std::atomic<bool> stop{false};
    std::atomic<std::uint32_t> others{0};
    seen.onMessage = [&](const Recv& received) {
        ASSERT_EQ(received.dwID, static_cast<DWORD>(RecvId::eventFrame));
        const double pose[8] = {};
        for (std::uint32_t i = 0; i < records; ++i) {
            ASSERT_EQ(SimConnect_SetDataOnSimObject(client, 402, i, 0, 1, sizeof pose, pose), S_OK);
            // The other thread's packet is written while some of these are held back.
            if (i == records / 3)
                for (const std::uint32_t earlier = others; others < earlier + 2;)
                    std::this_thread::yield();
        }
    };
    std::thread other([&] {
        for (; !stop; ++others)
            ASSERT_EQ(SimConnect_AIRemoveObject(client, others, 105), S_OK);
        ASSERT_EQ(SimConnect_AISetAircraftFlightPlan(client, 1, "last", 1), S_OK);
    });
    std::uint32_t nextRecord = 0, nextOther = 0, ids = 1;
    std::thread simulator([&] {
        for (std::uint32_t frame = 0; frame < frames; ++frame)
            peer.send(message(7, {unused, 204, 0, 0, 0}));
        for (;;) {
            const std::string packet = peer.packet();
            ASSERT_FALSE(packet.empty());
            ASSERT_EQ(wordAt(packet, 12), ++ids);
            const std::uint32_t function = wordAt(packet, 8) & 0xFF;
            if (function == 0x2D)
                return;
            if (function == 0x10) {
                ASSERT_EQ(wordAt(packet, 20), nextRecord++ % records);
            } else
                ASSERT_EQ(wordAt(packet, 16), nextOther++);
        }
    });
    EXPECT_TRUE(dispatchUntil([&] { return seen.messages.size() == frames; }));
    stop = true;
    other.join();
    simulator.join();
    EXPECT_EQ(nextRecord, frames * records);
    EXPECT_EQ(nextOther, others);
}

TEST_F(Link, ASimulatorThatTakesNothingEndsTheConnection) {
    connect();
    peer.send(openMessage());
    EXPECT_TRUE(dispatchUntil([&] { return seen.messages.size() == 1; }));
    const std::vector<char> data(60000);
    const auto start = std::chrono::steady_clock::now();
    int sent = 0;
    while (sent < 100000 && !failed(SimConnect_SetDataOnSimObject(client, 1, 2, 0, 1, 60000, data.data())))
        ++sent;
    EXPECT_LT(sent, 100000);
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(20));
    EXPECT_EQ(SimConnect_AIRemoveObject(client, 1, 2), E_FAIL);
    peer.send(message(4, {1, 2, 3}));
    EXPECT_TRUE(dispatchUntilEnd());
    EXPECT_EQ(seen.messages, (std::vector{openMessage(), message(4, {1, 2, 3}), message(3)}));
    EXPECT_EQ(program.logCount("takes no more packets"), 1U);
}

TEST_F(Link, CloseDeliversWhatWasSent) {
    connect();
    peer.packet();
    peer.send(message(4, {1, 2, 3}));
    EXPECT_EQ(SimConnect_AIRemoveObject(client, 77, 105), S_OK);
    EXPECT_EQ(SimConnect_Close(std::exchange(client, nullptr)), S_OK);
    EXPECT_EQ(wordAt(peer.packet(), 16), 77U);
    EXPECT_TRUE(peer.endsCleanly());
}

TEST_F(Link, TheHandlerMayCloseAndCannotBeEnteredTwice) {
    connect();
    peer.packet();
    peer.send(message(4, {1, 2, 3}) + message(4, {4, 5, 6}));
    seen.onMessage = [this](const Recv&) {
        EXPECT_EQ(SimConnect_CallDispatch(client, Seen::handler, &seen), S_OK);
        EXPECT_EQ(SimConnect_AIRemoveObject(client, 77, 105), S_OK);
        EXPECT_EQ(SimConnect_Close(client), S_OK);
        EXPECT_EQ(SimConnect_AIRemoveObject(client, 78, 105), E_FAIL);
    };
    EXPECT_TRUE(dispatchUntil([&] { return !seen.messages.empty(); }));
    client = nullptr;
    EXPECT_EQ(seen.messages.size(), 1U);
    EXPECT_EQ(wordAt(peer.packet(), 16), 77U);
    EXPECT_TRUE(peer.endsCleanly());
}

} // namespace kes::simconnect
