// SPDX-License-Identifier: MIT
#include "core/errors.h"
#include "core/parameters.h"
#include "feed/link_clients.h"
#include "feed_test.h"
#include "thrown.h"

#include <atomic>
#include <future>
#include <tuple>

namespace kes::test {
namespace {

/// Connected, the light for it, and the professional edition.
using Flags = std::tuple<bool, bool, bool>;

std::atomic<int> goneCalls{0};
std::atomic<int> waitCalls{0};

/// RealTraffic's end of the link.
struct Client {
    void connect(const char* host = "127.0.0.1") {
        ASSERT_EQ(socket.connectTcp(host, std::to_string(controlLinkPort()), 5000), 0);
    }
    void connectAsked() {
        connect();
        ASSERT_EQ(line(), question);
    }
    void send(std::string_view text) {
        ASSERT_EQ(socket.sendAll({text.data(), text.size()}, 5000).bytes, static_cast<std::ptrdiff_t>(text.size()));
    }
    /// The next line with its line end, empty when the link ends or nothing comes.
    std::string line(int timeoutMs = 10000) {
        while (pending.find('\n') == std::string::npos) {
            char buffer[512];
            const auto got = socket.receive(buffer, timeoutMs);
            if (got.bytes <= 0)
                return {};
            pending.append(buffer, static_cast<std::size_t>(got.bytes));
        }
        const std::string text = pending.substr(0, pending.find('\n') + 1);
        pending.erase(0, text.size());
        return text;
    }
    bool closed() {
        char buffer[4096];
        platform::IoResult got;
        while ((got = socket.receive(buffer, 5000)).bytes > 0) {
        }
        return !got.timedOut;
    }
    bool asked() { return line(1) == question; }
    static constexpr const char* question = "Qs999=version\r\n";
    platform::Socket socket;
    std::string pending;
};

/// Connections that were closed before anybody looked at them.
void knockAndGo(int times) {
    for (int i = 0; i < times; ++i)
        Client().connect();
}

const std::string prof = R"({"level":2,"version":"10.1"})";

class ControlLinkTest : public FeedTest {
protected:
    void SetUp() override {
        FeedTest::SetUp();
        goneCalls = waitCalls = 0;
        controlLinkHooks.clientGone = [] { ++goneCalls; };
        controlLinkHooks.whileWaiting = [] { ++waitCalls; };
        setReadout(Readout::edition, "before");
        user.lat = 41.3;
        user.lon = 2.08;
        user.alt = 1234;
        startServer("0");
    }
    static std::future<void> waiting() { return std::async(std::launch::async, waitForRealTraffic); }
    /// Until the client is back.
    std::future<void> served() {
        return std::async(std::launch::async, [this] { sendQs121(user); });
    }
    /// Connects a client that answers the version question with `answer`.
    void connect(Client& client, std::string_view answer) {
        auto wait = waiting();
        client.connectAsked();
        client.send(answer);
        wait.get();
    }
    /// One second of the main tick after the other, until `condition` holds.
    bool sendUntil(const std::function<bool()>& condition) {
        return waitFor([&] {
            sendQs121(user);
            return condition();
        });
    }
    /// The next position line goes to this client.
    void expectServed(Client& client) {
        user.lat += 0.001; // told apart from the lines before
        sendQs121(user);
        const std::string expected = formatQs121(user);
        std::string line;
        while (!(line = client.line(2000)).empty() && line != expected) {
        }
        EXPECT_EQ(line, expected);
    }
    UserAircraft user;
};

TEST_F(ControlLinkTest, ServerErrorsNameTheCall) {
    platform::Socket other;
    const char* step = "";
    ASSERT_EQ(other.listenTcp("0", step), 0);
    const std::string taken = std::to_string(other.localPort());
    EXPECT_NE(controlLinkPort(), 0);
    std::string advice;
    const auto failure = [&](const std::string& port) {
        return thrownBy([&] {
            try {
                startServer(port);
            } catch (const std::runtime_error& error) {
                advice = adviceOf(error);
                throw;
            }
        });
    };
    EXPECT_EQ(failure(taken), "Bind failed at port " + taken + " with error " + socketErrorText(10048));
    EXPECT_TRUE(advice.starts_with("Port " + taken +
                                   " (TCP) is wanted for RealTraffic and cannot be had: test_feed (process " +
                                   std::to_string(getpid()) + ") has it. "))
        << advice;
    EXPECT_EQ(controlLinkPort(), 0);
    for (const char* noPort : {"no port", "99999"}) {
        EXPECT_TRUE(failure(noPort).starts_with("getaddrinfo failed with error "));
        EXPECT_EQ(advice, std::string("PORT_NUMBER in parameters.xml is \"") + noPort +
                              "\". It has to be a number from 1 to 65535.");
    }
    EXPECT_FALSE(waitForClient());
    startServer("0");
    EXPECT_NE(controlLinkPort(), 0);
}

TEST_F(ControlLinkTest, WholeConversation) {
    Client client;
    connect(client, prof);
    EXPECT_EQ(Flags(rtConnected, readouts.rtLight, rtProfEdition), Flags(true, true, true));
    EXPECT_FALSE(rtWaitPending);
    EXPECT_EQ(readoutText(Readout::edition), "RT prof edition: 10.1");
    EXPECT_EQ(statusText(), "");
    EXPECT_EQ(logLines(), (std::vector<std::string>{"Waiting for RealTraffic to connect to Kestrelune ...",
                                                    "RealTraffic connected"}));
    EXPECT_FALSE(waitForClient());

    sendQs121(user);
    EXPECT_EQ(client.line(), formatQs121(user));
    for (const std::int64_t epoch : {std::int64_t{0}, std::int64_t{-7}, INT64_MAX})
        sendQs123(epoch);
    sendQs123(1700000000);
    EXPECT_EQ(client.line(), "Qs123=1700000000000\r\n");

    // Until a flight is loaded the simulator reports a point near 0, 0, which must not go out.
    UserAircraft notLoaded = user;
    notLoaded.lat = 0.0005;
    notLoaded.lon = 0.01;
    sendQs121(notLoaded);
    closeControlLink();
    EXPECT_EQ(client.line(), "exit\r\n");
    EXPECT_EQ(client.line(), "");
    EXPECT_FALSE(rtConnected);
    EXPECT_EQ(goneCalls, 0);
    sendQs123(1700000000);
    closeControlLink();
}

TEST_F(ControlLinkTest, NothingHappensWithoutRealTrafficOnThisPc) {
    rtOnThisPc = false;
    waitForRealTraffic();
    sendQs121(user);
    EXPECT_EQ(waitCalls, 0);
    EXPECT_TRUE(logLines().empty());
    // RealTraffic on this PC, but the link was never started.
    rtOnThisPc = true;
    closeControlLink();
    sendQs121(user);
    EXPECT_TRUE(logLines().empty());
    EXPECT_EQ(goneCalls, 0);
}

TEST_F(ControlLinkTest, AWaitInVainTellsOnceWhatToLookAt) {
    const auto usual = std::exchange(sourceAdviceAfter, 150ms);
    auto wait = waiting();
    const std::string advice = "Nobody has connected to port " + std::to_string(controlLinkPort()) + " of this PC";
    EXPECT_TRUE(waitFor([&] { return timesLogged(advice) == 1; }));
    EXPECT_EQ(statusText(), "Waiting for RealTraffic to connect to Kestrelune ...");
    const int calls = waitCalls;
    EXPECT_TRUE(waitFor([&] { return waitCalls >= calls + 3; }));
    EXPECT_EQ(timesLogged(advice), 1);
    exitRequested = true;
    wait.get();
    sourceAdviceAfter = usual;
}

TEST_F(ControlLinkTest, WaitsEndWithTheRun) {
    const std::pair<const char*, std::function<void()>> waits[] = {{"for the first client", waitForRealTraffic},
                                                                   {"for its return", [this] { sendQs121(user); }}};
    for (std::atomic<bool>* flag : {&exitRequested, &userClosed}) {
        for (const auto& [what, wait] : waits) {
            SCOPED_TRACE(what);
            waitCalls = 0;
            auto running = std::async(std::launch::async, wait);
            EXPECT_TRUE(waitFor([] { return waitCalls >= 2; }));
            const auto start = std::chrono::steady_clock::now();
            *flag = true;
            running.get();
            EXPECT_LT(std::chrono::steady_clock::now() - start, 200ms);
            EXPECT_FALSE(rtConnected);
            *flag = false;
        }
    }
    EXPECT_TRUE(rtWaitPending);
    // Once a reason to exit stands, the wait does not begin.
    setExitReason(ExitReason::newSettings);
    waitCalls = 0;
    sendQs121(user);
    EXPECT_EQ(waitCalls, 0);
    resetRunFlags();
    // A client that does not answer is not waited for beyond the run.
    auto wait = waiting();
    Client client;
    client.connectAsked();
    const auto start = std::chrono::steady_clock::now();
    userClosed = true;
    wait.get();
    EXPECT_LT(std::chrono::steady_clock::now() - start, 200ms);
}

TEST_F(ControlLinkTest, ASilentClientCountsAsTheStandardEditionUntilItAnswers) {
    auto wait = waiting();
    Client client;
    client.connectAsked();
    wait.get();
    EXPECT_EQ(Flags(rtConnected, readouts.rtLight, rtProfEdition), Flags(true, true, false));
    EXPECT_TRUE(logged("No RealTraffic version received?"));
    sendQs121(user);
    EXPECT_EQ(client.line(), formatQs121(user));
    // In two pieces, as a stream may cut it.
    client.send(prof.substr(0, 9));
    ASSERT_TRUE(sendUntil([] { return readoutText(Readout::edition).empty(); }));
    EXPECT_FALSE(rtProfEdition);
    client.send(prof.substr(9));
    EXPECT_TRUE(sendUntil([] { return rtProfEdition.load(); }));
    EXPECT_EQ(readoutText(Readout::edition), "RT prof edition: 10.1");
    for (const std::string& unasked : {std::string(R"({"level":1})"), std::string(1 << 20, 'x')}) {
        client.send(unasked);
        for (int i = 0; i < 20; ++i)
            sendQs121(user);
    }
    EXPECT_TRUE(rtProfEdition) << "it was asked once";
}

TEST_F(ControlLinkTest, OnlyThisPcReachesTheLink) {
    Client elsewhere;
    EXPECT_NE(elsewhere.socket.connectTcp("127.0.0.2", std::to_string(controlLinkPort()), 5000), 0);
}

TEST_F(ControlLinkTest, WhoKnocksAndGoesCostsNothing) {
    const auto start = std::chrono::steady_clock::now();
    knockAndGo(90);
    Client client;
    connect(client, prof);
    EXPECT_EQ(Flags(rtConnected, readouts.rtLight, rtProfEdition), Flags(true, true, true));
    EXPECT_FALSE(logged("No RealTraffic version received?"));
    // Beside the true client and after it.
    knockAndGo(30);
    expectServed(client);
    EXPECT_EQ(goneCalls, 0);
    client.socket.close();
    ASSERT_TRUE(sendUntil([] { return goneCalls == 1; }));
    knockAndGo(30);
    Client again;
    waitCalls = 0;
    auto wait = served();
    EXPECT_TRUE(waitFor([] { return waitCalls > 0; })) << "none of them is a return";
    again.connectAsked();
    wait.get();
    expectServed(again);
    EXPECT_EQ(goneCalls, 1) << "the traffic left once";
    EXPECT_TRUE(rtProfEdition) << "what is known stays until the new client tells another";
    again.send(R"({"level":1,"version":"9"})");
    EXPECT_TRUE(sendUntil([] { return !rtProfEdition; }));
    EXPECT_EQ(readoutText(Readout::edition), "RT stnd edition: 9");
    EXPECT_LT(std::chrono::steady_clock::now() - start, 4s);
}

TEST_F(ControlLinkTest, StrangersDoNotKeepRealTrafficOut) {
    Client first, client, later;
    auto wait = waiting();
    first.connectAsked();
    client.connectAsked();
    later.connectAsked(); // the newest, but it has not answered
    client.send(prof);
    wait.get();
    EXPECT_TRUE(rtProfEdition);
    // Started anew, while its old connection hangs.
    Client again;
    again.connect();
    again.send(R"({"level":1,"version":"11"})");
    ASSERT_TRUE(sendUntil([] { return !rtProfEdition; }));
    expectServed(again);
    EXPECT_TRUE(client.closed());
    EXPECT_EQ(again.pending, "");
    // More than are kept.
    std::vector<Client> strangers(2 * LinkClients::most);
    for (Client& stranger : strangers)
        stranger.connect();
    strangers.back().send("GET / HTTP/1.1\r\n\r\n");
    ASSERT_TRUE(sendUntil([&] { return strangers.back().asked(); }));
    expectServed(again);
    EXPECT_EQ(std::tuple(first.closed(), later.closed()), std::tuple(true, true)) << "the oldest have given way";
    EXPECT_EQ(readoutText(Readout::edition), "RT stnd edition: 11");
    // Only when nobody is left the traffic leaves.
    again.socket.close();
    ASSERT_TRUE(sendUntil([&] { return strangers.back().line(1).starts_with("Qs121="); }));
    EXPECT_EQ(goneCalls, 0);
    strangers.clear();
    ASSERT_TRUE(sendUntil([] { return goneCalls == 1; }));
    EXPECT_FALSE(rtConnected);
}

TEST_F(ControlLinkTest, AmongClientsThatNeverAnswerTheNewestIsServed) {
    Client older, newer;
    connect(older, "[2]"); // not the answer that RealTraffic gives
    newer.connect();
    ASSERT_TRUE(sendUntil([&] { return newer.asked(); }));
    expectServed(newer);
    Client newest; // stops reading, and the others are still there
    newest.connect();
    ASSERT_TRUE(sendUntil([&] { return newest.asked(); }));
    ASSERT_TRUE(waitFor([] { return !sendDataPacket(std::string(1 << 20, 'x')); }));
    expectServed(newer);
    older.send(prof); // late, on the connection that had given way
    ASSERT_TRUE(sendUntil([] { return rtProfEdition.load(); }));
    expectServed(older);
    EXPECT_EQ(goneCalls, 0);
}

TEST_F(ControlLinkTest, AClientGoesAndComesBack) {
    // By a close, by a reset (unread bytes at the close), and found by the line with the time.
    int losses = 0;
    for (const std::string how : {"close", "reset", "found by Qs123"}) {
        SCOPED_TRACE(how);
        goneCalls = 0;
        feed(trafficReader, feedLine());
        Client client;
        connect(client, "{}");
        feed(trafficReader, feedLine());
        sendQs121(user);
        if (how == "close") {
            EXPECT_EQ(client.line(), formatQs121(user));
        }
        client.socket.close();
        if (how == "found by Qs123") {
            ASSERT_TRUE(waitFor([] {
                sendQs123(1700000000);
                return !rtConnected;
            }));
        }
        ASSERT_TRUE(sendUntil([] { return goneCalls == 1; }));
        EXPECT_EQ(Flags(rtConnected, readouts.rtLight, rtProfEdition), Flags(false, false, false));
        EXPECT_EQ(trafficReader.timestamp, 0.0) << "the readers start anew";
        EXPECT_TRUE(statusText().ends_with(" RealTraffic gone? Wait for RealTraffic to re-connect ..."))
            << statusText();
        EXPECT_EQ(std::ranges::count(logLines(), "RealTraffic client socket closed"), ++losses);

        auto wait = served();
        Client again;
        again.connectAsked();
        wait.get();
        EXPECT_EQ(Flags(rtConnected, readouts.rtLight, rtProfEdition), Flags(true, true, false));
        EXPECT_TRUE(logLines().back().ends_with(" RealTraffic re-connected"));
        EXPECT_EQ(statusText(), "");
        sendQs121(user);
        EXPECT_EQ(again.line(), formatQs121(user));
        closeControlLink();
        startServer("0");
    }
}

TEST_F(ControlLinkTest, AfterTheCloseClickTheTrafficStays) {
    Client client;
    connect(client, "{}");
    userClosed = true;
    client.socket.close();
    ASSERT_TRUE(sendUntil([] { return !rtConnected; }));
    EXPECT_EQ(goneCalls, 0);
}

TEST_F(ControlLinkTest, WhatAClientSendsUnaskedDoesNotPileUp) {
    Client client;
    connect(client, "no json");
    EXPECT_FALSE(rtProfEdition);
    EXPECT_EQ(readoutText(Readout::edition), "");
    // More than the buffers of the system hold.
    const std::string garbage(1 << 20, '\xfe');
    std::atomic<bool> sent{false};
    std::thread sender([&] {
        for (int i = 0; i < 16; ++i)
            client.send(garbage);
        sent = true;
    });
    int lines = 0;
    EXPECT_TRUE(waitFor([&] {
        ++lines;
        sendQs121(user);
        return sent.load();
    }));
    sender.join();
    EXPECT_TRUE(rtConnected);
    for (; lines > 0; --lines)
        ASSERT_EQ(client.line(), formatQs121(user));
}

TEST_F(ControlLinkTest, VersionReplies) {
    const std::string bomb = std::string(16000, '[');
    const struct {
        std::string reply;
        bool prof;
        std::string edition;
    } cases[] = {
        {R"({"level":2,"version":"10.4.238"})", true, "RT prof edition: 10.4.238"},
        {R"({"level":2.0})", true, "RT prof edition: "},
        {R"({"level":1,"version":"9"})", false, "RT stnd edition: 9"},
        {R"({"level":3})", false, "RT stnd edition: "},
        {R"({"level":2.5})", false, "RT stnd edition: "},
        {R"({"level":"2","version":7})", false, "RT stnd edition: "},
        {R"({"level":null})", false, "RT stnd edition: "},
        {R"({"level":1e300})", false, "RT stnd edition: "},
        {R"({})", false, "RT stnd edition: "},
        {"{\"level\":2,\"version\":\"10\\n4\"}\r\n", true, "RT prof edition: 10 4"},
        {"{\"version\":\"" + std::string(5000, 'v') + "\"}", false, "RT stnd edition: " + std::string(40, 'v') + "..."},
        {"[2]", false, ""},
        {"version 2", false, ""},
        {R"({"level":2)", false, ""},
        {bomb, false, ""},
        {"", false, "before"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.reply.substr(0, 40));
        rtProfEdition = !c.prof;
        setReadout(Readout::edition, "before");
        evaluateVersionReply(c.reply);
        EXPECT_EQ(rtProfEdition, c.prof);
        EXPECT_EQ(readoutText(Readout::edition), c.edition);
    }
}

TEST_F(ControlLinkTest, PositionLine) {
    user.pitch = -0.0523;
    user.bank = 0.0;
    user.heading = 1.5707963;
    user.alt = 35000;
    user.groundSpeed = 450.25;
    user.lat = 90;
    user.lon = -180;
    EXPECT_EQ(formatQs121(user), "Qs121=-5e+03;0;1.570796;4e+07;450250;1.570796;-3.141593\r\n");
    user.alt = 0.005;
    user.groundSpeed = 100;
    EXPECT_EQ(formatQs121(user), "Qs121=-5e+03;0;1.570796;5;1e+05;1.570796;-3.141593\r\n");
}

} // namespace
} // namespace kes::test
