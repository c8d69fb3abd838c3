// SPDX-License-Identifier: MIT
#include "world/simulator/server.h"

#include "platform/socket.h"
#include "platform/system.h"
#include "world/simulator/control.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <fmt/format.h>
#include <list>
#include <mutex>
#include <system_error>
#include <thread>
#include <utility>

namespace kes::world {

namespace {

using Clock = std::chrono::steady_clock;
using platform::IoResult;
using platform::Socket;

constexpr int sendTimeoutMs = 10000; ///< a client that takes nothing for so long is cut off
constexpr int lingerMs = 300;        ///< how long a finished stream is drained
constexpr int lookMs = 100;          ///< how often a silent client's session is looked at
constexpr int reapMs = 200;

std::int64_t nowNs() {
    return std::chrono::duration_cast<std::chrono::nanoseconds>(Clock::now().time_since_epoch()).count();
}

/// A connection with its threads: the first reads and in the end closes the socket, the second only sends.
struct Client {
    Socket socket;
    std::atomic<std::uint32_t> sessionId{0};
    std::condition_variable output;
    std::thread reader, writer;
    std::atomic<bool> over{false};
};

} // namespace

struct ServerState {
    std::mutex mutex; ///< guards the simulator, and `stopping` for the waits
    Simulator simulator;
    bool stopping = false;
    std::condition_variable frameWait, quitWait;

    Socket listener, controlListener;
    std::mutex listMutex; ///< guards the two lists; never held together with `mutex`
    std::list<Client> clients, controls;
    std::thread frames, accepter, controlAccepter;
    bool socketsStarted = false;
    std::size_t maxClients = 0;

