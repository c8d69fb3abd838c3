#pragma once

#include <cstddef>

namespace kes::test {
/// Calls of operator new by this thread.
extern thread_local std::size_t allocations;
} // namespace kes::test
