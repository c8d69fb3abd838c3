// Steady flight allocates nothing between samples.
#include "traffic/harness.h"

#include <atomic>
#include <cstdlib>
#include <new>

namespace {
std::atomic<std::size_t> allocations{0};

void* counted(std::size_t size) noexcept {
    allocations.fetch_add(1, std::memory_order_relaxed);
    return std::malloc(size == 0 ? 1 : size);
}

void* countedOrThrow(std::size_t size) {
    if (void* p = counted(size))
        return p;
    throw std::bad_alloc();
}
} // namespace

// All forms that meet in one delete: a sanitizer's own would not match this malloc.
void* operator new(std::size_t size) {
    return countedOrThrow(size);
}
void* operator new[](std::size_t size) {
    return countedOrThrow(size);
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    return counted(size);
}
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
    return counted(size);
}
void operator delete(void* p, const std::nothrow_t&) noexcept {
    std::free(p);
}
void operator delete[](void* p, const std::nothrow_t&) noexcept {
    std::free(p);
}
void operator delete(void* p) noexcept {
    std::free(p);
}
void operator delete[](void* p) noexcept {
    std::free(p);
}
void operator delete(void* p, std::size_t) noexcept {
    std::free(p);
}
void operator delete[](void* p, std::size_t) noexcept {
    std::free(p);
}

namespace kes {
namespace {

using AllocationTest = test::TrafficTest;

TEST_F(AllocationTest, NoneBetweenSamples) {
    for (std::uint32_t i = 0; i < 50; ++i)
        activeFlight(test::firstHex + i, {air(0.001 * i, 5000), air(0.5, 41000), air(1, 80000)});
    const auto ticks = [](int count) {
        for (int i = 0; i < count; ++i)
            runningTickBody();
    };
    ticks(10); // both position buffers reach their size
    const double lat = liveAircraft[0].lat;
    const std::size_t before = allocations;
    ticks(1000);
    EXPECT_EQ(allocations - before, 0U);
    EXPECT_GT(liveAircraft[0].lat, lat);
}

} // namespace
} // namespace kes
