#include "feed/report_queue.h"

#include <algorithm>

namespace kes {

std::mutex sampleMutex;
bool acceptSamples = false;
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

void ReportQueue::prepare() {
    // Never given back: the slots and the capacity of their texts serve every run of the process.
    slots_ = new AircraftReport[capacity + 1];
    clear();
}

AircraftReport& ReportQueue::push(std::uint32_t hexid) {
    if (slots_ == nullptr)
        prepare();
    const std::size_t lane = known.shown.contains(hexid) ? 0 : known.expected.contains(hexid) ? 1 : 2;
    if (free_ == none) {
        ++dropped_;
        std::size_t last = laneCount - 1;
        while (lanes_[last].head == none)
            --last;
        if (last < lane)
            return slots_[last_ = spare];
        takeHead(last);
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

AircraftReport* ReportQueue::front() {
    return size_ == 0 ? nullptr : slots_ + lanes_[nextLane()].head;
}

const AircraftReport* ReportQueue::back() const {
    return last_ == none ? nullptr : slots_ + last_;
}

void ReportQueue::takeHead(std::size_t lane) {
    Lane& from = lanes_[lane];
    const std::uint16_t slot = from.head;
    from.head = next_[slot];
    next_[slot] = free_;
    free_ = slot;
    --size_;
    if (last_ == slot)
        last_ = none;
}

void ReportQueue::pop() {
    if (size_ == 0)
        return;
    const std::size_t lane = nextLane();
    takeHead(lane);
    lanes_[lane].passes = 0;
    for (std::size_t waiting = lane + 1; waiting < laneCount; ++waiting)
        if (lanes_[waiting].head != none)
            ++lanes_[waiting].passes;
}

void ReportQueue::clear() {
    lanes_ = {};
    for (std::uint16_t slot = 0; slot < capacity; ++slot)
        next_[slot] = slot + 1 == capacity ? none : static_cast<std::uint16_t>(slot + 1);
    free_ = slots_ == nullptr ? none : std::uint16_t{0};
    last_ = none;
    size_ = dropped_ = 0;
    known.shown.clear();
    known.expected.clear();
}

} // namespace kes
