// SPDX-License-Identifier: Apache-2.0

// Detects objects that a process has inherited by fork().
#pragma once

#include "tessivar/platform/export.h"

#include <atomic>

namespace tessivar::platform {

/// Returns the number of forks between the process that loaded the library and this process. Thread-safe; costs one
/// load.
TESSIVAR_API unsigned fork_depth() noexcept;

/// Calls `renew()` if this process was forked after `process` was set from fork_depth(). Calls it once per process; no
/// thread returns from here before `renew()` has returned.
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

/// As a member it records the process that created the object. A child of that process does not have the threads of the
/// object, and threads that do not exist there may hold its locks. Therefore the child can only abandon the object.
class MadeHere {
 public:
  /// Returns true if this process has inherited the object by fork().
  bool inherited() const noexcept { return made_ != fork_depth(); }

 private:
  unsigned made_ = fork_depth();
};

}  // namespace tessivar::platform
