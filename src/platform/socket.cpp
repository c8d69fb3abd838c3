// SPDX-License-Identifier: MIT
#include "platform/socket.h"

#include "platform/socket_os.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <climits>
#include <condition_variable>
#include <mutex>
#include <system_error>
#include <thread>
#include <utility>

namespace kes::platform {

namespace {

using Clock = std::chrono::steady_clock;

constexpr int interrupted = 10004;
constexpr int invalidArgument = 10022;
constexpr int timedOut = 10060;
constexpr int notConnected = 10057;
constexpr int tryLookUpAgain = 11002;
constexpr int sliceMs = 50; ///< between two looks at a flag

/// The end of a wait; a negative time-out never ends.
class Deadline {
public:
    explicit Deadline(int timeoutMs)
        : endless_(timeoutMs < 0), end_(Clock::now() + std::chrono::milliseconds(timeoutMs)) {}

    int leftMs() const {
        if (endless_)
            return -1;
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(end_ - Clock::now()).count();
        return static_cast<int>(std::clamp<long long>(left, 0, INT_MAX));
    }

private:
    bool endless_;
    Clock::time_point end_;
};

IoResult failed(int error) {
    IoResult result;
    result.error = error;
    return result;
}

IoResult wasStopped() {
    IoResult result = failed(interrupted);
    result.stopped = true;
    return result;
}

IoResult moved(std::ptrdiff_t bytes) {
    IoResult result;
    result.bytes = bytes;
    return result;
}

/// A name on its way to addresses. The system's look-up can block for half a minute and cannot be ended, so it has a
/// thread of its own, which is left behind when nobody waits any more.
struct LookUp {
    std::string host, port;
    std::mutex mutex;
    std::condition_variable changed;
    bool done = false; ///< under `mutex`; the fields below are settled then
    int error = 0;
    os::AddressList addresses;
};

/// Starts a look-up, or joins the one that is under way for this name: tries that come every second must not pile up.
std::shared_ptr<LookUp> startLookUp(const std::string& host, const std::string& port) {
    static std::mutex mutex;
    static std::shared_ptr<LookUp> current;
    const std::lock_guard turn(mutex);
    if (current && current->host == host && current->port == port) {
        const std::lock_guard lock(current->mutex);
        if (!current->done)
            return current;
    }
    auto fresh = std::make_shared<LookUp>();
    fresh->host = host;
    fresh->port = port;
    std::thread([fresh] {
        os::startLibrary();
        const int error = fresh->addresses.find(fresh->host.c_str(), fresh->port.c_str(), false);
        os::endLibrary();
        {
            const std::lock_guard lock(fresh->mutex);
            fresh->error = error;
            fresh->done = true;
        }
        fresh->changed.notify_all();
    }).detach();
    current = fresh;
    return fresh;
}

/// 0 and the finished look-up, or the error.
int findName(const std::string& host, const std::string& port, const Deadline& deadline,
             const std::atomic<bool>& stopped, const std::function<bool()>& giveUp, std::shared_ptr<LookUp>& found) {
    try {
        found = startLookUp(host, port);
    } catch (const std::system_error&) {
        return tryLookUpAgain; // no thread to be had
    }
    std::unique_lock lock(found->mutex);
    while (!found->done) {
        if (stopped || (giveUp && giveUp()))
            return interrupted;
        const int left = deadline.leftMs();
        if (left == 0)
            return tryLookUpAgain;
        const int slice = left < 0 || left > sliceMs ? sliceMs : left;
        found->changed.wait_for(lock, std::chrono::milliseconds(slice), [&] { return found->done; });
    }
    return found->error;
}

bool isNumeric(const std::string& host) {
    in_addr address{};
    return ::inet_pton(AF_INET, host.c_str(), &address) == 1;
}

} // namespace

/// The handle belongs to the using thread; `stopped` and the wake-up channel are all that `stop` touches.
struct SocketState {
    std::atomic<os::Handle> handle{os::noHandle};
    std::atomic<bool> stopped{false};
    os::WakeChannel wake;

    ~SocketState() { close(); }

    void close() {
        const os::Handle old = handle.exchange(os::noHandle);
        if (old != os::noHandle)
            os::closeSocket(old);
    }

    void adopt(os::Handle fresh) {
        close();
        handle = fresh;
    }

