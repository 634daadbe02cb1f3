// Memory for samples: blocks of a few sizes that are kept for the next sample instead of being given back.
//
// A sample is made on one thread and dropped on another, so the pool is one for the process. Thread-safe.
#pragma once

#include <cstddef>
#include <cstdint>

namespace tessivar::platform::cyclone {

struct PoolBlock {
  void* memory;             // aligned for any type; null when memory is short
  std::uint8_t size_class;  // to be handed back with the memory
};

PoolBlock take_block(std::size_t size);
void give_back(PoolBlock block);

}  // namespace tessivar::platform::cyclone
