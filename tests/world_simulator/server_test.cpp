// SPDX-License-Identifier: MIT
// The simulator behind real sockets.
#include "platform/socket.h"
#include "raw_client.h"
#include "support.h"
#include "world/simulator/server.h"

#include <nlohmann/json.hpp>

namespace kes::world::test {
namespace {

using kes::test::waitFor;

struct RunningServer {
    RunningServer() {
        std::string error;
        EXPECT_TRUE(server.start(World::flat(), {}, error)) << error;
    }
    nlohmann::json report() { return nlohmann::json::parse(server.command("report")); }
    Server server;
};

/// A client over TCP that keeps all it has read.
struct TcpClient {
    explicit TcpClient(std::uint16_t port) {
        EXPECT_EQ(socket.connectTcp("127.0.0.1", std::to_string(port), 2000), 0);
        send(openPacket());
    }
    void send(Packet packet) {
        const Bytes& bytes = packet.bytes();
        socket.sendAll({reinterpret_cast<const char*>(bytes.data()), bytes.size()}, 5000);
    }
    /// Reads what is there within a moment.
    void read() {
        char buffer[65536];
        const platform::IoResult got = socket.receive(buffer, 20);
        if (got.bytes > 0)
            stream.insert(stream.end(), reinterpret_cast<std::byte*>(buffer),
                          reinterpret_cast<std::byte*>(buffer) + got.bytes);
        else if (!got.timedOut)
            ended = true;
    }
    std::size_t count(std::uint32_t wanted) {
        return static_cast<std::size_t>(std::ranges::count(cut(stream), wanted, &Message::kind));
    }
    bool waitForKind(std::uint32_t wanted, std::size_t number = 1) {
        return waitFor([&] {
            read();
            return count(wanted) >= number;
        });
    }
    bool waitForEnd() {
        return waitFor([&] {
            read();
            return ended;
        });
    }
    Message last(std::uint32_t wanted) { return lastOf(cut(stream), wanted); }
    platform::Socket socket;
    Bytes stream;
    bool ended = false;
};

TEST(Server, ServesSeveralClientsAndForgetsThoseThatLeave) {
    RunningServer running;
    TcpClient watcher(running.server.port());
    ASSERT_TRUE(watcher.waitForKind(kind::open));
    watcher.send(Packet(0x17, 2).u32(202).text("ObjectAdded", 256));
    watcher.send(Packet(0x17, 3).u32(203).text("ObjectRemoved", 256));
    watcher.send(Packet(0x17, 4).u32(204).text("Frame", 256));
    ASSERT_TRUE(watcher.waitForKind(kind::frame));
    {
        TcpClient owner(running.server.port());
        owner.send(Packet(0x29, 7).text("T", 256).text("DLH1", 12).add(50.0).add(8.0).add(5000.0).zeros(32).u32(104));
        ASSERT_TRUE(owner.waitForKind(kind::assigned));
        ASSERT_TRUE(watcher.waitForKind(kind::addRemove));
        EXPECT_EQ(watcher.last(kind::addRemove).u32(16), 202u);
        EXPECT_EQ(watcher.last(kind::addRemove).u32(20), owner.last(kind::assigned).u32(16));
        EXPECT_EQ(running.report()["objectsNow"], 1);
    }
    ASSERT_TRUE(watcher.waitForKind(kind::addRemove, 2)) << "the end of a stream removes what its client made";
    EXPECT_EQ(watcher.last(kind::addRemove).u32(16), 203u);
    EXPECT_EQ(running.report()["clients"], 2);
    EXPECT_EQ(running.report()["objectsNow"], 0);
}

TEST(Server, QuitSendsItsMessageBeforeTheEnd) {
    RunningServer running;
    TcpClient client(running.server.port());
    ASSERT_TRUE(client.waitForKind(kind::open));
    // Bytes on their way in must not cost the client the last message.
    Packet flood(0x6B, 1);
    for (int i = 0; i < 200; ++i)
        client.send(flood);
    EXPECT_FALSE(running.server.waitForQuit(1));
    EXPECT_EQ(running.server.command("quit"), "ok");
    EXPECT_TRUE(running.server.waitForQuit(5000));
    client.send(flood);
    EXPECT_TRUE(client.waitForEnd());
    EXPECT_EQ(client.count(kind::quit), 1u);
    running.server.stop(true);
    EXPECT_EQ(running.report()["clients"], 1) << "the counters outlive the run";
}

TEST(Server, DropEndsTheStreamsWithoutAWord) {
    RunningServer running;
    TcpClient client(running.server.port());
    ASSERT_TRUE(client.waitForKind(kind::open));
    running.server.command("drop");
    EXPECT_TRUE(client.waitForEnd());
    EXPECT_EQ(client.count(kind::quit), 0u);
    TcpClient again(running.server.port());
    EXPECT_TRUE(again.waitForKind(kind::open)) << "the simulator itself goes on";
}

} // namespace
} // namespace kes::world::test
