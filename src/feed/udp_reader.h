// SPDX-License-Identifier: MIT
// What the two feed readers have in common: the socket, the receive loop, the filter of repeated datagrams, and the
// thread with its end. A reader adds what it does with a datagram.
#pragma once

#include "core/foreign_log.h"
#include "core/window.h"
#include "platform/socket.h"

#include <array>
#include <atomic>
#include <cstdint>
#include <string>
#include <string_view>
#include <thread>

namespace kes {

struct UdpReader {
    /// A datagram of this size or more cannot be told from a cut one and is thrown away.
    static constexpr std::size_t bufferSize = 16384;

    virtual ~UdpReader() = default;
    /// Handles `text`. Reader thread. Must not throw.
    virtual void onDatagram() = 0;
    /// The socket has closed, whatever the reason. Reader thread. Must not throw.
    virtual void onStopped() = 0;

    std::string_view text; ///< the datagram in `buffer`, valid during onDatagram
    std::atomic<bool> stopFlag{false};
    std::atomic<std::uint32_t> datagramCount{0}; ///< datagrams of legal size
    std::uint32_t lastSeenCount = 0;             ///< kept by readerLampCheck; worker only
    bool lampShowsData = true;                   ///< kept by readerLampCheck; worker only
    std::array<char, bufferSize + 1> buffer{};
    std::string lastText; ///< the last datagram, for the repeat filter
    platform::Socket socket;
    LogLimiter complaints{"feed"}; ///< about what came in; reader thread only

    /// Starts the socket library and creates the socket. Throws runtime_error, with the library ended again.
    void openSocket();
    /// Binds to the loopback when RealTraffic is on this PC, else to any address. Throws runtime_error.
    void bindPort(std::uint16_t port);
    /// Receives until `stopFlag`, the stop of the socket or an error, which is logged; then closes the socket
    /// and calls `onStopped`. While RealTraffic sends from another PC, a datagram equal to the one before is ignored.
    void receiveLoop();
};

/// Names by which a reader speaks, and its lamp.
struct ReaderNames {
    const char* thread;  ///< "Traffic Reader", "QNH Reader"
    const char* subject; ///< in "The {} has stopped with an error: {}"
    bool setsBothLamps;  ///< the traffic reader lights both lamps
};

/// Body of a reader thread: opens, binds, receives until stopped. An exception ends it, is shown on the status line
/// and sets `readerFailed`; a failed receive only ends it.
void readerThread(UdpReader& reader, const ReaderNames& names, std::uint16_t port);

/// Why the reader that failed last did, and what can be done: for the error that ends the run. Empty when
/// `readerFailed` is clear. Any thread.
std::string readerFailureAdvice();

/// The one thread of a reader. Worker only.
class ReaderThread {
public:
    explicit ReaderThread(UdpReader& reader) : reader_(reader) {}
    ~ReaderThread() { stop(); }
    ReaderThread(const ReaderThread&) = delete;
    ReaderThread& operator=(const ReaderThread&) = delete;

    void start(const ReaderNames& names, std::uint16_t port); ///< a thread that still runs is stopped and joined first
    void stop();                                              ///< stop flag, wake-up, join; any state
    bool started() const { return thread_.joinable(); }       ///< started and not yet joined

private:
    UdpReader& reader_;
    std::thread thread_;
};

} // namespace kes
