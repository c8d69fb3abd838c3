// SPDX-License-Identifier: MIT
// Sockets on IPv4, the same on every system. Nothing throws but std::bad_alloc. One thread may receive and another send
// on one object, while a third calls `stop`, which ends their waits at once. Error codes are in Windows Sockets
// numbering (see core/log.h, socketErrorText).
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <string>

namespace kes::platform {

/// Starts the socket library (Windows); returns 0 or the error number. Nests; each success needs one `endSockets`.
int startSockets();
void endSockets();

struct SocketState; // handle and wake-up channel

/// Result of a transfer: `bytes` moved, or -1 with `error`. `stopped` tells that `stop` ended the wait.
struct IoResult {
    std::ptrdiff_t bytes = -1;
    int error = 0;
    bool stopped = false;
    bool timedOut = false;
};

/// A socket of any kind. Moved, never copied; closed by its destructor.
class Socket {
public:
    Socket();
    ~Socket();
    Socket(Socket&&) noexcept;
    Socket& operator=(Socket&&) noexcept;

    bool isOpen() const;
    /// Wakes a thread that waits on this socket, now and from now on. Any thread; keeps the object valid.
    void stop();
    /// Closes the handle. Only by the thread that uses it, or when no thread does.
    void close();

    /// Each returns 0 or an error number.
    int openUdp();
    int bindUdp(std::uint16_t port, bool loopbackOnly); ///< port 0 = any free one
    int setReceiveBuffer(int bytes); ///< what the system holds back for a slow reader; it may take less
    /// IPv4, stream, passive on all addresses or on the loopback alone; `step` names the failing call ("getaddrinfo",
    /// "socket", "ioctlsocket", "setsockopt", "bind", "listen").
    int listenTcp(const std::string& port, const char*& step, bool loopbackOnly = false);
    /// Waits at most `timeoutMs`, looking up the name included (11002 when that takes longer). `giveUp` is asked every
    /// 50 ms; once it says true the wait ends with 10004.
    int connectTcp(const std::string& host, const std::string& port, int timeoutMs,
                   const std::function<bool()>& giveUp = {});
    int setNoDelay(); ///< small pieces of a stream are sent at once
    /// Port in host order that the socket is bound to, 0 when unknown.
    std::uint16_t localPort() const;

    /// Waits for one datagram or some bytes of a stream, at most `timeoutMs` (negative = for ever).
    /// A stream that the peer has closed gives 0 bytes.
    IoResult receive(std::span<char> buffer, int timeoutMs);
    /// Sends all bytes of a stream, waiting for room at most `timeoutMs`.
    IoResult sendAll(std::span<const char> bytes, int timeoutMs);
    /// Sends one datagram to an IPv4 address.
    IoResult sendTo(std::span<const char> bytes, const std::string& host, std::uint16_t port);
    /// Waits for a client. `client` is open after a result of 0 bytes.
    IoResult accept(Socket& client, int timeoutMs);

private:
    std::shared_ptr<SocketState> state_;
};

} // namespace kes::platform