    /// Waits until the socket is ready. Nothing = ready, else the result to hand to the caller.
    IoResult wait(bool forWriting, const Deadline& deadline, const std::function<bool()>& giveUp = {}) {
        for (;;) {
            if (stopped || (giveUp && giveUp()))
                return wasStopped();
            int left = deadline.leftMs();
            // Without a wake-up channel (the process ran out of handles) the stop flag is looked at in between.
            const bool sliced = (giveUp || !wake.usable()) && (left < 0 || left > sliceMs);
            if (sliced)
                left = sliceMs;
            const os::PollResult ready = os::pollSocket(handle, forWriting, wake, left);
            if (ready.error != 0)
                return failed(ready.error);
            if (stopped || ready.woken)
                return wasStopped();
            if (ready.ready)
                return moved(0);
            if (!sliced && deadline.leftMs() == 0) {
                IoResult result = failed(timedOut);
                result.timedOut = true;
                return result;
            }
        }
    }
};

int startSockets() {
    return os::startLibrary();
}
void endSockets() {
    os::endLibrary();
}

Socket::Socket() : state_(std::make_shared<SocketState>()) {}
Socket::~Socket() = default;
Socket::Socket(Socket&&) noexcept = default;
Socket& Socket::operator=(Socket&&) noexcept = default;

bool Socket::isOpen() const {
    return state_ && state_->handle != os::noHandle;
}

void Socket::stop() {
    if (state_ && !state_->stopped.exchange(true))
        state_->wake.raise();
}

void Socket::close() {
    if (state_)
        state_->close();
}

int Socket::openUdp() {
    if (!state_)
        state_ = std::make_shared<SocketState>();
    int error = 0;
    const os::Handle fresh = os::openSocket(SOCK_DGRAM, IPPROTO_UDP, error);
    if (fresh == os::noHandle)
        return error;
    state_->adopt(fresh);
    return 0;
}

int Socket::bindUdp(std::uint16_t port, bool loopbackOnly) {
    if (!isOpen())
        return os::notASocket;
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(loopbackOnly ? INADDR_LOOPBACK : INADDR_ANY);
    if (::bind(state_->handle, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0)
        return os::lastError();
    return 0;
}

int Socket::setReceiveBuffer(int bytes) {
    if (!isOpen())
        return os::notASocket;
    return os::setOption(state_->handle, SOL_SOCKET, SO_RCVBUF, bytes);
}

int Socket::listenTcp(const std::string& port, const char*& step, bool loopbackOnly) {
    if (!state_)
        state_ = std::make_shared<SocketState>();
    step = "getaddrinfo";
    os::AddressList addresses;
    if (const int error = addresses.find(loopbackOnly ? "127.0.0.1" : nullptr, port.c_str(), true))
        return error;

    step = "socket";
    int error = 0;
    os::Handle fresh = os::openBlockingSocket(SOCK_STREAM, IPPROTO_TCP, error);
    if (fresh == os::noHandle)
        return error;
    state_->adopt(fresh);

    const auto fail = [this](int reason) {
        state_->close();
        return reason;
    };
    // The handle never blocks by itself: every wait goes through a poll, which `stop` can end.
    step = "ioctlsocket";
    if ((error = os::setNonBlocking(fresh)) != 0)
        return fail(error);
    step = "setsockopt";
    if ((error = os::setOption(fresh, SOL_SOCKET, SO_REUSEADDR, 1)) != 0)
        return fail(error);
    step = "bind";
    const addrinfo* address = addresses.first();
    if (::bind(fresh, address->ai_addr, static_cast<socklen_t>(address->ai_addrlen)) != 0)
        return fail(os::lastError());
    step = "listen";
    if (::listen(fresh, SOMAXCONN) != 0)
        return fail(os::lastError());
    return 0;
}

int Socket::connectTcp(const std::string& host, const std::string& port, int timeoutMs,
                       const std::function<bool()>& giveUp) {
    if (!state_)
        state_ = std::make_shared<SocketState>();
    const Deadline deadline(timeoutMs);
    os::AddressList numeric;
    std::shared_ptr<LookUp> named;
    int error = 0;
    if (isNumeric(host))
        error = numeric.find(host.c_str(), port.c_str(), false);
    else
        error = findName(host, port, deadline, state_->stopped, giveUp, named);
    if (error != 0)
        return error;
    error = notConnected;
    for (const addrinfo* address = named ? named->addresses.first() : numeric.first(); address != nullptr;
         address = address->ai_next) {
        const os::Handle fresh = os::openSocket(SOCK_STREAM, IPPROTO_TCP, error);
        if (fresh == os::noHandle)
            return error;
        state_->adopt(fresh);
        error = 0;
        if (::connect(fresh, address->ai_addr, static_cast<socklen_t>(address->ai_addrlen)) != 0) {
            error = os::lastError();
            if (os::isPending(error)) {
                const IoResult ready = state_->wait(true, deadline, giveUp);
                error = ready.bytes == 0 ? os::pendingError(fresh) : ready.error;
                if (ready.stopped) {
                    state_->close();
                    return error;
                }
            }
        }
        if (error == 0)
            return 0;
        state_->close();
    }
    return error;
}

int Socket::setNoDelay() {
    if (!isOpen())
        return os::notASocket;
    return os::setOption(state_->handle, IPPROTO_TCP, TCP_NODELAY, 1);
}

std::uint16_t Socket::localPort() const {
    sockaddr_in address{};
    socklen_t length = sizeof address;
    if (!isOpen() || ::getsockname(state_->handle, reinterpret_cast<sockaddr*>(&address), &length) != 0)
        return 0;
    return ntohs(address.sin_port);
}

IoResult Socket::receive(std::span<char> buffer, int timeoutMs) {
    if (!isOpen())
        return failed(os::notASocket);
    // An empty buffer would read as the end of a stream.
    if (buffer.empty())
        return failed(invalidArgument);
    const Deadline deadline(timeoutMs);
    for (;;) {
        if (state_->stopped)
            return wasStopped();
        // Reading first saves a poll for each datagram while they come in floods.
        int error = 0;
        const std::ptrdiff_t bytes = os::receive(state_->handle, buffer, error);
        if (bytes >= 0)
            return moved(bytes);
        if (!os::isPending(error) && error != interrupted)
            return failed(error);
        if (const IoResult ready = state_->wait(false, deadline); ready.bytes < 0)
            return ready;
    }
}

IoResult Socket::sendAll(std::span<const char> bytes, int timeoutMs) {
    if (!isOpen())
        return failed(os::notASocket);
    const Deadline deadline(timeoutMs);
    std::size_t done = 0;
    while (done < bytes.size()) {
        if (state_->stopped)
            return wasStopped();
        int error = 0;
        const std::ptrdiff_t sent = os::send(state_->handle, bytes.subspan(done), error);
        if (sent >= 0) {
            done += static_cast<std::size_t>(sent);
            continue;
        }
        if (!os::isPending(error) && error != interrupted)
            return failed(error);
        if (const IoResult ready = state_->wait(true, deadline); ready.bytes < 0)
            return ready;
    }
    return moved(static_cast<std::ptrdiff_t>(done));
}

IoResult Socket::sendTo(std::span<const char> bytes, const std::string& host, std::uint16_t port) {
    if (!isOpen())
        return failed(os::notASocket);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    if (::inet_pton(AF_INET, host.c_str(), &address.sin_addr) != 1)
        return failed(invalidArgument);
    // A full send queue is waited for; a datagram that is dropped here would look like one lost on the way.
    const Deadline deadline(1000);
    for (;;) {
        int error = 0;
        const std::ptrdiff_t sent = os::sendTo(state_->handle, bytes, address, error);
        if (sent >= 0)
            return moved(sent);
        if (!os::isPending(error) && error != interrupted)
            return failed(error);
        if (const IoResult ready = state_->wait(true, deadline); ready.bytes < 0)
            return ready;
    }
}

IoResult Socket::accept(Socket& client, int timeoutMs) {
    if (!isOpen())
        return failed(os::notASocket);
    if (!client.state_)
        client.state_ = std::make_shared<SocketState>();
    const Deadline deadline(timeoutMs);
    for (;;) {
        if (state_->stopped)
            return wasStopped();
        int error = 0;
        const os::Handle fresh = os::acceptClient(state_->handle, error);
        if (fresh != os::noHandle) {
            // The client keeps its wake-up channel: a stop that came before the client did still holds.
            client.state_->adopt(fresh);
            return moved(0);
        }
        // A client that gave up between its call and our answer is no fault of the listener.
        const bool vanished = error == 10053 || error == 10054;
        if (!os::isPending(error) && error != interrupted && !vanished)
            return failed(error);
        if (const IoResult ready = state_->wait(false, deadline); ready.bytes < 0)
            return ready;
    }
}

} // namespace kes::platform
