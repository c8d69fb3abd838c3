// SPDX-License-Identifier: MIT
// Hand-over of reports from the traffic reader to the main tick. The queue locks by itself, for some copies of a report
// at most, and calls nobody meanwhile: no operation can be met with its lock held.
#pragma once

#include "feed/aircraft_report.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <mutex>
#include <span>

namespace kes {

/// A set of hexids of fixed room.
struct HexidSet {
    static constexpr std::size_t capacity = 1024;
    void clear() { size_ = 0; }
    void add(std::uint32_t hexid);            ///< what does not fit is left out
    void sort();                              ///< before the first `contains`
    bool contains(std::uint32_t hexid) const; ///< a binary search

private:
    std::array<std::uint32_t, capacity> hexids_; ///< sorted
    std::size_t size_ = 0;
};

/// The aircraft whose reports go before those of others.
struct KnownAircraft {
    HexidSet shown;    ///< in the simulator or on the way into it
    HexidSet expected; ///< reported, not yet shown
};

/// Two reports leave per tick, so a feed that invents aircraft could crowd out all that fly. Therefore three lanes,
/// each first-in first-out: shown aircraft go first, then expected ones, then those nobody knows; yet a lane that waits
/// gets every tenth report at least. Bounded: a report is due 3000 ticks after it came, so what does not fit into 6000
/// places would be late anyway. Slots are reused, so a steady queue allocates nothing.
/// All operations from any thread.
class ReportQueue {
public:
    static constexpr std::size_t capacity = 6000;
    static constexpr std::uint32_t mostPasses = 9; ///< so often others go before a lane that waits

    /// Whether reports are taken in; not from the start. What waits stays.
    void setAccepting(bool on);
    bool accepting() const;
    /// Copies a report into the queue; does nothing while none are accepted. When the queue is full the oldest report
    /// of the last lane gives way, or the new one when all that wait go before it.
    void push(const AircraftReport& report);
    /// Takes out the reports that are next, as many as there are and as there is room for, and returns how many.
    /// Reports are swapped, so a caller who brings the same room again and again keeps the capacity of all texts in
    /// use.
    std::size_t take(std::span<AircraftReport> room);
    /// Whose reports go first from now on. Both sets sorted.
    void setKnown(const KnownAircraft& known);
    /// Copies the report pushed last, also one that found no place. False when it has been taken.
    bool copyNewest(AircraftReport& report) const;
    std::size_t size() const;    ///< reports that wait
    std::size_t dropped() const; ///< reports that gave way since the last `clear`
    void clear();                ///< forgets the known aircraft, too; goes on accepting, or not

private:
    static constexpr std::uint16_t none = capacity + 1;
    static constexpr std::uint16_t spare = capacity; ///< takes what finds no place
    struct Lane {
        std::uint16_t head = none, tail = none;
        std::uint32_t passes = 0; ///< how often others went before it while it waited
    };
    static constexpr std::size_t laneCount = 3;
    // With the lock held.
    void freeAll();
    AircraftReport& slotFor(std::uint32_t hexid);
    std::size_t nextLane() const; ///< `laneCount` when nothing waits
    void freeHead(std::size_t lane);
    void passBy(std::size_t lane); ///< counts for those who wait behind it

    mutable std::mutex sampleMutex; ///< guards all that follows
    bool acceptSamples = false;     ///< the traffic reader may queue reports
    KnownAircraft known_;
    AircraftReport* slots_ = nullptr; ///< allocated at the first use, kept for the life of the process
    std::array<std::uint16_t, capacity> next_{};
    std::array<Lane, laneCount> lanes_;
    std::uint16_t free_ = none, last_ = none;
    std::size_t size_ = 0, dropped_ = 0;
};
extern ReportQueue reportQueue;

} // namespace kes
