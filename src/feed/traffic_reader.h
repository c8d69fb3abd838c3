// SPDX-License-Identifier: MIT
// UDP 49005: one traffic line per datagram becomes a report in the queue, or falls out. A thread of its own receives;
// what it judges a line by, the worker hands over under a lock that is held for a copy only.
#pragma once

#include "feed/report_queue.h"
#include "feed/traffic_line.h"
#include "feed/udp_reader.h"

#include <atomic>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <string_view>

namespace kes {

inline constexpr std::uint16_t trafficPort = 49005;

class TrafficReader : public UdpReader {
public:
    void onDatagram() override; ///< one line: a report for the queue, a time, a callsign, or a complaint
    void onStopped() override;  ///< the lamp goes out

    std::atomic<double> timestamp{0}; ///< time field of the last line that had a valid one, seconds since 1970

    // From the worker; safe against the reader thread.
    void setUserPosition(double lat, double lon);                        ///< degrees
    void setReferenceAirport(const std::optional<FeedAirport>& airport); ///< nothing = none is in sight
    void clearCallsigns();                                               ///< forgets what was collected
    void setCollectCallsigns();                                          ///< collects until `takeCallsigns`
    std::set<std::string> takeCallsigns(); ///< moves out what was collected and stops the collecting

    FeedInputs inputs() const;                           ///< what the next line is judged by. Any thread.
    bool collecting() const { return collectCallsigns; } ///< since setCollectCallsigns. Any thread.

    /// More are not collected: real traffic within reach has some hundred, so only a forged flood comes this far.
    static constexpr std::size_t maxCallsigns = 10000;

private:
    void processLine();
    void collectCallsign(std::string_view callsign);

    AircraftReport scratch;        ///< the report being built; its texts keep their capacity. Reader thread only.
    mutable std::mutex inputMutex; ///< guards the three below; held for a copy only
    LatLon userPosition;
    std::optional<FeedAirport> referenceAirport;
    std::set<std::string> callsigns;
    std::atomic<bool> collectCallsigns{false};
};

/// One object for the whole process.
extern TrafficReader trafficReader;

/// Starts the reader thread on `port` (0 = 49005). A thread that still runs is stopped and joined first.
void startTrafficReader(std::uint16_t port = 0);
/// Stop flag, wake-up, join. Any state.
void stopTrafficReader();

/// Both readers back to their start values: `standardQnh`, timestamp 0, callsigns empty, stop flags clear, counters 0.
/// Worker, also while the readers run; then `currentQnh` stays until the next weather datagram tells it anew.
void resetReaders();

} // namespace kes
