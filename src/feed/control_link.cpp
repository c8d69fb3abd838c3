// SPDX-License-Identifier: MIT
#include "feed/control_link.h"

#include "core/errors.h"
#include "core/foreign_log.h"
#include "core/log.h"
#include "core/parameters.h"
#include "core/run_state.h"
#include "core/text.h"
#include "core/window.h"
#include "feed/link_clients.h"
#include "feed/port_advice.h"
#include "feed/traffic_reader.h"
#include "platform/socket.h"

#include <charconv>
#include <chrono>
#include <fmt/format.h>
#include <limits>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <utility>

namespace kes {

ControlLinkHooks controlLinkHooks;
std::chrono::milliseconds sourceAdviceAfter = std::chrono::minutes(1);

namespace {

using nlohmann::json;
using platform::IoResult;
using Clock = std::chrono::steady_clock;

/// The wait for the network is cut into pieces of this length, so that the end of the run is seen.
constexpr auto slice = std::chrono::milliseconds(100);
/// While an answer is waited for, others are let in this often.
constexpr int answerSliceMs = 20;
/// A client that has not told its version by now counts as one without, until it does.
constexpr auto longestAnswer = std::chrono::seconds(5);
/// A client that leaves its lines unread until the system has no more room for them has stopped working.
constexpr int longestSendMs = 500;
constexpr std::size_t longestVersion = 40;
constexpr int connectionReset = 10054;

platform::Socket listener;
LinkClients clients;
bool librarySocketsStarted = false;
/// The last client was lost, and sendQs121 still has to act on it.
bool lossPending = false;

void endLibrary() {
    if (librarySocketsStarted)
        platform::endSockets();
    librarySocketsStarted = false;
}

void tellLoss(int error) {
    log(fmt::format("sendDataPacket to RealTraffic failed: {}",
                    socketErrorText(error == LinkClients::closed ? connectionReset : error)));
    log("RealTraffic client socket closed");
}

/// Lets in who has connected, waiting at most `timeoutMs`. False on an error, which is logged.
bool admit(int timeoutMs) {
    const char* call = "";
    const int error = clients.admit(listener, timeoutMs, call);
    if (error != 0)
        log(fmt::format("waitForClient interrupted: {}",
                        fmt::format("{} {} failed with error {}", "waitForClient", call, socketErrorText(error))));
    return error == 0;
}

/// Brings the flags in line with the clients that are left.
void followClients() {
    const bool connected = clients.served() != nullptr;
    if (rtConnected != connected)
        lossPending = !connected;
    rtConnected = connected;
}

/// Lets in newer clients, drops those that have gone, and takes in what they answer, however late.
void lookAtClients() {
    admit(0);
    if (const int error = clients.hear(0))
        tellLoss(error);
    followClients();
    if (LinkClient* client = clients.served(); client != nullptr && std::exchange(client->fresh, false))
        evaluateVersionReply(client->said);
}

void showLight(bool on) {
    readouts.rtLight = on;
    repaint();
}

void clientHasGone() {
    lossPending = false;
    showLight(false);
    if (!userClosed && controlLinkHooks.clientGone != nullptr)
        controlLinkHooks.clientGone();
    resetReaders();
    showStatus(fmt::format("{} RealTraffic gone? Wait for RealTraffic to re-connect ...", timeStamp()), true);
}

std::string listenError(std::string_view step, const std::string& port, int error) {
    if (step == "getaddrinfo")
        return fmt::format("getaddrinfo failed with error {}", error);
    if (step == "setsockopt")
        return "setsockopt(SO_REUSEADDR) failed";
    if (step == "bind")
        return fmt::format("Bind failed at port {} with error {}", port, socketErrorText(error));
    return fmt::format("{} failed with error {}", step, socketErrorText(error));
}

} // namespace

void startServer(const std::string& port) {
    closeControlLink();
    if (const int error = platform::startSockets())
        throw std::runtime_error(fmt::format("WSAStartup failed with error {}", error));
    librarySocketsStarted = true;
    const char* step = "";
    if (const int error = listener.listenTcp(port, step, true)) {
        listener.close();
        endLibrary();
        std::uint16_t number = 0;
        const auto [end, bad] = std::from_chars(port.data(), port.data() + port.size(), number);
        throw AdvisedError(listenError(step, port, error),
                           bad != std::errc() || end != port.data() + port.size()
                               ? fmt::format("{} in parameters.xml is \"{}\". It has to be a number from 1 to 65535.",
                                             par::PORT_NUMBER.name, port)
                               : portAdvice(number, platform::PortKind::tcp, par::PORT_NUMBER.name));
    }
}

std::uint16_t controlLinkPort() {
    return listener.localPort();
}

void waitForRealTraffic() {
    if (!rtOnThisPc)
        return;
    showStatus("Waiting for RealTraffic to connect to Kestrelune ...", true);
    resetReaders();
    std::string reply;
    do {
        // A client that goes before it has answered costs no more than its own time.
        if (!waitForClient()) {
            lossPending = false;
            clearStatus();
            return;
        }
        reply = receive();
    } while (!rtConnected);
    evaluateVersionReply(reply);
    showLight(true);
    rtWaitPending = false;
    log("RealTraffic connected");
    clearStatus();
}

bool waitForClient() {
    if (rtConnected || !listener.isOpen())
        return false;
    auto hookDue = Clock::now() + slice;
    const auto adviceDue = Clock::now() + sourceAdviceAfter;
    bool advised = false;
    while (!stopWanted()) {
        if (!admit(static_cast<int>(slice.count())))
            return false;
        followClients();
        if (rtConnected)
            return true;
        if (!advised && Clock::now() >= adviceDue) {
            advised = true;
            showStatus(statusText(), false,
                       fmt::format("Nobody has connected to port {} of this PC so far. Is RealTraffic running and "
                                   "logged in? Is {} in parameters.xml the port that it connects to?",
                                   listener.localPort(), par::PORT_NUMBER.name));
        }
        if (const auto now = Clock::now(); now >= hookDue) {
            hookDue = now + slice;
            if (controlLinkHooks.whileWaiting != nullptr)
                controlLinkHooks.whileWaiting();
        }
    }
    return false;
}

bool sendDataPacket(std::string_view text) {
    LinkClient* client = clients.served();
    if (client == nullptr)
        return false;
    const IoResult sent = client->socket.sendAll({text.data(), text.size()}, longestSendMs);
    if (sent.bytes >= 0)
        return true;
    clients.dropServed();
    tellLoss(sent.error);
    followClients();
    return false;
}

std::string receive() {
    const auto end = Clock::now() + longestAnswer;
    do {
        admit(0);
        if (const int error = clients.hear(answerSliceMs); error != 0 && error != LinkClients::closed)
            log(fmt::format("receive: {}", socketErrorText(error)));
        followClients();
        LinkClient* client = clients.served();
        if (client == nullptr || client->overrun)
            return {};
        if (std::exchange(client->fresh, false))
            return client->said;
    } while (!stopWanted() && Clock::now() < end);
    return {};
}

std::string formatQs121(const UserAircraft& user) {
    return fmt::format("Qs121={};{};{:.6f};{};{};{:.6f};{:.6f}\r\n", generalOneDigit(user.pitch * 100000.0),
                       generalOneDigit(user.bank * 100000.0), user.heading, generalOneDigit(user.alt * 1000.0),
                       shortest(user.groundSpeed * 1000.0), user.lat * degToRad, user.lon * degToRad);
}

void sendQs121(const UserAircraft& user) {
    if (!rtOnThisPc || !user.known())
        return;
    if (!rtConnected && !lossPending) {
        if (exitReason() == ExitReason::notYetSet && waitForClient()) {
            showLight(true);
            showStatus(fmt::format("{} RealTraffic re-connected", timeStamp()), true);
            clearStatus();
        }
        return;
    }
    // The first line to a client that has closed its end is still taken by the system, and lost.
    lookAtClients();
    const std::string line = formatQs121(user);
    while (rtConnected)
        if (sendDataPacket(line))
            return;
    clientHasGone();
}

void sendQs123(std::int64_t simEpochSeconds) {
    if (!rtConnected || simEpochSeconds < 1 || simEpochSeconds > std::numeric_limits<std::int64_t>::max() / 1000)
        return;
    sendDataPacket(fmt::format("Qs123={}\r\n", simEpochSeconds * 1000));
}

void evaluateVersionReply(const std::string& reply) {
    if (reply.empty()) {
        showStatus("No RealTraffic version received?", true);
        rtProfEdition = false;
        return;
    }
    const json answer = json::parse(reply, nullptr, false);
    if (!answer.is_object()) {
        rtProfEdition = false;
        setReadout(Readout::edition, "");
        repaint();
        return;
    }
    const auto level = answer.find("level");
    rtProfEdition = level != answer.end() && level->is_number() && level->get<double>() == 2.0;
    std::string version;
    if (const auto found = answer.find("version"); found != answer.end() && found->is_string())
        version = quoted(found->get_ref<const std::string&>(), longestVersion);
    setReadout(Readout::edition, fmt::format("RT{} edition: {}", rtProfEdition ? " prof" : " stnd", version));
    repaint();
}

void closeControlLink() {
    if (rtConnected) {
        // Unread bytes at the close would reset the connection, and the farewell with it.
        clients.hear(0);
        if (LinkClient* client = clients.served()) {
            constexpr std::string_view farewell = "exit\r\n";
            client->socket.sendAll({farewell.data(), farewell.size()}, longestSendMs);
        }
    }
    rtConnected = false;
    lossPending = false;
    clients.clear();
    listener.close();
    endLibrary();
}

} // namespace kes
