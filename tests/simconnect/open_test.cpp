// SPDX-License-Identifier: MIT
// Opening against peers that are no simulator, or not yet: it takes its time, no more, and looks at the stop flags.
#include "core/run_state.h"
#include "simconnect/open.h"
#include "simconnect/raw_server.h"

#include <atomic>
#include <condition_variable>
#include <cstring>
#include <dlfcn.h>
#include <mutex>
#include <netdb.h>
#include <utility>

namespace {

/// While set, looking up "slow.test" does not come back.
std::mutex lookUpMutex;
std::condition_variable lookUpChanged;
bool lookUpBlocked = false;
std::atomic<int> lookUps{0};

void blockLookUps(bool blocked) {
    {
        const std::lock_guard lock(lookUpMutex);
        lookUpBlocked = blocked;
    }
    lookUpChanged.notify_all();
}

} // namespace

// Stands before the system's own in this program: a name server that does not answer.
extern "C" int getaddrinfo(const char* node, const char* service, const addrinfo* hints, addrinfo** result) {
    static const auto real = reinterpret_cast<decltype(&getaddrinfo)>(dlsym(RTLD_NEXT, "getaddrinfo"));
    if (node == nullptr || std::strcmp(node, "slow.test") != 0)
        return real(node, service, hints, result);
    ++lookUps;
    std::unique_lock lock(lookUpMutex);
    lookUpChanged.wait(lock, [] { return !lookUpBlocked; });
    return real("127.0.0.1", service, hints, result);
}

namespace kes::simconnect {

namespace {

using Clock = std::chrono::steady_clock;

struct Open : ClientTest {
    void TearDown() override {
        blockLookUps(false);
        resetRunFlags();
        ClientTest::TearDown();
    }
    /// Takes one client and lets `serve` talk with it while this test opens; tells how long that took.
    HRESULT openAgainst(const std::function<void(Peer&)>& serve, OpenTry& attempt) {
        std::thread server([&] {
            peer = accept();
            serve(peer);
        });
        const auto begin = Clock::now();
        const HRESULT result = openSimulator(client, "Kestrelune", 0, attempt);
        tookMs = std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - begin).count();
        server.join();
        return result;
    }
    std::int64_t tookMs = 0;
};

std::string refusal(std::uint32_t index) {
    return message(1, {static_cast<DWORD>(Exception::versionMismatch), 1, index});
}

} // namespace

TEST_F(Open, OnlyAnAnswerMakesAConnection) {
    const struct {
        const char* name;
        std::string says;
        bool stays, opens;
    } rows[] = {
        {"silent", "", true, false},
        {"closes", "", false, false},
        {"half an answer", openMessage().substr(0, 100), true, false},
        {"another service", "HTTP/1.1 400 Bad Request\r\n\r\n", true, false},
        {"everything but the answer", message(4, {unused, 201, 1}) + message(1, {22, 1, 1}) + message(99, {1}), true,
         false},
        {"says goodbye", message(3), false, false},
        {"a simulator", openMessage(), true, true},
        {"a simulator that has said something before", message(4, {unused, 201, 1}) + openMessage(), true, true},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        OpenTry attempt;
        attempt.timeoutMs = 300;
        const HRESULT result = openAgainst(
            [&](Peer& one) {
                one.packet();
                one.send(row.says);
                if (!row.stays)
                    one.socket.close();
            },
            attempt);
        EXPECT_EQ(result, row.opens ? S_OK : E_FAIL);
        EXPECT_EQ(client != nullptr, row.opens);
        EXPECT_TRUE(attempt.reached);
        EXPECT_EQ(attempt.address, "127.0.0.1:" + std::to_string(port));
        EXPECT_EQ(attempt.file, "SimConnect.cfg");
        if (row.stays && !row.opens && !row.says.starts_with("HTTP")) {
            EXPECT_GE(tookMs, 300);
        }
        EXPECT_LT(tookMs, 5000);
        if (row.opens) {
            // The answer is still handed over, and with it what came behind.
            peer.send(message(4, {1, 2, 3}));
            seen.messages.clear();
            EXPECT_TRUE(dispatchUntil([&] { return seen.messages.size() == 2; }));
            EXPECT_EQ(seen.messages, (std::vector<std::string>{openMessage(), message(4, {1, 2, 3})}));
            SimConnect_Close(std::exchange(client, nullptr));
        }
    }
    EXPECT_EQ(program.logCount("no simulator answers"), 1U);
}

TEST_F(Open, TheLastRefusalIsAnAnswerThatTheUserHasToRead) {
    OpenTry attempt;
    const auto refuseAll = [&](Peer&) {
        for (std::uint32_t i = 0; i < 3; ++i) {
            if (i > 0)
                peer = accept();
            EXPECT_EQ(wordAt(peer.packet(), 4), 4 + i);
            peer.send(refusal(i));
            peer.socket.close();
        }
    };
    ASSERT_EQ(openAgainst(refuseAll, attempt), S_OK);
    EXPECT_TRUE(dispatchUntil([&] { return !seen.messages.empty(); }));
    EXPECT_EQ(seen.messages.front(), refusal(2));
}

TEST_F(Open, LooksAtTheStopFlags) {
    const auto begin = Clock::now();
    std::thread server([&] {
        peer = accept();
        peer.packet(); // the client waits for the answer from here on
        userClosed = true;
    });
    EXPECT_EQ(SimConnect_Open(&client, "Kestrelune"), E_FAIL);
    server.join();
    EXPECT_LT(Clock::now() - begin, std::chrono::seconds(5)) << "half of what it would wait otherwise";
}

TEST_F(Open, ANameServerThatDoesNotAnswerHoldsUpNobody) {
    writeConfig("[SimConnect]\nAddress=slow.test\nPort=" + std::to_string(port) + "\n");
    blockLookUps(true);
    lookUps = 0;
    for (int i = 0; i < 3; ++i) {
        OpenTry attempt;
        attempt.timeoutMs = 100;
        const auto begin = Clock::now();
        EXPECT_EQ(openSimulator(client, "Kestrelune", 0, attempt), E_FAIL);
        EXPECT_LT(Clock::now() - begin, std::chrono::seconds(5));
        EXPECT_FALSE(attempt.reached);
    }
    EXPECT_EQ(lookUps, 1) << "tries must not pile up";
    EXPECT_EQ(program.logCount("slow.test:" + std::to_string(port) + ": 11002"), 1U);
    userClosed = true;
    OpenTry stopped;
    stopped.giveUp = stopWanted;
    const auto begin = Clock::now();
    EXPECT_EQ(openSimulator(client, "Kestrelune", 0, stopped), E_FAIL);
    EXPECT_LT(Clock::now() - begin, std::chrono::milliseconds(1500)) << "two seconds without the flag";

    userClosed = false;
    blockLookUps(false);
    OpenTry attempt;
    EXPECT_EQ(openAgainst(
                  [](Peer& one) {
                      one.packet();
                      one.send(openMessage());
                  },
                  attempt),
              S_OK);
    EXPECT_EQ(attempt.address, "slow.test:" + std::to_string(port));
}

} // namespace kes::simconnect
