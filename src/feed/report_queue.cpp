// SPDX-License-Identifier: MIT
#include "feed/report_queue.h"

#include <algorithm>
#include <utility>

namespace kes {

ReportQueue reportQueue;

void HexidSet::add(std::uint32_t hexid) {
    if (size_ < capacity)
        hexids_[size_++] = hexid;
}

void HexidSet::sort() {
    std::sort(hexids_.begin(), hexids_.begin() + size_);
}

bool HexidSet::contains(std::uint32_t hexid) const {
    return std::binary_search(hexids_.begin(), hexids_.begin() + size_, hexid);
}

void ReportQueue::setAccepting(bool on) {
    const std::lock_guard lock(sampleMutex);
    acceptSamples = on;
}

bool ReportQueue::accepting() const {
    const std::lock_guard lock(sampleMutex);
    return acceptSamples;
}

void ReportQueue::push(const AircraftReport& report) {
    const std::lock_guard lock(sampleMutex);
    // Copied, not moved: the slot and the caller's record keep the room of their texts.
    if (acceptSamples)
        slotFor(report.hexid) = report;
}

std::size_t ReportQueue::take(std::span<AircraftReport> room) {
    const std::lock_guard lock(sampleMutex);
    std::size_t count = 0;
    for (; count < room.size() && size_ != 0; ++count) {
        const std::size_t lane = nextLane();
        std::swap(room[count], slots_[lanes_[lane].head]);
        freeHead(lane);
        passBy(lane);
    }
    return count;
}

void ReportQueue::setKnown(const KnownAircraft& known) {
    const std::lock_guard lock(sampleMutex);
    known_ = known;
}

bool ReportQueue::copyNewest(AircraftReport& report) const {
    const std::lock_guard lock(sampleMutex);
    if (last_ == none)
        return false;
    report = slots_[last_];
    return true;
}

std::size_t ReportQueue::size() const {
    const std::lock_guard lock(sampleMutex);
    return size_;
}

std::size_t ReportQueue::dropped() const {
    const std::lock_guard lock(sampleMutex);
    return dropped_;
}

void ReportQueue::clear() {
    const std::lock_guard lock(sampleMutex);
    freeAll();
    known_.shown.clear();
    known_.expected.clear();
}

AircraftReport& ReportQueue::slotFor(std::uint32_t hexid) {
    if (slots_ == nullptr) {
        // Never given back: the slots and the capacity of their texts serve every run of the process.
        slots_ = new AircraftReport[capacity + 1];
        freeAll();
    }
    const std::size_t lane = known_.shown.contains(hexid) ? 0 : known_.expected.contains(hexid) ? 1 : 2;
    if (free_ == none) {
        ++dropped_;
        std::size_t last = laneCount - 1;
        while (lanes_[last].head == none)
            --last;
        if (last < lane)
            return slots_[last_ = spare];
        freeHead(last);
    }
    const std::uint16_t slot = free_;
    free_ = next_[slot];
    next_[slot] = none;
    Lane& to = lanes_[lane];
    (to.head == none ? to.head : next_[to.tail]) = slot;
    to.tail = slot;
    ++size_;
    return slots_[last_ = slot];
}

std::size_t ReportQueue::nextLane() const {
    for (std::size_t lane = laneCount; lane-- > 1;)
        if (lanes_[lane].head != none && lanes_[lane].passes >= mostPasses)
            return lane;
    std::size_t lane = 0;
    while (lane < laneCount && lanes_[lane].head == none)
        ++lane;
    return lane;
}

void ReportQueue::freeHead(std::size_t lane) {
    Lane& from = lanes_[lane];
    const std::uint16_t slot = from.head;
    from.head = next_[slot];
    next_[slot] = free_;
    free_ = slot;
    --size_;
    if (last_ == slot)
        last_ = none;
}

void ReportQueue::passBy(std::size_t lane) {
    lanes_[lane].passes = 0;
    for (std::size_t waiting = lane + 1; waiting < laneCount; ++waiting)
        if (lanes_[waiting].head != none)
            ++lanes_[waiting].passes;
}

void ReportQueue::freeAll() {
    lanes_ = {};
    for (std::uint16_t slot = 0; slot < capacity; ++slot)
        next_[slot] = slot + 1 == capacity ? none : static_cast<std::uint16_t>(slot + 1);
    free_ = slots_ == nullptr ? none : std::uint16_t{0};
    last_ = none;
    size_ = dropped_ = 0;
}

} // namespace kes
