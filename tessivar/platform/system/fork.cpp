// SPDX-License-Identifier: Apache-2.0

#include "tessivar/platform/detail/fork.h"

#include <atomic>
#include <pthread.h>

namespace tessivar::platform {
namespace {

constinit std::atomic<unsigned> depth = 0;

[[maybe_unused]] const int counting = pthread_atfork(nullptr, nullptr, [] { ++depth; });

}  // namespace

unsigned fork_depth() noexcept {
  return depth.load(std::memory_order_relaxed);
}

}  // namespace tessivar::platform
