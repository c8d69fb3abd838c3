// SPDX-License-Identifier: MIT
#ifndef _WIN32

#include "platform/socket_os.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <poll.h>
#include <string_view>
#include <unistd.h>

namespace kes::platform::os {

namespace {

int fromErrno(int number) {
    switch (number) {
    case EINTR:
        return 10004;
    case EBADF:
        return 10009;
    case EACCES:
    case EPERM:
        return 10013;
    case EFAULT:
        return 10014;
    case EINVAL:
        return 10022;
    case EMFILE:
    case ENFILE:
        return 10024;
    case EAGAIN:
        return 10035;
#if EWOULDBLOCK != EAGAIN
    case EWOULDBLOCK:
        return 10035;
#endif
    case EINPROGRESS:
        return 10036;
    case EALREADY:
        return 10037;
    case ENOTSOCK:
        return 10038;
    case EDESTADDRREQ:
        return 10039;
    case EMSGSIZE:
        return 10040;
    case EPROTOTYPE:
        return 10041;
    case ENOPROTOOPT:
        return 10042;
    case EPROTONOSUPPORT:
        return 10043;
    case ESOCKTNOSUPPORT:
        return 10044;
    case EOPNOTSUPP:
        return 10045;
    case EPFNOSUPPORT:
        return 10046;
    case EAFNOSUPPORT:
        return 10047;
    case EADDRINUSE:
        return 10048;
    case EADDRNOTAVAIL:
        return 10049;
    case ENETDOWN:
        return 10050;
    case ENETUNREACH:
        return 10051;
    case ENETRESET:
        return 10052;
    case ECONNABORTED:
        return 10053;
    // A write to a stream whose peer has closed: Windows calls it a reset as well.
    case EPIPE:
    case ECONNRESET:
        return 10054;
    case ENOBUFS:
    case ENOMEM:
        return 10055;
    case EISCONN:
        return 10056;
    case ENOTCONN:
        return 10057;
    case ESHUTDOWN:
        return 10058;
    case ETOOMANYREFS:
        return 10059;
    case ETIMEDOUT:
        return 10060;
    case ECONNREFUSED:
        return 10061;
    case ELOOP:
        return 10062;
    case ENAMETOOLONG:
        return 10063;
    case EHOSTDOWN:
        return 10064;
    case EHOSTUNREACH:
        return 10065;
    default:
        return number;
    }
}

int fromAddressError(int code) {
    switch (code) {
    case EAI_AGAIN:
        return 11002;
    case EAI_FAIL:
        return 11003;
    case EAI_FAMILY:
        return 10047;
    case EAI_SOCKTYPE:
        return 10044;
    case EAI_SERVICE:
        return 10109;
    case EAI_MEMORY:
        return 10055;
    case EAI_BADFLAGS:
        return 10022;
    case EAI_SYSTEM:
        return fromErrno(errno);
    default:
        return 11001;
    }
}

/// The library takes 70000 for 4464 and an empty text for 0: a port that nobody meant.
bool isImpossiblePort(std::string_view port) {
    if (port.empty())
        return true;
    unsigned long number = 0;
    for (const char c : port) {
        if (c < '0' || c > '9')
            return false; // a service name, looked up by the library
        number = std::min(number * 10 + static_cast<unsigned long>(c - '0'), 100000UL);
    }
    return number > 65535;
}

std::ptrdiff_t checked(ssize_t bytes, int& error) {
    if (bytes < 0)
        error = fromErrno(errno);
    return bytes;
}

} // namespace

int startLibrary() {
    return 0;
}
void endLibrary() {}

int lastError() {
    return fromErrno(errno);
}

bool isPending(int error) {
    return error == 10035 || error == 10036 || error == 10037;
}

int pendingError(Handle handle) {
    int number = 0;
    socklen_t length = sizeof number;
    if (::getsockopt(handle, SOL_SOCKET, SO_ERROR, &number, &length) != 0)
        return lastError();
    return number == 0 ? 0 : fromErrno(number);
}

Handle openBlockingSocket(int type, int protocol, int& error) {
    const Handle handle = ::socket(AF_INET, type | SOCK_CLOEXEC, protocol);
    if (handle == noHandle)
        error = lastError();
    return handle;
}

Handle openSocket(int type, int protocol, int& error) {
    return openBlockingSocket(type | SOCK_NONBLOCK, protocol, error);
}

Handle acceptClient(Handle listener, int& error) {
    const Handle handle = ::accept4(listener, nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK);
    if (handle == noHandle)
        error = lastError();
    return handle;
}

void closeSocket(Handle handle) {
    ::close(handle);
}

int setNonBlocking(Handle handle) {
    const int flags = ::fcntl(handle, F_GETFL);
    if (flags < 0 || ::fcntl(handle, F_SETFL, flags | O_NONBLOCK) < 0)
        return lastError();
    return 0;
}

int setOption(Handle handle, int level, int option, int value) {
    return ::setsockopt(handle, level, option, &value, sizeof value) == 0 ? 0 : lastError();
}

std::ptrdiff_t receive(Handle handle, std::span<char> buffer, int& error) {
    return checked(::recv(handle, buffer.data(), buffer.size(), 0), error);
}

// A vanished peer must come back as an error, not as a signal that ends the process.
std::ptrdiff_t send(Handle handle, std::span<const char> bytes, int& error) {
    return checked(::send(handle, bytes.data(), bytes.size(), MSG_NOSIGNAL), error);
}

std::ptrdiff_t sendTo(Handle handle, std::span<const char> bytes, const sockaddr_in& to, int& error) {
    return checked(
        ::sendto(handle, bytes.data(), bytes.size(), MSG_NOSIGNAL, reinterpret_cast<const sockaddr*>(&to), sizeof to),
        error);
}

WakeChannel::WakeChannel() {
    int ends[2];
    if (::pipe2(ends, O_CLOEXEC | O_NONBLOCK) == 0) {
        readEnd_ = ends[0];
        writeEnd_ = ends[1];
    }
}

WakeChannel::~WakeChannel() {
    if (usable()) {
        ::close(readEnd_);
        ::close(writeEnd_);
    }
}

// The byte is never read, so the pipe stays readable.
void WakeChannel::raise() {
    const char byte = 1;
    while (usable() && ::write(writeEnd_, &byte, 1) < 0 && errno == EINTR) {
    }
}

PollResult pollSocket(Handle handle, bool forWriting, const WakeChannel& wake, int timeoutMs) {
    pollfd entries[2] = {{handle, static_cast<short>(forWriting ? POLLOUT : POLLIN), 0}, {wake.readEnd(), POLLIN, 0}};
    PollResult result;
    // A negative handle is passed over by poll, which is how a missing wake-up channel reads.
    if (::poll(entries, 2, timeoutMs) < 0) {
        if (errno != EINTR)
            result.error = lastError();
        return result;
    }
    result.woken = entries[1].revents != 0;
    if ((entries[0].revents & POLLNVAL) != 0)
        result.error = notASocket;
    else
        result.ready = entries[0].revents != 0;
    return result;
}

AddressList::~AddressList() {
    if (list_ != nullptr)
        ::freeaddrinfo(list_);
}

int AddressList::find(const char* host, const char* port, bool passive) {
    if (isImpossiblePort(port))
        return fromAddressError(EAI_SERVICE);
    addrinfo hints{};
    hints.ai_family = AF_INET;
    hints.ai_socktype = SOCK_STREAM;
    hints.ai_protocol = IPPROTO_TCP;
    hints.ai_flags = passive ? AI_PASSIVE : 0;
    const int code = ::getaddrinfo(host, port, &hints, &list_);
    if (code != 0) {
        list_ = nullptr;
        return fromAddressError(code);
    }
    return 0;
}

} // namespace kes::platform::os

#endif
