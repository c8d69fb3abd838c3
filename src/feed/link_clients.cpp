// SPDX-License-Identifier: MIT
#include "feed/link_clients.h"

#include "core/foreign_log.h"
#include "core/log.h"

#include <array>
#include <fmt/format.h>
#include <nlohmann/json.hpp>
#include <utility>

namespace kes {

namespace {

using nlohmann::json;
using platform::IoResult;
using platform::Socket;

constexpr std::size_t bufferSize = 16384;
/// Reads at a time of what one client sends; 1 MB.
constexpr int readsAtATime = 64;
/// Connections taken in at a time, so that a flood of them does not hold the worker.
constexpr int admittedAtATime = 64;

LogLimiter complaints{"control link"};

bool isObject(std::string_view text) {
    return json::parse(text, nullptr, false).is_object();
}

void takeIn(LinkClient& client, std::string_view text) {
    if (client.answered || client.overrun)
        return;
    if (client.said.size() + text.size() >= bufferSize) {
        complaints.write(fmt::format("receive: buffer overrun: {}", client.said.size() + text.size()));
        client.overrun = true;
        return;
    }
    // The answer comes in one piece, as a rule: alone, or behind what was said unasked.
    const bool whole = isObject(text);
    if (whole)
        client.said.clear();
    client.said += text;
    client.answered = whole || isObject(client.said);
    client.fresh = true;
}

/// Reads what a client has sent. Returns the error that ended the connection, 0 while it stands.
int listenTo(LinkClient& client, int timeoutMs) {
    std::array<char, bufferSize> buffer;
    for (int i = 0; i < readsAtATime; ++i) {
        const IoResult got = client.socket.receive(buffer, i == 0 ? timeoutMs : 0);
        if (got.timedOut)
            return 0;
        if (got.bytes <= 0)
            return got.bytes == 0 ? LinkClients::closed : got.error;
        takeIn(client, {buffer.data(), static_cast<std::size_t>(got.bytes)});
    }
    return 0;
}

} // namespace

int LinkClients::admit(Socket& listener, int timeoutMs, const char*& call) {
    complaints.tellLeftOut();
    for (int i = 0; i < admittedAtATime; ++i) {
        LinkClient fresh;
        call = "accept";
        const IoResult accepted = listener.accept(fresh.socket, i == 0 ? timeoutMs : 0);
        if (accepted.timedOut)
            break;
        if (accepted.bytes < 0)
            return accepted.error;
        if (listenTo(fresh, 0) != 0)
            continue;
        call = "setsockopt";
        if (const int error = fresh.socket.setNoDelay())
            return error;
        constexpr std::string_view question = "Qs999=version\r\n";
        if (fresh.socket.sendAll({question.data(), question.size()}, 0).bytes < 0)
            continue;
        clients_.push_back(std::move(fresh));
        if (clients_.size() > most)
            clients_.erase(clients_.begin() + (servedIndex() == 0 ? 1 : 0));
    }
    return 0;
}

int LinkClients::hear(int timeoutMs) {
    if (clients_.empty())
        return 0;
    const std::size_t wasServed = servedIndex();
    int lossError = 0;
    std::size_t kept = 0;
    for (std::size_t i = 0; i < clients_.size(); ++i) {
        const bool isServed = i == wasServed;
        if (const int error = listenTo(clients_[i], isServed ? timeoutMs : 0)) {
            if (isServed)
                lossError = error;
            continue;
        }
        if (kept != i)
            clients_[kept] = std::move(clients_[i]);
        ++kept;
    }
    clients_.erase(clients_.begin() + static_cast<std::ptrdiff_t>(kept), clients_.end());
    // RealTraffic that was started anew, while its old connection hangs.
    for (std::size_t i = clients_.empty() ? 0 : servedIndex(); i-- > 0;) {
        if (!clients_[i].answered)
            continue;
        complaints.write("RealTraffic has connected anew, its older connection is closed");
        clients_.erase(clients_.begin() + static_cast<std::ptrdiff_t>(i));
    }
    return lossError;
}

std::size_t LinkClients::servedIndex() const {
    for (std::size_t i = clients_.size(); i-- > 0;)
        if (clients_[i].answered)
            return i;
    return clients_.size() - 1;
}

LinkClient* LinkClients::served() {
    return clients_.empty() ? nullptr : &clients_[servedIndex()];
}

void LinkClients::dropServed() {
    if (!clients_.empty())
        clients_.erase(clients_.begin() + static_cast<std::ptrdiff_t>(servedIndex()));
}

} // namespace kes
