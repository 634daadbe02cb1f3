// SPDX-License-Identifier: Apache-2.0

// Counts the allocations of operator new in this test program, and can let them fail.
#pragma once

#include <atomic>
#include <cstddef>

namespace types_test {

/// Returns the allocated octets of all threads.
std::size_t live_octets();
/// Returns the number of allocations of this thread.
std::size_t allocations();

/// During its lifetime some allocations fail: operator new throws, or returns null if it is its nothrow form. Only one
/// object may exist at a time. Not available with the thread sanitizer.
class FailingAllocations {
 public:
  enum class Which { one, all_later };
  enum class Where { this_thread, everywhere };

  /// Counted from 0: the allocation that fails, or the first of those that fail.
  explicit FailingAllocations(int first, Which which = Which::one, Where where = Where::this_thread);
  ~FailingAllocations();
  FailingAllocations(const FailingAllocations&) = delete;
  FailingAllocations& operator=(const FailingAllocations&) = delete;
  /// Returns true if an allocation has failed.
  bool happened() const { return count_ > first_; }

  bool next_fails();

 private:
  const int first_;
  const Which which_;
  std::atomic<int> count_{0};
};

}  // namespace types_test
