// SPDX-License-Identifier: Apache-2.0

// Counts the memory that operator new hands out in this test program, and lets it fail.
#pragma once

#include <atomic>
#include <cstddef>

namespace types_test {

/// Octets that are allocated and not yet freed, of all threads.
std::size_t live_octets();
/// How often this thread has allocated.
std::size_t allocations();

/// As long as it lives, some allocations fail: operator new throws, or returns null if that is its way to fail. One at
/// a time. Does not exist under the thread sanitizer.
class FailingAllocations {
 public:
  enum class Which { one, all_later };
  enum class Where { this_thread, everywhere };

  /// Of the allocations from now on, counted from 0: that one, or that one and all later ones.
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
