// The memory that operator new hands out in this test program: counted, and refused when a test says so.
#pragma once

#include <cstddef>

namespace types_test {

/// Octets that are allocated and not yet freed, of all threads.
std::size_t live_octets();
/// How often this thread has allocated.
std::size_t allocations();

/// While it lives, one allocation of this thread fails: the `n`-th, counted from 0.
class FailingAllocation {
 public:
  explicit FailingAllocation(int n);
  ~FailingAllocation();
  FailingAllocation(const FailingAllocation&) = delete;
  FailingAllocation& operator=(const FailingAllocation&) = delete;
  bool happened() const;
};

}  // namespace types_test
