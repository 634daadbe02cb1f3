// SPDX-License-Identifier: Apache-2.0

// Tells the objects of a process from those that it inherited by fork().
#pragma once

#include "tessivar/platform/export.h"

#include <atomic>

namespace tessivar::platform {

/// Counts the forks that lead from the process that loaded the library to this one. Thread-safe; costs one load.
TESSIVAR_API unsigned fork_depth() noexcept;

/// Calls `renew()` in a process that was forked since `process` was set from fork_depth(): once, before any thread of
/// that process gets past this call.
template <class Renew>
void renew_if_inherited(std::atomic<unsigned>& process, Renew&& renew) {
  const unsigned present = fork_depth();
  if (process.load(std::memory_order_acquire) == present) return;
  static constinit std::atomic_flag renewing;
  while (renewing.test_and_set(std::memory_order_acquire)) {
  }
  if (process.load(std::memory_order_relaxed) != present) {
    renew();
    process.store(present, std::memory_order_release);
  }
  renewing.clear(std::memory_order_release);
}

/// A member that remembers the process that made its object. In a child of that process there are none of the object's
/// threads, and locks may be held by threads that do not exist: the object can only be abandoned.
class MadeHere {
 public:
  /// Returns true if this process has inherited the object from the process that made it.
  bool inherited() const noexcept { return made_ != fork_depth(); }

 private:
  unsigned made_ = fork_depth();
};

}  // namespace tessivar::platform
