// SPDX-License-Identifier: MIT
#include "core/log.h"
#include "platform/socket.h"
#include "platform/system.h"
#include "support.h"

#include <array>
#include <cstring>
#include <string_view>
#include <sys/resource.h>

namespace kes::platform {
namespace {

struct Pair {
    Socket listener, client, server;

    Pair() {
        const char* step = "";
        EXPECT_EQ(listener.listenTcp("0", step, true), 0) << step;
        EXPECT_EQ(client.connectTcp("127.0.0.1", std::to_string(listener.localPort()), 5000), 0);
        EXPECT_EQ(listener.accept(server, 5000).bytes, 0);
    }
};

/// A socket for datagrams at any free port.
Socket bound() {
    Socket udp;
    EXPECT_EQ(udp.openUdp(), 0);
    EXPECT_EQ(udp.bindUdp(0, true), 0);
    return udp;
}

std::span<const char> bytesOf(std::string_view text) {
    return {text.data(), text.size()};
}

/// Runs `wait` on a thread of its own, calls stop from here once it stands, and gives what it returned.
IoResult stopDuring(Socket& socket, const std::function<IoResult()>& wait) {
    IoResult result;
    const std::size_t threadsBefore = threadCount();
    std::thread waiting([&] { result = wait(); });
    EXPECT_TRUE(test::waitFor([&] { return threadCount() > threadsBefore; }));
    socket.stop();
    waiting.join();
    return result;
}

TEST(Socket, StopEndsEveryKindOfWaitAndAllLaterOnes) {
    Pair pair;
    Socket udp = bound();
    std::array<char, 64> buffer{};
    const std::vector<char> flood(64 << 20, 'x');
    Socket nobody;

    const struct {
        const char* name;
        Socket& socket;
        std::function<IoResult()> wait;
    } cases[] = {
        {"accept", pair.listener, [&] { return pair.listener.accept(nobody, -1); }},
        {"datagram", udp, [&] { return udp.receive(buffer, -1); }},
        {"stream", pair.server, [&] { return pair.server.receive(buffer, -1); }},
        {"send to a peer that does not read", pair.client, [&] { return pair.client.sendAll(flood, -1); }},
    };
    for (const auto& row : cases) {
        const IoResult ended = stopDuring(row.socket, row.wait);
        EXPECT_TRUE(ended.stopped) << row.name;
        EXPECT_EQ(ended.bytes, -1) << row.name;
        EXPECT_TRUE(row.wait().stopped) << row.name << ", second wait";
    }
    EXPECT_TRUE(pair.listener.isOpen());
}

TEST(Socket, AStopBeforeTheHandleIsOpenStillHolds) {
    Socket early;
    early.stop();
    ASSERT_EQ(early.openUdp(), 0);
    ASSERT_EQ(early.bindUdp(0, true), 0);
    std::array<char, 8> buffer{};
    EXPECT_TRUE(early.receive(buffer, -1).stopped);

    const char* step = "";
    Socket listener;
    Socket caller;
    Socket accepted;
    ASSERT_EQ(listener.listenTcp("0", step, true), 0);
    ASSERT_EQ(caller.connectTcp("127.0.0.1", std::to_string(listener.localPort()), 5000), 0);
    accepted.stop();
    ASSERT_EQ(listener.accept(accepted, 5000).bytes, 0);
    EXPECT_TRUE(accepted.receive(buffer, -1).stopped);

    early = Socket();
    ASSERT_EQ(early.openUdp(), 0);
    EXPECT_TRUE(early.receive(buffer, 0).timedOut) << "a fresh object starts without the stop";
}

TEST(Socket, StopWorksWithoutAWakeUpChannel) {
    rlimit before{};
    ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &before), 0);
    Socket udp;
    {
        // With the limit at what is open, the second socket gets no channel.
        rlimit none = before;
        none.rlim_cur = 0;
        ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &none), 0);
        udp = Socket();
        Socket refused;
        EXPECT_EQ(refused.openUdp(), 10024);
        ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &before), 0);
    }
    ASSERT_EQ(udp.openUdp(), 0);
    ASSERT_EQ(udp.bindUdp(0, true), 0);
    std::array<char, 8> buffer{};
    EXPECT_TRUE(stopDuring(udp, [&] { return udp.receive(buffer, -1); }).stopped);
    udp = Socket();
    ASSERT_EQ(udp.openUdp(), 0);
}

TEST(Socket, APeerThatVanishedIsAnErrorAndNoSignal) {
    Pair pair;
    ASSERT_EQ(pair.client.sendAll(bytesOf("unread"), 1000).bytes, 6);
    std::array<char, 1> one{};
    ASSERT_EQ(pair.server.receive(one, 5000).bytes, 1);
    pair.server = Socket(); // bytes stay unread, so the peer gets a reset
    IoResult result;
    ASSERT_TRUE(test::waitFor([&] {
        result = pair.client.sendAll(bytesOf("more"), 1000);
        return result.bytes < 0;
    }));
    EXPECT_EQ(socketErrorText(result.error), "10054 Connection reset by peer");
    EXPECT_FALSE(result.stopped);
}

TEST(Socket, FailuresComeInWindowsNumbers) {
    Socket closed;
    std::array<char, 4> buffer{};
    const char* step = "";
    Pair pair;
    const std::string taken = std::to_string(pair.listener.localPort());
    Socket udp = bound(), udp2;
    ASSERT_EQ(udp2.openUdp(), 0);
    EXPECT_EQ(closed.receive(buffer, 0).error, 10038);
    EXPECT_EQ(closed.sendAll(bytesOf("x"), 0).error, 10038);
    EXPECT_EQ(closed.accept(pair.server, 0).error, 10038);
    EXPECT_EQ(closed.bindUdp(0, true), 10038);
    EXPECT_EQ(closed.localPort(), 0);
    EXPECT_EQ(udp2.bindUdp(udp.localPort(), true), 10048);
    EXPECT_EQ(udp.receive({}, 0).error, 10022);
    EXPECT_EQ(udp.sendTo(bytesOf("x"), "no address", 1).error, 10022);

    Socket second;
    EXPECT_EQ(second.listenTcp(taken, step, true), 10048);
    EXPECT_TRUE(std::string_view(step) == "bind" || std::string_view(step) == "listen") << step;
    EXPECT_FALSE(second.isOpen());
    for (const char* bad : {"", "70000", "no such service", "-1"}) {
        EXPECT_NE(second.listenTcp(bad, step, true), 0) << bad;
        EXPECT_STREQ(step, "getaddrinfo") << bad;
    }

    pair.listener.close();
    EXPECT_EQ(second.connectTcp("127.0.0.1", taken, 2000), 10061);
    EXPECT_FALSE(second.isOpen());
}

} // namespace
} // namespace kes::platform
