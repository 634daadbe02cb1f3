// SPDX-License-Identifier: Apache-2.0

// Memory for samples: blocks of a few sizes, which are kept for later samples instead of being freed.
//
// A sample may be created on one thread and destroyed on another, so the process has one pool. Thread-safe.
#pragma once

#include <cstddef>
#include <cstdint>

namespace tessivar::platform::cyclone {

struct PoolBlock {
  void* memory;             // aligned for any type; null if memory is short
  std::uint8_t size_class;  // must be passed to give_back() with the memory
};

PoolBlock take_block(std::size_t size);
void give_back(PoolBlock block);

}  // namespace tessivar::platform::cyclone
