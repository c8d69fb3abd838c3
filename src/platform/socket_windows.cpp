// SPDX-License-Identifier: MIT
#ifdef _WIN32

#include "platform/socket_os.h"

#include <algorithm>
#include <climits>

namespace kes::platform::os {

namespace {

int length(std::size_t bytes) {
    return static_cast<int>(std::min<std::size_t>(bytes, INT_MAX));
}

} // namespace

int startLibrary() {
    WSADATA data;
    return ::WSAStartup(MAKEWORD(2, 2), &data);
}

void endLibrary() {
    ::WSACleanup();
}

int lastError() {
    return ::WSAGetLastError();
}

bool isPending(int error) {
    return error == WSAEWOULDBLOCK || error == WSAEINPROGRESS || error == WSAEALREADY;
}

int pendingError(Handle handle) {
    int number = 0;
    int size = sizeof number;
    if (::getsockopt(handle, SOL_SOCKET, SO_ERROR, reinterpret_cast<char*>(&number), &size) != 0)
        return lastError();
    return number;
}

Handle openBlockingSocket(int type, int protocol, int& error) {
    const Handle handle =
        ::WSASocketW(AF_INET, type, protocol, nullptr, 0, WSA_FLAG_OVERLAPPED | WSA_FLAG_NO_HANDLE_INHERIT);
    if (handle == noHandle)
        error = lastError();
    return handle;
}

Handle openSocket(int type, int protocol, int& error) {
    const Handle handle = openBlockingSocket(type, protocol, error);
    if (handle == noHandle)
        return handle;
    if ((error = setNonBlocking(handle)) != 0) {
        ::closesocket(handle);
        return noHandle;
    }
    return handle;
}

Handle acceptClient(Handle listener, int& error) {
    const Handle handle = ::accept(listener, nullptr, nullptr);
    if (handle == noHandle) {
        error = lastError();
        return handle;
    }
    if ((error = setNonBlocking(handle)) != 0) {
        ::closesocket(handle);
        return noHandle;
    }
    return handle;
}

void closeSocket(Handle handle) {
    ::closesocket(handle);
}

int setNonBlocking(Handle handle) {
    u_long on = 1;
    return ::ioctlsocket(handle, FIONBIO, &on) == 0 ? 0 : lastError();
}

int setOption(Handle handle, int level, int option, int value) {
    return ::setsockopt(handle, level, option, reinterpret_cast<const char*>(&value), sizeof value) == 0 ? 0
                                                                                                         : lastError();
}

std::ptrdiff_t receive(Handle handle, std::span<char> buffer, int& error) {
    const int bytes = ::recv(handle, buffer.data(), length(buffer.size()), 0);
    if (bytes != SOCKET_ERROR)
        return bytes;
    error = lastError();
    return error == WSAEMSGSIZE ? static_cast<std::ptrdiff_t>(buffer.size()) : -1;
}

std::ptrdiff_t send(Handle handle, std::span<const char> bytes, int& error) {
    const int sent = ::send(handle, bytes.data(), length(bytes.size()), 0);
    if (sent == SOCKET_ERROR)
        error = lastError();
    return sent;
}

std::ptrdiff_t sendTo(Handle handle, std::span<const char> bytes, const sockaddr_in& to, int& error) {
    const int sent =
        ::sendto(handle, bytes.data(), length(bytes.size()), 0, reinterpret_cast<const sockaddr*>(&to), sizeof to);
    if (sent == SOCKET_ERROR)
        error = lastError();
    return sent;
}

// One datagram socket that sends to itself; the datagram is never read, so it stays readable. The library is held
// as long as the channel lives, for sockets are made before the program's own start of the library.
WakeChannel::WakeChannel() {
    if (startLibrary() != 0)
        return;
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    int size = sizeof address;
    int error = 0;
    const Handle handle = openSocket(SOCK_DGRAM, IPPROTO_UDP, error);
    if (handle != noHandle && ::bind(handle, reinterpret_cast<const sockaddr*>(&address), size) == 0 &&
        ::getsockname(handle, reinterpret_cast<sockaddr*>(&address), &size) == 0 &&
        ::connect(handle, reinterpret_cast<const sockaddr*>(&address), size) == 0) {
        readEnd_ = writeEnd_ = handle;
        return;
    }
    if (handle != noHandle)
        ::closesocket(handle);
    endLibrary();
}

WakeChannel::~WakeChannel() {
    if (usable()) {
        ::closesocket(readEnd_);
        endLibrary();
    }
}

void WakeChannel::raise() {
    const char byte = 1;
    if (usable())
        ::send(writeEnd_, &byte, 1, 0);
}

PollResult pollSocket(Handle handle, bool forWriting, const WakeChannel& wake, int timeoutMs) {
    WSAPOLLFD entries[2] = {{handle, static_cast<SHORT>(forWriting ? POLLWRNORM : POLLRDNORM), 0},
                            {wake.readEnd(), POLLRDNORM, 0}};
    PollResult result;
    if (::WSAPoll(entries, wake.usable() ? 2 : 1, timeoutMs) == SOCKET_ERROR) {
        result.error = lastError();
        return result;
    }
    result.woken = wake.usable() && entries[1].revents != 0;
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
    addrinfo hints{};
    hints.ai_family = AF_INET;
    hints.ai_socktype = SOCK_STREAM;
    hints.ai_protocol = IPPROTO_TCP;
    hints.ai_flags = passive ? AI_PASSIVE : 0;
    const int code = ::getaddrinfo(host, port, &hints, &list_);
    if (code != 0)
        list_ = nullptr;
    return code;
}

} // namespace kes::platform::os

#endif
