// SPDX-License-Identifier: MIT
// Steady flight allocates nothing between samples.
#include "count_allocations.h"
#include "traffic/harness.h"

namespace kes::test {
namespace {

using AllocationTest = TrafficTest;

TEST_F(AllocationTest, NoneBetweenSamples) {
    for (std::uint32_t i = 0; i < 50; ++i)
        activeFlight(firstHex + i, {air(0.001 * i, 5000), air(0.5, 41000), air(1, 80000)});
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
} // namespace kes::test
