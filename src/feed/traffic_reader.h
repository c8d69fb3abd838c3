// UDP 49005: one comma-separated traffic line per datagram becomes an AircraftReport, or falls out.
#pragma once

#include "core/geo.h"
#include "feed/report_queue.h"
#include "feed/udp_reader.h"

#include <atomic>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace kes {

inline constexpr std::uint16_t trafficPort = 49005;

/// The reference airport as the reader needs it.
struct FeedAirport {
    LatLon position;
    double elevation = 0; ///< feet
};

struct TrafficReader : UdpReader {
    void onDatagram() override;
    void onStopped() override;
    /// One line in `fields`. Throws runtime_error with the reason for a field that cannot be read;
    /// leaves in silence for a line that fails a filter.
    void processLine();

    std::vector<std::string_view> fields; ///< of the present line; capacity stays
    std::atomic<double> timestamp{0};     ///< time field of the last line that had a valid one, seconds since 1970

    // From the worker; safe against the reader thread.
    void setUserPosition(double lat, double lon);
    void setReferenceAirport(const std::optional<FeedAirport>& airport);
    void clearCallsigns();
    void setCollectCallsigns();
    std::set<std::string> takeCallsigns(); ///< moves out what was collected and stops the collecting

    /// More are not collected: real traffic within reach has some hundred, so only a forged flood comes this far.
    static constexpr std::size_t maxCallsigns = 10000;

    // Inner state, see traffic_reader.cpp.
    AircraftReport scratch; ///< the report being built; its texts keep their capacity
    std::mutex inputMutex;  ///< guards the four below; held for a copy only
    LatLon userPosition;
    std::optional<FeedAirport> referenceAirport;
    std::set<std::string> callsigns;
    std::atomic<bool> collectCallsigns{false};

private:
    void collectCallsign(std::string_view callsign);
};

/// One object for the whole process.
extern TrafficReader trafficReader;
/// The emitter category and type filter. False = drop. Reader thread; reads fixed sets only.
bool categoryFilter(const AircraftReport& report, std::string_view categoryCode);

/// A report of this altitude (feet) and ground speed (knots) counts as on the ground. `elevation` (feet) is that of the
/// reference airport, -1000 without one. Pure.
bool isOnGround(double alt, double gs, double elevation);

/// The pieces between commas; an empty piece behind the last comma does not count. `fields` keeps its capacity.
void splitFields(std::string_view line, std::vector<std::string_view>& fields);

/// A measured value outside of its bounds, and any that is not finite, is unreadable: motion must not overflow from it,
/// nor an aircraft dash over the map. -1 stands for "unknown" in the feed.
struct Bounds {
    double least, most;
};
/// Knots, over ground and through the air. No aircraft has ever flown 2,000.
inline constexpr Bounds speedBounds{-1.0, 2500.0};
/// Feet. What reports less than 0 stands on the ground; manned flight with wings ends below 90,000.
inline constexpr Bounds altitudeBounds{-100000.0, 100000.0};
/// Feet per minute. The field of a transponder's message holds no more.
inline constexpr Bounds climbBounds{-32640.0, 32640.0};
inline constexpr Bounds trackBounds{-360.0, 360.0}; ///< degrees
inline constexpr Bounds rollBounds{-180.0, 180.0};  ///< degrees
/// Times behind the year 9999 are unreadable, seconds since 1970.
inline constexpr double largestTimestamp = 253402300799.0;
/// A text that goes into the record and is longer, or not printable ASCII, makes the line fall out in silence.
inline constexpr std::size_t longestFieldText = 32;
/// An origin or destination that is no code of so many letters and digits counts as unknown.
inline constexpr std::size_t shortestAirportCode = 2, longestAirportCode = 4;

/// Starts the reader thread on `port` (0 = 49005). A thread that still runs is stopped and joined first.
void startTrafficReader(std::uint16_t port = 0);
/// Stop flag, wake-up, join. Any state.
void stopTrafficReader();

/// Both readers back to their start values: QNH 1013, timestamp 0, callsigns empty, stop flags clear, counters 0.
/// Worker, also while the readers run; then `currentQnh` stays until the next weather datagram tells it anew.
void resetReaders();

} // namespace kes
