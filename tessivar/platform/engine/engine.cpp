// SPDX-License-Identifier: Apache-2.0

#include "tessivar/platform/engine/engine.h"

#include <atomic>

namespace tessivar::platform {
namespace {

std::atomic<Engine*> replacement{nullptr};

}  // namespace

Engine& engine() {
  Engine* const other = replacement.load(std::memory_order_acquire);
  return other ? *other : default_engine();
}

void set_engine(Engine* other) {
  replacement.store(other, std::memory_order_release);
}

}  // namespace tessivar::platform
