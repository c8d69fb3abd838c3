// Hand-over of reports from the traffic reader to the main tick.
#pragma once

#include "feed/aircraft_report.h"

#include <cstddef>
#include <mutex>

namespace kes {

/// Guards `acceptSamples` and the queue. Held for one append or one tick's consumption, never with another lock.
extern std::mutex sampleMutex;
/// The traffic reader may queue reports. Guarded by `sampleMutex`.
extern bool acceptSamples;

/// First-in first-out, bounded: two reports leave per tick and a report is due 3000 ticks after it came, so what does
/// not fit into 6000 places would be late anyway. Slots are reused, so a steady queue allocates nothing.
struct ReportQueue {
    static constexpr std::size_t capacity = 6000;
    /// A slot to fill; when the queue is full the oldest report gives way. Under `sampleMutex`.
    AircraftReport& push();
    /// The head, or null. Stays valid until `pop`. Under `sampleMutex`.
    AircraftReport* front();
    /// The report pushed last, or null. Under `sampleMutex`.
    const AircraftReport* back() const;
    void pop();
    std::size_t size() const;
    void clear();
    std::size_t dropped() const; ///< reports that gave way since the last `clear`

private:
    AircraftReport* slots_ = nullptr; ///< allocated at the first use, kept for the life of the process
    std::size_t head_ = 0, size_ = 0, dropped_ = 0;
};
extern ReportQueue reportQueue;

} // namespace kes
