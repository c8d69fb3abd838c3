// SPDX-License-Identifier: MIT
// The clients of the control link: who is connected, what each said to the version question, and which one is served.
// Worker only.
#pragma once

#include "platform/socket.h"

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace kes {

struct LinkClient {
    platform::Socket socket;
    std::string said;      ///< its texts since it came, at most 16383 bytes; its answer alone once `answered`
    bool answered = false; ///< `said` is a JSON object
    bool overrun = false;  ///< it said too much without an answer; no more is listened to
    bool fresh = false;    ///< `said` has changed since somebody looked
};

/// Anybody on this PC may connect, and RealTraffic need not be the first: who answered the version question goes before
/// who did not, and among equals the newest goes first. The others stay and may answer still.
class LinkClients {
public:
    /// More at a time are not kept; the oldest that is not served gives way.
    static constexpr std::size_t most = 32;
    /// A loss without an error: the client has closed its end, or its sending side.
    static constexpr int closed = -1;

    /// Takes in all who have connected, waiting at most `timeoutMs` for the first, and asks each for its version. A
    /// connection that its client has closed already is passed over. Returns 0 or the error of `call`.
    int admit(platform::Socket& listener, int timeoutMs, const char*& call);
    /// Reads what the clients have sent, waiting at most `timeoutMs` for the one that is served. Who has gone is
    /// dropped, and who answered before the newest one that did. Returns the error that ended the served one, `closed`,
    /// or 0 while it lives.
    int hear(int timeoutMs);
    LinkClient* served();              ///< null when there is none; valid until the next call
    void dropServed();                 ///< closes it; does nothing when there is none
    void clear() { clients_.clear(); } ///< closes all

private:
    std::size_t servedIndex() const;
    std::vector<LinkClient> clients_; ///< oldest first
};

} // namespace kes
