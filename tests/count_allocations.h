// SPDX-License-Identifier: MIT
#pragma once

#include <atomic>
#include <cstddef>

namespace kes::test {
/// Calls of operator new by this thread.
extern thread_local std::size_t allocations;
/// Calls for exactly so many bytes fail, in every thread; 0 = none.
extern std::atomic<std::size_t> failingAllocation;
} // namespace kes::test
