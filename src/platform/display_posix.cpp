// SPDX-License-Identifier: MIT
#ifndef _WIN32

#include "platform/display.h"

#include <cerrno>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <netdb.h>
#include <poll.h>
#include <string_view>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace kes::platform {

namespace {

constexpr int answerMs = 1000;

struct Handle {
    int fd = -1;
    ~Handle() {
        if (fd >= 0)
            ::close(fd);
    }
};

bool connects(int family, const sockaddr* address, socklen_t size) {
    const Handle handle{::socket(family, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0)};
    if (handle.fd < 0)
        return false;
    if (::connect(handle.fd, address, size) == 0)
        return true;
    if (errno != EINPROGRESS && errno != EAGAIN)
        return false;
    pollfd wait{handle.fd, POLLOUT, 0};
    if (::poll(&wait, 1, answerMs) != 1)
        return false;
    int error = 0;
    socklen_t length = sizeof error;
    return ::getsockopt(handle.fd, SOL_SOCKET, SO_ERROR, &error, &length) == 0 && error == 0;
}

/// A file's socket, or one of the name without a file (`abstract`).
bool connectsTo(const std::string& path, bool abstract) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    const std::size_t at = abstract ? 1 : 0;
    if (path.empty() || path.size() + at >= sizeof address.sun_path)
        return false;
    std::memcpy(address.sun_path + at, path.data(), path.size());
    const auto size = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + at + path.size() + (abstract ? 0 : 1));
    return connects(AF_UNIX, reinterpret_cast<const sockaddr*>(&address), size);
}

bool connectsByNet(const std::string& host, int port) {
    addrinfo hints{};
    hints.ai_socktype = SOCK_STREAM;
    addrinfo* found = nullptr;
    if (::getaddrinfo(host.c_str(), std::to_string(port).c_str(), &hints, &found) != 0)
        return false;
    bool any = false;
    for (const addrinfo* one = found; one != nullptr && !any; one = one->ai_next)
        any = connects(one->ai_family, one->ai_addr, one->ai_addrlen);
    ::freeaddrinfo(found);
    return any;
}

/// "[host]:number[.screen]"; a path is a socket's own.
bool xServerTakesUs(const std::string& name) {
    constexpr int firstPort = 6000;
    if (name.starts_with('/'))
        return connectsTo(name.substr(0, name.rfind('.')), false) || connectsTo(name, false);
    const std::size_t colon = name.rfind(':');
    if (colon == std::string::npos)
        return false;
    const std::string host = name.substr(0, colon);
    const int number = std::atoi(name.c_str() + colon + 1);
    if (host.empty() || host == "unix") {
        const std::string path = "/tmp/.X11-unix/X" + std::to_string(number);
        return connectsTo(path, true) || connectsTo(path, false);
    }
    return connectsByNet(host, firstPort + number);
}

bool compositorTakesUs(const std::string& name) {
    const char* const folder = std::getenv("XDG_RUNTIME_DIR");
    return connectsTo(name.starts_with('/') || folder == nullptr ? name : std::string(folder) + '/' + name, false);
}

} // namespace

bool displayCanBeReached(std::string& reason) {
    reason.clear();
    const char* const wayland = std::getenv("WAYLAND_DISPLAY");
    const char* const x = std::getenv("DISPLAY");
    for (const bool isX : {false, true}) {
        const char* const name = isX ? x : wayland;
        if (name == nullptr || *name == '\0')
            continue;
        if (isX ? xServerTakesUs(name) : compositorTakesUs(name)) {
            reason.clear();
            return true;
        }
        reason = std::string("the display ") + name + " cannot be reached";
    }
    return false;
}

void* loadedAddress(const char* name) {
    return ::dlsym(RTLD_DEFAULT, name);
}

} // namespace kes::platform

#endif
