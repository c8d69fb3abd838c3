#include "feed/report_queue.h"

namespace kes {

std::mutex sampleMutex;
bool acceptSamples = false;
ReportQueue reportQueue;

AircraftReport& ReportQueue::push() {
    // Never given back: the slots and the capacity of their texts serve every run of the process.
    if (slots_ == nullptr)
        slots_ = new AircraftReport[capacity];
    if (size_ == capacity) {
        pop();
        ++dropped_;
    }
    std::size_t tail = head_ + size_;
    if (tail >= capacity)
        tail -= capacity;
    ++size_;
    return slots_[tail];
}

AircraftReport* ReportQueue::front() {
    return size_ == 0 ? nullptr : slots_ + head_;
}

const AircraftReport* ReportQueue::back() const {
    return size_ == 0 ? nullptr : slots_ + (head_ + size_ - 1) % capacity;
}

void ReportQueue::pop() {
    if (size_ == 0)
        return;
    head_ = head_ + 1 == capacity ? 0 : head_ + 1;
    --size_;
}

std::size_t ReportQueue::size() const {
    return size_;
}

void ReportQueue::clear() {
    head_ = size_ = dropped_ = 0;
}

std::size_t ReportQueue::dropped() const {
    return dropped_;
}

} // namespace kes
