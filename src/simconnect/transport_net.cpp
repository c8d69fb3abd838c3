// SPDX-License-Identifier: MIT
// Packets over a TCP connection to the simulator that SimConnect.cfg names.
#include "core/log.h"
#include "platform/socket.h"
#include "platform/system.h"
#include "simconnect/config.h"
#include "simconnect/transport.h"
#include "simconnect/wire.h"

#include <algorithm>
#include <array>
#include <fmt/format.h>
#include <string>
#include <vector>

namespace kes::simconnect {

namespace {

constexpr int connectTimeoutMs = 2000; ///< looking up the name included
/// A simulator that loads takes nothing for a while, but then nothing much is sent either, and the system's own buffers
/// hold more than all of it. Full buffers for this long mean that nobody reads any more.
constexpr int sendTimeoutMs = 2000;
constexpr std::size_t holdBytes = 64 * 1024;
constexpr int connectionRefused = 10061, connectionTimedOut = 10060, interrupted = 10004;

class NetTransport final : public Transport {
public:
    /// Takes over one successful startSockets.
    explicit NetTransport(platform::Socket&& socket) : socket_(std::move(socket)) { held_.reserve(holdBytes); }

    ~NetTransport() override {
        flush();
        // A stream that is closed over unread bytes is reset, and a reset may overtake the last packets sent.
        std::array<std::byte, 4096> rest;
        for (std::size_t taken = 0; taken < wire::maxServerPacket;) {
            const std::ptrdiff_t bytes = read(rest);
            if (bytes <= 0)
                break;
            taken += static_cast<std::size_t>(bytes);
        }
        socket_.close();
        platform::endSockets();
    }

    bool write(std::span<const std::byte> packet) override {
        if (held_.empty())
            return send(packet);
        return writeHeld(packet) && flush();
    }

    // One call to the system for a frame's packets instead of one for each.
    bool writeHeld(std::span<const std::byte> packet) override {
        if (ended_)
            return false;
        if (held_.size() + packet.size() > holdBytes && !flush())
            return false;
        held_.insert(held_.end(), packet.begin(), packet.end());
        return true;
    }

    bool flush() override {
        if (held_.empty())
            return !ended_;
        const bool sent = send(held_);
        held_.clear();
        return sent;
    }

    std::ptrdiff_t read(std::span<std::byte> buffer) override {
        const platform::IoResult result = socket_.receive({reinterpret_cast<char*>(buffer.data()), buffer.size()}, 0);
        if (result.bytes > 0)
            return result.bytes;
        return result.timedOut ? 0 : -1;
    }

private:
    bool send(std::span<const std::byte> bytes) {
        if (ended_)
            return false;
        const platform::IoResult result =
            socket_.sendAll({reinterpret_cast<const char*>(bytes.data()), bytes.size()}, sendTimeoutMs);
        if (result.bytes >= 0)
            return true;
        // The socket stays open: what has arrived before may tell why, and only the reading thread may close it.
        ended_ = true;
        if (result.timedOut)
            log("! SimConnect: the simulator takes no more packets, connection ended");
        return false;
    }

    platform::Socket socket_;
    std::vector<std::byte> held_; ///< whole packets, in the order of their send ids
    bool ended_ = false;          ///< for writing
};

} // namespace

std::unique_ptr<Transport> openTransport(DWORD configIndex, HRESULT& result, OpenTry& attempt) {
    const std::optional<ConnectConfig> config = loadConfig(configIndex);
    if (!config) {
        attempt.file = platform::pathText(findConfigFile());
        attempt.doubt = "It has no section [SimConnect].";
        result = E_INVALIDARG;
        return nullptr;
    }
    result = E_FAIL;
    attempt.address = config->address + ':' + config->port;
    attempt.file = config->file;
    if (!config->notUnderstood.empty())
        attempt.doubt = fmt::format("In it \"{}\" is not understood and left out.", config->notUnderstood);
    if (config->protocol == "Pipe" || config->protocol == "IPv6") {
        logWhenNew(fmt::format("! SimConnect.cfg: protocol {} is not available, use IPv4, on one PC with address "
                               "127.0.0.1, see Manual 3",
                               config->protocol));
        attempt.doubt = fmt::format("Its protocol {} is not available, use IPv4.", config->protocol);
        return nullptr;
    }
    if (const int error = platform::startSockets(); error != 0) {
        logWhenNew("! SimConnect: " + socketErrorText(error));
        return nullptr;
    }
    platform::Socket socket;
    if (const int error = socket.connectTcp(config->address, config->port,
                                            std::min(connectTimeoutMs, attempt.timeoutMs), attempt.giveUp);
        error != 0) {
        // That nobody listens is the normal state before the simulator starts.
        if (error != connectionRefused && error != connectionTimedOut && error != interrupted)
            logWhenNew(fmt::format("! SimConnect: {}: {}", attempt.address, socketErrorText(error)));
        socket.close();
        platform::endSockets();
        return nullptr;
    }
    // Packets are small and a frame's worth is sent in one piece: waiting for more would only add delay. A failure
    // costs some milliseconds of delay and nothing else.
    socket.setNoDelay();
    attempt.reached = true;
    result = S_OK;
    return std::make_unique<NetTransport>(std::move(socket));
}

} // namespace kes::simconnect
