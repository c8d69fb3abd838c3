// SPDX-License-Identifier: MIT
// The stand-in simulator as a TCP server: one listener for clients, and one on loopback for commands.
#pragma once

#include "world/simulator/model.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>

namespace kes::world {

struct ServerOptions {
    std::uint16_t port = 0;        ///< 0 = any free one
    bool control = false;          ///< listen for commands
    std::uint16_t controlPort = 0; ///< 0 = any free one
    std::size_t maxClients = 64;   ///< at once, on each of the two ports; a connection beyond is closed
};

struct ServerState;

/// Owns the simulator, its threads and its sockets.
class Server {
public:
    Server();
    ~Server(); ///< stops
    Server(const Server&) = delete;
    Server& operator=(const Server&) = delete;

    /// Listens and starts the frames. False with the reason in `error`.
    bool start(const SimulatorOptions& simulator, const ServerOptions& options, std::string& error);
    std::uint16_t port() const;        ///< 0 before a good `start`
    std::uint16_t controlPort() const; ///< likewise, and without a control port
    /// One command (see control.h) between two frames. Any thread.
    std::string command(std::string_view line);
    /// Shows the simulator between two frames. `look` must be quick, since they wait for it. Any thread.
    void look(const std::function<void(const Simulator&)>& look) const;
    /// Waits until the simulator has quit by command, or `timeoutMs` have passed. True when it has quit.
    bool waitForQuit(int timeoutMs);
    /// Ends the streams and joins the threads; `farewell` sends QUIT first. The counters stay readable.
    void stop(bool farewell);

private:
    std::unique_ptr<ServerState> state_;
};

} // namespace kes::world
