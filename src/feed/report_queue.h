// Hand-over of reports from the traffic reader to the main tick.
#pragma once

#include "feed/aircraft_report.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <mutex>

namespace kes {

/// Guards `acceptSamples` and the queue. Held for one append or one tick's consumption, never with another lock.
extern std::mutex sampleMutex;
/// The traffic reader may queue reports. Guarded by `sampleMutex`.
extern bool acceptSamples;

/// A set of hexids of fixed room.
struct HexidSet {
    static constexpr std::size_t capacity = 1024;
    void clear() { size_ = 0; }
    void add(std::uint32_t hexid); ///< what does not fit is left out
    void sort();                   ///< before the first `contains`
    bool contains(std::uint32_t hexid) const;

private:
    std::array<std::uint32_t, capacity> hexids_; ///< sorted
    std::size_t size_ = 0;
};

/// The aircraft whose reports go before those of others. Any thread of its own copy; the queue's under `sampleMutex`.
struct KnownAircraft {
    HexidSet shown;    ///< in the simulator or on the way into it
    HexidSet expected; ///< reported, not yet shown
};

/// Two reports leave per tick, so a feed that invents aircraft could crowd out all that fly. Therefore three lanes,
/// each first-in first-out: shown aircraft go first, then expected ones, then those nobody knows; yet a lane that waits
/// gets every tenth report at least. Bounded: a report is due 3000 ticks after it came, so what does not fit into 6000
/// places would be late anyway. Slots are reused, so a steady queue allocates nothing.
class ReportQueue {
public:
    static constexpr std::size_t capacity = 6000;
    static constexpr std::uint32_t mostPasses = 9; ///< so often others go before a lane that waits

    /// A slot to fill with a report of this aircraft. When the queue is full the oldest report of the last lane gives
    /// way, or the new one when all that wait go before it. Under `sampleMutex`.
    AircraftReport& push(std::uint32_t hexid = 0);
    /// The report that is next, or null. Stays valid until `pop` and `push`. Under `sampleMutex`.
    AircraftReport* front();
    /// The report pushed last, or null when it has left. Under `sampleMutex`.
    const AircraftReport* back() const;
    void pop();
    std::size_t size() const { return size_; }
    void clear();                                    ///< forgets the known aircraft, too
    std::size_t dropped() const { return dropped_; } ///< reports that gave way since the last `clear`

    KnownAircraft known; ///< kept by the worker, under `sampleMutex`

private:
    static constexpr std::uint16_t none = capacity + 1;
    static constexpr std::uint16_t spare = capacity; ///< takes what finds no place
    struct Lane {
        std::uint16_t head = none, tail = none;
        std::uint32_t passes = 0; ///< how often others went before it while it waited
    };
    static constexpr std::size_t laneCount = 3;
    void prepare();
    std::size_t nextLane() const; ///< `laneCount` when nothing waits
    void takeHead(std::size_t lane);

    AircraftReport* slots_ = nullptr; ///< allocated at the first use, kept for the life of the process
    std::array<std::uint16_t, capacity> next_{};
    std::array<Lane, laneCount> lanes_;
    std::uint16_t free_ = none, last_ = none;
    std::size_t size_ = 0, dropped_ = 0;
};
extern ReportQueue reportQueue;

} // namespace kes
