// SPDX-License-Identifier: MIT
// The client side of the control link: connects, answers the version question, counts what it reads. Owns one thread.
#pragma once

#include "platform/socket.h"

#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>

namespace kes::source {

/// What the link has seen. Position in degrees and feet, as the last good position line told it.
struct ControlCounts {
    std::uint64_t positions = 0; ///< Qs121
    std::uint64_t times = 0;     ///< Qs123
    std::uint64_t versions = 0;  ///< Qs999
    std::uint64_t exits = 0;
    std::uint64_t others = 0;
    std::uint64_t badPositions = 0, badTimes = 0; ///< lines of the two kinds that do not read as they should
    std::uint64_t connections = 0;
    std::uint64_t connectionsLost = 0; ///< ended by the server without "exit"
    bool connected = false;
    double lat = 0, lon = 0, altitude = 0, groundSpeed = 0, heading = 0;
    std::int64_t simTimeMs = 0;
};

/// Seven fields, all numbers, and a latitude and longitude in range. The text is what stands behind "Qs121=".
bool readPosition(std::string_view text, ControlCounts& counts);
/// Counts one line without its line end. True when the line asks for the version.
bool countLine(std::string_view line, ControlCounts& counts);
/// The answer to the version question.
std::string versionReply(bool professional);

class ControlClient {
public:
    ControlClient() = default;
    ControlClient(const ControlClient&) = delete;
    ControlClient& operator=(const ControlClient&) = delete;
    ~ControlClient();
    /// `retryMs` between attempts to connect.
    void start(const std::string& host, std::uint16_t port, bool professional, int retryMs = 500);
    void stop(); ///< ends the connection and joins the thread; harmless when none was started
    /// Ends the present connection; the next attempt follows after the usual time.
    void drop();
    /// Off: ends the connection and makes no new one until on. Any thread.
    void setEnabled(bool on);
    ControlCounts counts() const; ///< any thread

private:
    void run();
    bool serve(platform::Socket& socket); ///< reads until the end; true when the server said "exit"
    bool pause(int ms);                   ///< false when told to stop
    std::string host_, port_;
    bool professional_ = false;
    int retryMs_ = 500;
    std::thread thread_;
    mutable std::mutex mutex_; ///< guards all below
    std::condition_variable wake_;
    bool stopping_ = false, enabled_ = true, dropping_ = false;
    platform::Socket* current_ = nullptr;
    ControlCounts counts_;
};

} // namespace kes::source
