// SPDX-License-Identifier: MIT
// The live page: what the simulator shows, on a page of a browser on this machine.
#pragma once

#include "airports/stands.h"
#include "world/simulator/server.h"

#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

namespace kes::world {

struct LiveViewOptions {
    std::uint16_t port = 0;        ///< on the loopback; 0 = any free one
    std::vector<Stand> stands;     ///< drawn below the aircraft
    std::filesystem::path program; ///< the program's log, which tells why an aircraft wears its livery; empty = none
    std::string place;             ///< shown in the head of the page, as "EDDM"
};

/// A web server of its own: "/" is the page, "/events" a stream of server-sent events with the messages of LiveState
/// five times a second, and with {"why": {label, title, step}} for each livery that the log tells.
class LiveView {
public:
    /// Serves what `server` shows; it must outlive this.
    explicit LiveView(Server& server);
    ~LiveView(); ///< stops
    LiveView(const LiveView&) = delete;
    LiveView& operator=(const LiveView&) = delete;

    /// False with the reason in `error` when the port cannot be had.
    bool start(const LiveViewOptions& options, std::string& error);
    std::uint16_t port() const; ///< 0 before a good `start`
    /// Ends all streams and joins the threads, within half a second.
    void stop();

private:
    struct State;
    std::unique_ptr<State> state_;
};

} // namespace kes::world
