#include "core/parameters.h"
#include "feed_test.h"

#include <atomic>
#include <future>

namespace kes::test {
namespace {

std::atomic<int> goneCalls{0};
std::atomic<int> waitCalls{0};

/// RealTraffic's end of the link.
struct Client {
    void connect() { ASSERT_EQ(socket.connectTcp("127.0.0.1", std::to_string(controlLinkPort()), 5000), 0); }
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
    platform::Socket socket;
    std::string pending;
};

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
    /// Connects a client that answers the version question with `answer`.
    void connect(Client& client, std::string_view answer) {
        auto waiting = std::async(std::launch::async, waitForRealTraffic);
        client.connect();
        EXPECT_EQ(client.line(), "Qs999=version\r\n");
        client.send(answer);
        waiting.get();
    }
    UserAircraft user;
};

TEST_F(ControlLinkTest, serverErrorsNameTheCall) {
    platform::Socket other;
    const char* step = "";
    ASSERT_EQ(other.listenTcp("0", step), 0);
    const std::string taken = std::to_string(other.localPort());
    EXPECT_NE(controlLinkPort(), 0);
    try {
        startServer(taken);
        FAIL() << "the port is taken";
    } catch (const std::runtime_error& error) {
        EXPECT_EQ(error.what(), "Bind failed at port " + taken + " with error " + socketErrorText(10048));
    }
    EXPECT_EQ(controlLinkPort(), 0);
    try {
        startServer("no port");
        FAIL() << "the port is no number";
    } catch (const std::runtime_error& error) {
        EXPECT_TRUE(std::string(error.what()).starts_with("getaddrinfo failed with error ")) << error.what();
    }
    EXPECT_FALSE(waitForClient());
    startServer("0");
    EXPECT_NE(controlLinkPort(), 0);
}

TEST_F(ControlLinkTest, wholeConversation) {
    Client client;
    connect(client, R"({"level":2,"version":"10.1"})");
    EXPECT_TRUE(rtConnected && rtProfEdition && readouts.rtLight);
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

TEST_F(ControlLinkTest, nothingHappensWithoutRealTrafficOnThisPc) {
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

TEST_F(ControlLinkTest, waitsEndWithTheRun) {
    const std::pair<const char*, std::function<void()>> waits[] = {{"for the first client", waitForRealTraffic},
                                                                   {"for its return", [this] { sendQs121(user); }}};
    for (std::atomic<bool>* flag : {&exitRequested, &userClosed}) {
        for (const auto& [what, wait] : waits) {
            SCOPED_TRACE(what);
            waitCalls = 0;
            auto waiting = std::async(std::launch::async, wait);
            EXPECT_TRUE(eventually([] { return waitCalls >= 2; }));
            const auto start = std::chrono::steady_clock::now();
            *flag = true;
            waiting.get();
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
}

TEST_F(ControlLinkTest, aClientThatDoesNotAnswerIsNotWaitedForBeyondTheRun) {
    auto waiting = std::async(std::launch::async, waitForRealTraffic);
    Client client;
    client.connect();
    EXPECT_EQ(client.line(), "Qs999=version\r\n");
    const auto start = std::chrono::steady_clock::now();
    userClosed = true;
    waiting.get();
    EXPECT_LT(std::chrono::steady_clock::now() - start, 200ms);
}

TEST_F(ControlLinkTest, aSilentClientCountsAsTheStandardEdition) {
    auto waiting = std::async(std::launch::async, waitForRealTraffic);
    Client client;
    client.connect();
    waiting.get();
    EXPECT_TRUE(rtConnected && readouts.rtLight);
    EXPECT_FALSE(rtProfEdition);
    EXPECT_TRUE(logged("No RealTraffic version received?"));
    sendQs121(user);
    EXPECT_EQ(client.line(), "Qs999=version\r\n");
    EXPECT_EQ(client.line(), formatQs121(user));
}

TEST_F(ControlLinkTest, aClientGoesAndComesBack) {
    // By a close, by a reset (unread bytes at the close), and found by the line with the time.
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
            ASSERT_TRUE(eventually([] {
                sendQs123(1700000000);
                return !rtConnected;
            }));
        }
        ASSERT_TRUE(eventually([&] {
            sendQs121(user);
            return goneCalls == 1;
        }));
        EXPECT_FALSE(rtConnected || readouts.rtLight);
        EXPECT_EQ(trafficReader.timestamp, 0.0) << "the readers start anew";
        EXPECT_TRUE(statusText().ends_with(" RealTraffic gone? Wait for RealTraffic to re-connect ..."))
            << statusText();
        EXPECT_TRUE(logged("RealTraffic client socket closed"));

        auto waiting = std::async(std::launch::async, [this] { sendQs121(user); });
        Client again;
        again.connect();
        waiting.get();
        EXPECT_TRUE(rtConnected && readouts.rtLight);
        EXPECT_TRUE(logLines().back().ends_with(" RealTraffic re-connected"));
        EXPECT_EQ(statusText(), "");
        sendQs121(user);
        EXPECT_EQ(again.line(), formatQs121(user)) << "the version is not asked for again";
        closeControlLink();
        startServer("0");
    }
}

TEST_F(ControlLinkTest, afterTheCloseClickTheTrafficStays) {
    Client client;
    connect(client, "{}");
    userClosed = true;
    client.socket.close();
    ASSERT_TRUE(eventually([&] {
        sendQs121(user);
        return !rtConnected;
    }));
    EXPECT_EQ(goneCalls, 0);
}

TEST_F(ControlLinkTest, whatAClientSendsUnaskedDoesNotPileUp) {
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
    EXPECT_TRUE(eventually([&] {
        ++lines;
        sendQs121(user);
        return sent.load();
    }));
    sender.join();
    EXPECT_TRUE(rtConnected);
    for (; lines > 0; --lines)
        ASSERT_EQ(client.line(), formatQs121(user));
}

TEST_F(ControlLinkTest, receiveRefusesAnOverlongAnswer) {
    auto waiting = std::async(std::launch::async, waitForClient);
    Client client;
    client.connect();
    ASSERT_TRUE(waiting.get());
    client.send(std::string(40000, 'x'));
    EXPECT_TRUE(eventually([] { return receive().empty(); }));
    EXPECT_TRUE(logged("receive: buffer overrun: 16384"));
}

TEST_F(ControlLinkTest, versionReplies) {
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

TEST_F(ControlLinkTest, positionLine) {
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
