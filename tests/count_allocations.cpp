// SPDX-License-Identifier: MIT
// Counts what a thread takes from the heap, or lets it fail. In a file of its own, so that no compiler pairs the calls
// by inlining them.
#include "count_allocations.h"

#include <cstdlib>
#include <new>

namespace kes::test {
thread_local std::size_t allocations = 0;
std::atomic<std::size_t> failingAllocation{0};
} // namespace kes::test

// The plain forms reach every allocation of the standard containers.
void* operator new(std::size_t size) {
    ++kes::test::allocations;
    if (size != 0 && size == kes::test::failingAllocation.load(std::memory_order_relaxed))
        throw std::bad_alloc();
    if (void* room = std::malloc(size == 0 ? 1 : size))
        return room;
    throw std::bad_alloc();
}
// Some of the standard algorithms ask in this form and give back in the plain one.
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    ++kes::test::allocations;
    return std::malloc(size == 0 ? 1 : size);
}
// A sanitizer's own form for arrays would pass the plain one by.
void* operator new[](std::size_t size) {
    return ::operator new(size);
}
void operator delete[](void* room) noexcept {
    std::free(room);
}
void operator delete[](void* room, std::size_t) noexcept {
    std::free(room);
}
void operator delete(void* room) noexcept {
    std::free(room);
}
void operator delete(void* room, std::size_t) noexcept {
    std::free(room);
}
