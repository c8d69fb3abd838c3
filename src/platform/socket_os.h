// SPDX-License-Identifier: MIT
// The few socket calls that differ between systems. Only for the files of this folder.
// Errors are numbers of the Windows Sockets list on every system.
#pragma once

#include <cstddef>
#include <span>

#ifdef _WIN32
#include <winsock2.h>
#include <ws2tcpip.h>
#else
#include <arpa/inet.h>
#include <netdb.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#endif

namespace kes::platform::os {

#ifdef _WIN32
using Handle = SOCKET;
inline constexpr Handle noHandle = INVALID_SOCKET;
#else
using Handle = int;
inline constexpr Handle noHandle = -1;
#endif

inline constexpr int notASocket = 10038;

/// 0 or the error. Both do nothing but on Windows.
int startLibrary();
void endLibrary();

/// The error of the last failed socket call.
int lastError();
/// True when a call only has to be repeated once the socket is ready.
bool isPending(int error);
/// The outcome of a connect that went on in the background.
int pendingError(Handle handle);

/// An IPv4 socket that is not inherited by child processes; `openSocket` and `acceptClient` give one that never blocks.
/// `noHandle` with `error` set on failure.
Handle openBlockingSocket(int type, int protocol, int& error);
Handle openSocket(int type, int protocol, int& error);
Handle acceptClient(Handle listener, int& error);
void closeSocket(Handle handle);
// 0 or the error.
int setNonBlocking(Handle handle);
int setOption(Handle handle, int level, int option, int value);

/// Bytes moved, or -1 with `error` set. A datagram longer than the buffer is cut; a stream that has ended gives 0.
std::ptrdiff_t receive(Handle handle, std::span<char> buffer, int& error);
std::ptrdiff_t send(Handle handle, std::span<const char> bytes, int& error);
std::ptrdiff_t sendTo(Handle handle, std::span<const char> bytes, const sockaddr_in& to, int& error);

/// Becomes readable once and for ever when raised.
class WakeChannel {
public:
    WakeChannel();
    ~WakeChannel();
    WakeChannel(const WakeChannel&) = delete;
    WakeChannel& operator=(const WakeChannel&) = delete;

    /// False when the system had none to give: nobody is woken then, and waits go by their time-outs alone.
    bool usable() const { return readEnd_ != noHandle; }
    Handle readEnd() const { return readEnd_; }
    void raise(); ///< any thread

private:
    Handle readEnd_ = noHandle;
    Handle writeEnd_ = noHandle;
};

struct PollResult {
    bool ready = false;
    bool woken = false;
    int error = 0;
};
/// Waits at most `timeoutMs` (negative = for ever) for the socket or the wake-up channel. May end early with nothing.
PollResult pollSocket(Handle handle, bool forWriting, const WakeChannel& wake, int timeoutMs);

/// IPv4 stream addresses of a host and port.
class AddressList {
public:
    AddressList() = default;
    ~AddressList();
    AddressList(const AddressList&) = delete;
    AddressList& operator=(const AddressList&) = delete;

    /// 0 or the error; on 0 there is at least one address.
    int find(const char* host, const char* port, bool passive);
    /// Null before a good `find`; valid as long as this.
    const addrinfo* first() const { return list_; }

private:
    addrinfo* list_ = nullptr;
};

} // namespace kes::platform::os