    /// Wakes the writers to look for something to do. Not under `mutex`.
    void wakeWriters();
    void runFrames();
    void acceptAll(Socket& from, std::list<Client>& list, void (ServerState::*serve)(Client&));
    bool admit(Socket& fresh, std::list<Client>& list, void (ServerState::*serve)(Client&));
    void reap(std::list<Client>& list, bool all);
    void serveClient(Client& client);
    void writeClient(Client& client);
    void serveControl(Client& client);
    std::string command(std::string_view line);
};

void ServerState::wakeWriters() {
    const std::lock_guard lock(listMutex);
    for (Client& client : clients)
        client.output.notify_one();
}

void ServerState::runFrames() {
    platform::nameThread("Frames");
    auto last = Clock::now();
    std::unique_lock lock(mutex);
    while (!stopping) {
        const std::int64_t wait = std::max<std::int64_t>(nextFrameNs(simulator) - simulator.timeNs, 0);
        frameWait.wait_until(lock, last + std::chrono::nanoseconds(wait));
        if (stopping)
            break;
        const auto now = Clock::now();
        advance(simulator, std::chrono::duration_cast<std::chrono::nanoseconds>(now - last).count(), true);
        last = now;
        lock.unlock();
        wakeWriters();
        lock.lock();
    }
}

void ServerState::writeClient(Client& client) {
    std::vector<std::byte> sending;
    std::unique_lock lock(mutex);
    for (;;) {
        Session* session = nullptr;
        client.output.wait(lock, [&] {
            session = findSession(simulator, client.sessionId);
            return !session || session->dropped || session->finished || session->out.size() != 0;
        });
        if (!session || session->dropped)
            break;
        if (session->out.size() == 0)
            break; // finished, and all of it has gone
        std::swap(sending, session->out.bytes);
        const std::size_t head = std::exchange(session->out.head, 0);
        lock.unlock();
        const IoResult sent = client.socket.sendAll(
            {reinterpret_cast<const char*>(sending.data()) + head, sending.size() - head}, sendTimeoutMs);
        sending.clear();
        lock.lock();
        if (sent.bytes < 0) {
            if (Session* failed = findSession(simulator, client.sessionId))
                failed->dropped = true;
            break;
        }
    }
    const Session* session = findSession(simulator, client.sessionId);
    const bool finished = session && session->finished && !session->dropped;
    lock.unlock();
    // After a quit the reader goes on a little, since closing on unread bytes could overtake the last message.
    if (!finished)
        client.socket.stop();
}

void ServerState::serveClient(Client& client) {
    platform::nameThread("Client");
    client.socket.setNoDelay();
    {
        const std::lock_guard lock(mutex);
        if (const Session* session = stopping ? nullptr : openSession(simulator))
            client.sessionId = session->id;
    }
    if (client.sessionId != 0) {
        try {
            client.writer = std::thread([this, &client] { writeClient(client); });
        } catch (const std::system_error&) {
            client.socket.stop(); // ends the loop below at once
        }
        std::vector<char> buffer(64 * 1024);
        std::optional<Clock::time_point> end;
        for (;;) {
            const IoResult got = client.socket.receive(buffer, lookMs);
            if (got.bytes == 0 || (got.bytes < 0 && !got.timedOut))
                break;
            const std::lock_guard lock(mutex);
            Session* session = findSession(simulator, client.sessionId);
            if (!session)
                break;
            if (got.bytes > 0) {
                simulator.outsideNs = nowNs();
                receive(simulator, *session,
                        std::as_bytes(std::span(buffer).first(static_cast<std::size_t>(got.bytes))));
            }
            if (session->dropped)
                break;
            // A finished stream is drained until the peer closes it too, but not for ever.
            if (session->finished && !end)
                end = Clock::now() + std::chrono::milliseconds(lingerMs);
            if (end && Clock::now() > *end)
                break;
            if (session->out.size() != 0 || session->finished)
                client.output.notify_one();
        }
        {
            const std::lock_guard lock(mutex);
            closeSession(simulator, client.sessionId);
        }
        client.output.notify_one();
        client.socket.stop();
        if (client.writer.joinable())
            client.writer.join();
        wakeWriters();
    }
    client.socket.close();
    client.over = true;
}

std::string ServerState::command(std::string_view line) {
    std::string answer;
    bool quits = false;
    std::vector<std::uint32_t> dropped;
    {
        const std::lock_guard lock(mutex);
        answer = runCommand(simulator, line);
        quits = simulator.quitting;
        for (const auto& session : simulator.sessions)
            if (session->dropped)
                dropped.push_back(session->id);
    }
    {
        // A writer that waits for room would notice only when its patience ends.
        const std::lock_guard lock(listMutex);
        for (Client& client : clients)
            if (std::find(dropped.begin(), dropped.end(), client.sessionId) != dropped.end())
                client.socket.stop();
    }
    wakeWriters();
    frameWait.notify_one();
    if (quits)
        quitWait.notify_all();
    return answer;
}

void ServerState::serveControl(Client& client) {
    platform::nameThread("Control");
    client.socket.setNoDelay();
    constexpr std::size_t longest = 4096;
    std::string waiting;
    std::vector<char> buffer(longest);
    bool alive = true;
    while (alive) {
        const IoResult got = client.socket.receive(buffer, -1);
        if (got.bytes <= 0)
            break;
        waiting.append(buffer.data(), static_cast<std::size_t>(got.bytes));
        for (std::size_t end = waiting.find('\n'); alive && end != std::string::npos; end = waiting.find('\n')) {
            const std::string answer = command(std::string_view(waiting).substr(0, end)) + '\n';
            waiting.erase(0, end + 1);
            alive = client.socket.sendAll(answer, sendTimeoutMs).bytes >= 0;
        }
        if (waiting.size() > longest)
            break;
    }
    client.socket.close();
    client.over = true;
}

void ServerState::reap(std::list<Client>& list, bool all) {
    std::list<Client> gone;
    {
        const std::lock_guard lock(listMutex);
        for (auto client = list.begin(); client != list.end();) {
            const auto next = std::next(client);
            if (all || client->over)
                gone.splice(gone.end(), list, client);
            client = next;
        }
    }
    for (Client& client : gone) {
        if (all)
            client.socket.stop();
        client.reader.join();
    }
}

void ServerState::acceptAll(Socket& from, std::list<Client>& list, void (ServerState::*serve)(Client&)) {
    platform::nameThread("Listener");
    for (;;) {
        Socket fresh;
        const IoResult result = from.accept(fresh, reapMs);
        if (result.stopped)
            return;
        reap(list, false);
        if (result.bytes < 0) {
            // Out of handles: they come back when clients leave.
            if (!result.timedOut)
                std::this_thread::sleep_for(std::chrono::milliseconds(reapMs));
            continue;
        }
        if (!admit(fresh, list, serve)) {
            const std::lock_guard lock(mutex);
            ++simulator.counters.refusedClients;
        }
    }
}

/// False when there is no place, or the system has no thread to give: the caller closes the connection then.
bool ServerState::admit(Socket& fresh, std::list<Client>& list, void (ServerState::*serve)(Client&)) {
    const std::lock_guard lock(listMutex);
    if (list.size() >= maxClients)
        return false;
    Client& client = list.emplace_back();
    client.socket = std::move(fresh);
    try {
        client.reader = std::thread([this, &client, serve] { (this->*serve)(client); });
    } catch (const std::system_error&) {
        list.pop_back();
        return false;
    }
    return true;
}

Server::Server() : state_(std::make_unique<ServerState>()) {}

Server::~Server() {
    stop(false);
}

bool Server::start(const SimulatorOptions& simulator, const ServerOptions& options, std::string& error) {
    ServerState& state = *state_;
    if (const int code = platform::startSockets(); code != 0) {
        error = fmt::format("no sockets, error {}", code);
        return false;
    }
    state.socketsStarted = true;
    state.maxClients = options.maxClients;
    const auto listen = [&error](Socket& socket, std::uint16_t port, bool loopbackOnly) {
        const char* step = "";
        const int code = socket.listenTcp(std::to_string(port), step, loopbackOnly);
        if (code != 0)
            error = fmt::format("port {}: {} failed with error {}", port, step, code);
        return code == 0;
    };
    if (!listen(state.listener, options.port, false) ||
        (options.control && !listen(state.controlListener, options.controlPort, true)))
        return false;
    world::start(state.simulator, simulator);
    state.simulator.outsideNs = nowNs();
    state.frames = std::thread([&state] { state.runFrames(); });
    state.accepter =
        std::thread([&state] { state.acceptAll(state.listener, state.clients, &ServerState::serveClient); });
    if (options.control)
        state.controlAccepter = std::thread(
            [&state] { state.acceptAll(state.controlListener, state.controls, &ServerState::serveControl); });
    return true;
}

std::uint16_t Server::port() const {
    return state_->listener.localPort();
}
std::uint16_t Server::controlPort() const {
    return state_->controlListener.localPort();
}
std::string Server::command(std::string_view line) {
    return state_->command(line);
}

void Server::look(const std::function<void(const Simulator&)>& look) const {
    const std::lock_guard lock(state_->mutex);
    look(state_->simulator);
}

bool Server::waitForQuit(int timeoutMs) {
    std::unique_lock lock(state_->mutex);
    return state_->quitWait.wait_for(lock, std::chrono::milliseconds(timeoutMs),
                                     [this] { return state_->simulator.quitting; });
}

void Server::stop(bool farewell) {
    ServerState& state = *state_;
    state.listener.stop();
    state.controlListener.stop();
    if (state.accepter.joinable())
        state.accepter.join();
    if (farewell) {
        state.command("quit");
        // The clients close when they have read it; those that do not are cut off.
        const auto end = Clock::now() + std::chrono::milliseconds(lingerMs);
        for (bool left = true; left && Clock::now() < end;) {
            state.reap(state.clients, false);
            std::unique_lock lock(state.mutex);
            left = !state.simulator.sessions.empty();
            if (left)
                state.quitWait.wait_for(lock, std::chrono::milliseconds(10));
        }
    }
    {
        const std::lock_guard lock(state.mutex);
        state.stopping = true;
    }
    state.frameWait.notify_all();
    state.reap(state.clients, true);
    if (state.frames.joinable())
        state.frames.join();
    if (state.controlAccepter.joinable())
        state.controlAccepter.join();
    state.reap(state.controls, true);
    state.listener.close();
    state.controlListener.close();
    if (std::exchange(state.socketsStarted, false))
        platform::endSockets();
}

} // namespace kes::world
