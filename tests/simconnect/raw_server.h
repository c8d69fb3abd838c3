// SPDX-License-Identifier: MIT
// What the tests of the client stand on: a peer that knows bytes and nothing else, and the client in a folder of its
// own with a SimConnect.cfg that names this peer.
#pragma once

#include "platform/socket.h"
#include "simconnect/simconnect.h"
#include "support.h"

#include <cstdint>
#include <initializer_list>

namespace kes::simconnect {

/// Bytes from a readable form: pairs of hex digits, "text" in single quotes, and n*00 for n zeros.
std::string bytesOf(const std::string& form);
/// `count` of one character.
inline std::string run(std::size_t count, char c) {
    return std::string(count, c);
}
/// The 32-bit word at an offset; fails the test when there is none.
std::uint32_t wordAt(const std::string& bytes, std::size_t offset);
/// A message from the simulator: header and words, filled up with zeros to `size` (0 = as long as the words).
std::string message(std::uint32_t kind, std::initializer_list<std::uint32_t> words = {}, std::size_t size = 0);
std::string openMessage(const std::string& name = "KittyHawk");

/// One end of a stream on which whole client packets are read.
struct Peer {
    platform::Socket socket;

    void send(const std::string& bytes);
    /// The next `count` bytes; fewer when the stream ends first.
    std::string read(std::size_t count);
    /// The next packet, empty at the end of the stream.
    std::string packet();
    /// True when the stream ends properly here, not by a reset.
    bool endsCleanly();
};

/// What a handler has been given, in order.
struct Seen {
    std::vector<std::string> messages;
    std::function<void(const Recv&)> onMessage;

    static void handler(const Recv* pData, DWORD cbData, void* pContext);
    std::size_t count(RecvId kind) const;
};

class ClientTest : public ::testing::Test {
protected:
    void SetUp() override;
    void TearDown() override;

    void writeConfig(const std::string& text) const;
    /// Connects the client without waiting for an answer and takes it in; OPEN is still to be read from the peer. An
    /// earlier connection ends, and what it has brought is forgotten.
    void connect();
    Peer accept();
    /// Dispatches until `done`, or until a call fails; false after ten seconds.
    bool dispatchUntil(const std::function<bool()>& done);
    bool dispatchUntilEnd();

    platform::Socket listener;
    std::uint16_t port = 0;
    Peer peer;
    HANDLE client = nullptr;
    Seen seen;
    HRESULT lastResult = S_OK;
    const test::ProgramFolder program;
    const std::filesystem::path folder = program.folder;
};

} // namespace kes::simconnect
