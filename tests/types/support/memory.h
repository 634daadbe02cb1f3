// Counts the memory that operator new hands out in this test program.
#pragma once

#include <cstddef>

namespace types_test {

/// Octets that are allocated and not yet freed, of all threads.
std::size_t live_octets();
/// How often this thread has allocated.
std::size_t allocations();

}  // namespace types_test
