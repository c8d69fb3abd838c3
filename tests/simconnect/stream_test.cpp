// SPDX-License-Identifier: MIT
// The simulator's stream: cut into messages wherever it is split, and ended where it makes no sense.
#include "simconnect/connection.h"
#include "simconnect/raw_server.h"

#include <cstring>
#include <numeric>
#include <random>
#include <stdexcept>
#include <utility>

namespace kes::simconnect {

namespace {

using Stream = ClientTest;

/// A stream that is known from the start and arrives in pieces of given lengths; then nothing more comes.
struct PieceTransport final : Transport {
    std::string bytes;
    std::function<std::size_t()> nextPiece;
    std::size_t at = 0;

    bool write(std::span<const std::byte>) override { return true; }
    std::ptrdiff_t read(std::span<std::byte> buffer) override {
        const std::size_t count = std::min({nextPiece(), buffer.size(), bytes.size() - at});
        std::memcpy(buffer.data(), bytes.data() + at, count);
        at += count;
        return static_cast<std::ptrdiff_t>(count);
    }
};

std::string numberedEvents(std::uint32_t count) {
    std::string bytes;
    for (std::uint32_t i = 0; i < count; ++i)
        bytes += message(4, {unused, 201, i});
    return bytes;
}

void expectNumberedEvents(const Seen& seen, std::uint32_t count) {
    ASSERT_EQ(seen.messages.size(), count);
    for (std::uint32_t i = 0; i < count; ++i)
        ASSERT_EQ(seen.messages[i], message(4, {unused, 201, i}));
}

} // namespace

TEST_F(Stream, PiecesOfAnyLengthAndOneCallIsBounded) {
    std::mt19937 random(7);
    for (const std::size_t longest : {3U, 40U, 5000U, 200000U}) {
        auto transport = std::make_unique<PieceTransport>();
        transport->bytes = numberedEvents(10000);
        transport->nextPiece = [&random, longest] { return 1 + random() % longest; };
        ASSERT_EQ(connectWith(client, std::move(transport), "Kestrelune", 0, nullptr), S_OK);
        seen.messages.clear();
        std::size_t most = 0;
        for (int call = 0; call < 5; ++call) {
            const std::size_t earlier = seen.messages.size();
            EXPECT_EQ(SimConnect_CallDispatch(client, Seen::handler, &seen), S_OK);
            most = std::max(most, seen.messages.size() - earlier);
        }
        EXPECT_EQ(most, 4096U);
        expectNumberedEvents(seen, 10000);
        SimConnect_Close(std::exchange(client, nullptr));
    }
}

TEST_F(Stream, LargestMessagePassesWhole) {
    connect();
    std::string large = message(8, {108, 2, 407, 0, 1, 1, 1}, 1024 * 1024);
    std::iota(large.begin() + 40, large.end(), '\0');
    std::thread sender([&] { peer.send(message(3) + large + message(4, {1, 2, 3})); });
    EXPECT_TRUE(dispatchUntil([&] { return seen.messages.size() == 3; }));
    sender.join();
    EXPECT_TRUE(seen.messages == (std::vector{message(3), large, message(4, {1, 2, 3})}));
}

TEST_F(Stream, BrokenSizesEndTheConnection) {
    for (const std::uint32_t size : {0U, 1U, 11U, 1024U * 1024U + 1U, 0x80000000U, 0xFFFFFFFFU}) {
        SCOPED_TRACE(size);
        connect();
        std::string broken = message(4, {1, 2, 3});
        std::memcpy(broken.data(), &size, 4);
        peer.packet();
        peer.send(openMessage() + broken + message(4, {7, 8, 9}));
        EXPECT_TRUE(dispatchUntilEnd());
        EXPECT_EQ(seen.messages, (std::vector{openMessage(), message(3)}));
        EXPECT_EQ(program.logCount("cannot have " + std::to_string(size) + " bytes, connection ended"), 1U);
        EXPECT_TRUE(peer.endsCleanly());
        DWORD id = 0;
        EXPECT_EQ(SimConnect_AIRemoveObject(client, 1, 2), E_FAIL);
        EXPECT_EQ(SimConnect_GetLastSentPacketID(client, &id), E_FAIL);
    }
}

TEST_F(Stream, EachKindHasItsSmallestSize) {
    const struct {
        std::uint32_t kind;
        std::size_t smallest;
    } kinds[] = {{1, 24}, {2, 308}, {4, 24},  {5, 28},   {6, 288}, {7, 32},
                 {8, 40}, {9, 40},  {12, 20}, {15, 284}, {16, 40}, {27, 40}};
    for (const auto& [kind, smallest] : kinds) {
        SCOPED_TRACE(kind);
        connect();
        const std::size_t before = program.logText().size();
        peer.packet();
        peer.send(message(kind, {}, smallest) + message(kind, {}, smallest - 1));
        EXPECT_TRUE(dispatchUntilEnd());
        EXPECT_EQ(seen.messages, (std::vector{message(kind, {}, smallest), message(3)}));
        EXPECT_EQ(program.logCount("message of kind " + std::to_string(kind) + " ("), 1U);
        const std::string told =
            " has " + std::to_string(smallest - 1) + " bytes instead of " + std::to_string(smallest);
        EXPECT_NE(program.logText().find(told, before), std::string::npos);
    }
}

TEST_F(Stream, NamesWithoutTheirZeroAreEnded) {
    const std::string open = openMessage(run(256, 'A'));
    std::string file = message(6, {unused, 205, 0}, 288);
    file.replace(24, 260, run(260, 'B'));
    file[284] = 'C';
    connect();
    peer.send(open + file);
    EXPECT_TRUE(dispatchUntil([&] { return seen.messages.size() == 2; }));
    EXPECT_EQ(seen.messages[0].substr(12, 256), run(255, 'A') + '\0');
    EXPECT_EQ(seen.messages[1].substr(24, 260), run(259, 'B') + '\0');
    EXPECT_EQ(seen.messages[1].substr(284), file.substr(284));
}

TEST_F(Stream, AnExceptionOfTheHandlerLeavesTheRest) {
    connect();
    peer.packet();
    peer.send(numberedEvents(5));
    seen.onMessage = [this](const Recv&) {
        EXPECT_EQ(SimConnect_AIRemoveObject(client, static_cast<DWORD>(seen.messages.size()), 105), S_OK);
        if (seen.messages.size() == 2)
            throw std::runtime_error("from the handler");
    };
    EXPECT_THROW(dispatchUntil([&] { return seen.messages.size() == 5; }), std::runtime_error);
    EXPECT_EQ(seen.messages.size(), 2U);
    // What the handler had sent before it threw is not stuck either.
    EXPECT_EQ(wordAt(peer.packet(), 16), 1U);
    EXPECT_EQ(wordAt(peer.packet(), 16), 2U);
    EXPECT_TRUE(dispatchUntil([&] { return seen.messages.size() == 5; }));
    expectNumberedEvents(seen, 5);
}

TEST_F(Stream, OneQuitAtTheEndHoweverItComes) {
    const struct {
        const char* name;
        bool readOpen; ///< bytes left unread turn the close into a reset
        std::string last;
        std::size_t messages;
    } cases[] = {
        {"closed", true, "", 1},
        {"closed in the middle of a message", true, openMessage().substr(0, 100), 1},
        {"closed after its own quit", true, message(3), 1},
        {"closed after an event", true, message(4, {1, 2, 3}), 2},
        {"reset", false, "", 1},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        connect();
        if (c.readOpen)
            peer.packet();
        if (!c.last.empty())
            peer.send(c.last);
        peer.socket.close();
        EXPECT_TRUE(dispatchUntilEnd());
        EXPECT_EQ(seen.messages.size(), c.messages);
        EXPECT_EQ(seen.count(RecvId::quit), 1U);
        EXPECT_EQ(seen.messages.back(), message(3));
        EXPECT_EQ(SimConnect_CallDispatch(client, Seen::handler, &seen), E_FAIL);
        EXPECT_EQ(seen.count(RecvId::quit), 1U);
    }
}

} // namespace kes::simconnect
