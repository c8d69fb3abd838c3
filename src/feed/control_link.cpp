#include "feed/control_link.h"

#include "core/foreign_log.h"
#include "core/log.h"
#include "core/run_state.h"
#include "core/text.h"
#include "core/window.h"
#include "feed/traffic_reader.h"
#include "platform/socket.h"

#include <array>
#include <chrono>
#include <fmt/format.h>
#include <limits>
#include <nlohmann/json.hpp>
#include <stdexcept>

namespace kes {

ControlLinkHooks controlLinkHooks;

namespace {

using nlohmann::json;
using platform::IoResult;
using platform::Socket;

/// The wait for the network is cut into pieces of this length, so that the end of the run is seen.
constexpr int sliceMs = 100;
/// A client that never tells its version counts as one without.
constexpr auto longestAnswer = std::chrono::seconds(5);
/// A client that leaves its lines unread until the system has no more room for them has stopped working.
constexpr int longestSendMs = 500;
constexpr std::size_t bufferSize = 16384;
/// Reads per second of what a client sends unasked; 1 MB.
constexpr int drainReads = 64;
constexpr std::size_t longestVersion = 40;
constexpr int connectionReset = 10054;

Socket listener;
Socket client;
bool librarySocketsStarted = false;
/// A client was lost outside sendQs121, which still has to act on it.
bool lossPending = false;

void endLibrary() {
    if (librarySocketsStarted)
        platform::endSockets();
    librarySocketsStarted = false;
}

void dropClient(int error) {
    log(fmt::format("sendDataPacket to RealTraffic failed: {}", socketErrorText(error)));
    rtConnected = false;
    lossPending = true;
    client.close();
    log("RealTraffic client socket closed");
}

/// Reads away what the client sends unasked. Returns the error that ended the connection, 0 while it stands.
int drainClient() {
    std::array<char, bufferSize> unread;
    for (int i = 0; i < drainReads; ++i) {
        const IoResult got = client.receive(unread, 0);
        if (got.timedOut)
            return 0;
        if (got.bytes <= 0)
            return got.bytes == 0 ? connectionReset : got.error;
    }
    return 0;
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
    if (const int error = listener.listenTcp(port, step)) {
        listener.close();
        endLibrary();
        throw std::runtime_error(listenError(step, port, error));
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
    if (!waitForClient()) {
        clearStatus();
        return;
    }
    evaluateVersionReply(sendDataPacket("Qs999=version\r\n") ? receive() : std::string());
    showLight(true);
    rtWaitPending = false;
    log("RealTraffic connected");
    clearStatus();
}

bool waitForClient() {
    if (rtConnected || !listener.isOpen())
        return false;
    const auto interrupted = [](const char* call, int error) {
        log(fmt::format("waitForClient interrupted: {}",
                        fmt::format("{} {} failed with error {}", "waitForClient", call, socketErrorText(error))));
        return false;
    };
    while (!stopWanted()) {
        const IoResult accepted = listener.accept(client, sliceMs);
        if (accepted.bytes == 0) {
            if (const int error = client.setNoDelay()) {
                client.close();
                return interrupted("setsockopt", error);
            }
            lossPending = false;
            rtConnected = true;
            return true;
        }
        if (!accepted.timedOut)
            return interrupted("accept", accepted.error);
        if (controlLinkHooks.whileWaiting != nullptr)
            controlLinkHooks.whileWaiting();
    }
    return false;
}

bool sendDataPacket(std::string_view text) {
    const IoResult sent = client.sendAll({text.data(), text.size()}, longestSendMs);
    if (sent.bytes >= 0)
        return true;
    dropClient(sent.error);
    return false;
}

std::string receive() {
    std::string reply(bufferSize, '\0');
    const auto end = std::chrono::steady_clock::now() + longestAnswer;
    IoResult got;
    do {
        got = client.receive(reply, sliceMs);
    } while (got.timedOut && !stopWanted() && std::chrono::steady_clock::now() < end);
    if (got.bytes < 0) {
        if (!got.timedOut)
            log(fmt::format("receive: {}", socketErrorText(got.error)));
        return {};
    }
    if (static_cast<std::size_t>(got.bytes) >= bufferSize) {
        log(fmt::format("receive: buffer overrun: {}", got.bytes));
        return {};
    }
    reply.resize(static_cast<std::size_t>(got.bytes));
    return reply;
}

std::string formatQs121(const UserAircraft& user) {
    return fmt::format("Qs121={};{};{:.6f};{};{};{:.6f};{:.6f}\r\n", generalOneDigit(user.pitch * 100000.0),
                       generalOneDigit(user.bank * 100000.0), user.heading, generalOneDigit(user.alt * 1000.0),
                       shortest(user.groundSpeed * 1000.0), user.lat * degToRad, user.lon * degToRad);
}

void sendQs121(const UserAircraft& user) {
    if (!rtOnThisPc || !user.known())
        return;
    if (!rtConnected) {
        if (lossPending)
            clientHasGone();
        else if (exitReason() == ExitReason::notYetSet && waitForClient()) {
            showLight(true);
            showStatus(fmt::format("{} RealTraffic re-connected", timeStamp()), true);
            clearStatus();
        }
        return;
    }
    // The first line to a client that has closed its end is still taken by the system, and lost.
    if (const int error = drainClient())
        dropClient(error);
    else if (sendDataPacket(formatQs121(user)))
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
        drainClient();
        constexpr std::string_view farewell = "exit\r\n";
        client.sendAll({farewell.data(), farewell.size()}, longestSendMs);
    }
    rtConnected = false;
    lossPending = false;
    client.close();
    listener.close();
    endLibrary();
}

} // namespace kes
