// SPDX-License-Identifier: MIT
// The simulator behind real sockets.
#include "platform/socket.h"
#include "raw_client.h"
#include "support.h"
#include "world/simulator/server.h"

#include <list>
#include <nlohmann/json.hpp>

namespace kes::world::test {
namespace {

using kes::test::waitFor;

struct RunningServer {
    explicit RunningServer(SimulatorOptions options = World::flat(), bool control = false,
                           std::size_t maxClients = 64) {
        std::string error;
        EXPECT_TRUE(server.start(options, {.control = control, .maxClients = maxClients}, error)) << error;
    }
    nlohmann::json report() { return nlohmann::json::parse(server.command("report")); }
    Server server;
};

/// A client over TCP that keeps all it has read.
struct TcpClient {
    explicit TcpClient(std::uint16_t port, bool open = true) {
        EXPECT_EQ(socket.connectTcp("127.0.0.1", std::to_string(port), 2000), 0);
        if (open)
            send(openPacket());
    }
    bool send(Packet packet) { return sendBytes(packet.bytes()); }
    bool sendBytes(const Bytes& bytes) {
        return socket.sendAll({reinterpret_cast<const char*>(bytes.data()), bytes.size()}, 5000).bytes >= 0;
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

Packet createPacket(std::string_view tail) {
    Packet packet(0x29, 7);
    packet.text("T", 256).text(tail, 12).add(50.0).add(8.0).add(5000.0).zeros(24).u32(0).u32(0).u32(104);
    return packet;
}

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
        owner.send(createPacket("DLH1"));
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

TEST(Server, TakesPacketsByteByByteAndClosesAStreamItCannotFollow) {
    RunningServer running;
    TcpClient client(running.server.port(), false);
    Packet open = openPacket();
    for (const std::byte one : open.bytes())
        ASSERT_TRUE(client.sendBytes({one}));
    ASSERT_TRUE(client.waitForKind(kind::open));
    client.sendBytes(Bytes(16, std::byte{0xFF}));
    EXPECT_TRUE(client.waitForEnd());
    TcpClient next(running.server.port());
    EXPECT_TRUE(next.waitForKind(kind::open));
}

TEST(Server, FramesKeepTheirRateInRealTime) {
    RunningServer running;
    running.server.command("fps 100");
    TcpClient client(running.server.port());
    client.send(Packet(0x17, 4).u32(204).text("Frame", 256));
    ASSERT_TRUE(client.waitForKind(kind::frame));
    const std::size_t before = client.count(kind::frame);
    const auto begin = std::chrono::steady_clock::now();
    ASSERT_TRUE(client.waitForKind(kind::frame, before + 100));
    const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
    EXPECT_GT(seconds, 0.85) << "frames never come faster than they should";
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

TEST(Server, AClientThatNeverReadsHoldsUpNobody) {
    SimulatorOptions options = World::flat();
    options.maxOutput = 200'000;
    RunningServer running(options);
    TcpClient deaf(running.server.port());
    // Each call is answered with an exception that the client leaves lying.
    Bytes calls;
    for (int i = 0; i < 3000; ++i) {
        Packet call(0x6B, 1);
        calls.insert(calls.end(), call.bytes().begin(), call.bytes().end());
    }
    TcpClient other(running.server.port());
    other.send(Packet(0x17, 4).u32(204).text("Frame", 256));
    ASSERT_TRUE(waitFor([&] {
        deaf.sendBytes(calls);
        return running.report()["overflows"] == 1;
    }));
    const std::size_t frames = other.count(kind::frame);
    EXPECT_TRUE(other.waitForKind(kind::frame, frames + 10));
}

TEST(Server, ClosesConnectionsBeyondItsLimit) {
    RunningServer running(World::flat(), true, 3);
    std::list<TcpClient> served, refused;
    for (int i = 0; i < 3; ++i)
        ASSERT_TRUE(served.emplace_back(running.server.port()).waitForKind(kind::open));
    for (int i = 0; i < 100; ++i)
        refused.emplace_back(running.server.port(), false);
    for (TcpClient& client : refused)
        EXPECT_TRUE(client.waitForEnd());
    EXPECT_EQ(running.report()["refusedClients"], 100);
    EXPECT_EQ(running.report()["clients"], 3);
    // A place that is left is given to the next one.
    served.pop_front();
    EXPECT_TRUE(waitFor([&] {
        TcpClient next(running.server.port());
        return waitFor([&] {
                   next.read();
                   return next.count(kind::open) == 1 || next.ended;
               }) &&
               !next.ended;
    }));
    std::list<TcpClient> controls;
    for (int i = 0; i < 10; ++i)
        controls.emplace_back(running.server.controlPort(), false);
    for (int i = 3; i < 10; ++i)
        EXPECT_TRUE(std::next(controls.begin(), i)->waitForEnd());
}

TEST(Server, RecordsWhatArrives) {
    RunningServer running;
    running.server.command("record on");
    TcpClient client(running.server.port());
    client.send(Packet(0x17, 2).u32(202).text("ObjectAdded", 256));
    client.send(createPacket("DLH1"));
    client.send(Packet(0x6B, 4));
    ASSERT_TRUE(client.waitForKind(kind::exception)) << "the answer to the last one";
    EXPECT_EQ(nlohmann::json::parse(running.server.command("wire")),
              (std::vector<std::string>{"open 'Test'", "subscribe 202 'ObjectAdded'",
                                        "create 'T' 'DLH1' 50 8 5000 0 0 0 0 0 104", "function 107 of 16 bytes"}));
    EXPECT_EQ(running.server.command("wire"), "[]") << "told once";
    running.server.command("record off");
    client.send(Packet(0x6B, 5));
    ASSERT_TRUE(client.waitForKind(kind::exception, 2));
    EXPECT_EQ(running.server.command("wire"), "[]");
}

TEST(Server, TakesCommandsOnItsControlPort) {
    RunningServer running(World::flat(), true);
    platform::Socket control;
    ASSERT_EQ(control.connectTcp("127.0.0.1", std::to_string(running.server.controlPort()), 2000), 0);
    std::string text;
    const auto answer = [&](std::string_view command) {
        control.sendAll({command.data(), command.size()}, 1000);
        const bool came = waitFor([&] {
            char buffer[4096];
            const auto got = control.receive(buffer, 20);
            if (got.bytes > 0)
                text.append(buffer, static_cast<std::size_t>(got.bytes));
            return text.find('\n') != std::string::npos;
        });
        if (!came)
            return std::string("no answer");
        const std::string line = text.substr(0, text.find('\n'));
        text.erase(0, line.size() + 1);
        return line;
    };
    EXPECT_EQ(answer("teleport 48 11 2000\n"), "ok");
    EXPECT_EQ(nlohmann::json::parse(answer("user\r\n"))["lat"], 48.0);
    EXPECT_EQ(answer("sing\n").substr(0, 6), "error:");
    control.sendAll(std::string_view("refuse-all"), 1000); // half a line waits for the rest
    EXPECT_EQ(answer(" on\n"), "ok");
    EXPECT_EQ(nlohmann::json::parse(answer("report\n"))["clients"], 0);
    EXPECT_EQ(answer("quit\n"), "ok");
    EXPECT_TRUE(running.server.waitForQuit(5000));
}

TEST(Server, TellsWhyItCannotListen) {
    RunningServer first;
    Server second;
    ServerOptions where;
    where.port = first.server.port();
    std::string error;
    EXPECT_FALSE(second.start(World::flat(), where, error));
    EXPECT_NE(error.find(std::to_string(where.port)), std::string::npos) << error;
}

} // namespace
} // namespace kes::world::test
