// SPDX-License-Identifier: Apache-2.0

#include "tessivar/platform/cyclone/pool.h"

#include "tessivar/platform/detail/immortal.h"

#include <array>
#include <mutex>
#include <new>

namespace tessivar::platform::cyclone {
namespace {

#ifdef TESSIVAR_SANITIZED
constexpr bool pooling = false;  // a sanitizer finds more errors if memory is really freed
#else
constexpr bool pooling = true;
#endif

// Block sizes: 192, 256, 384, 512, 768 … 65536, so that at most a third of a block is unused. Larger blocks are not
// kept.
constexpr std::size_t class_count = 18;
constexpr std::uint8_t unpooled = class_count;
constexpr std::size_t kept_octets_per_class = std::size_t{2} << 20;

constexpr std::size_t size_of_class(std::size_t index) {
  const std::size_t power = std::size_t{256} << (index / 2);
  return index % 2 == 0 ? power * 3 / 4 : power;
}

struct FreeBlock {
  FreeBlock* next;
};

struct alignas(64) Class {
  std::mutex lock;
  FreeBlock* first = nullptr;
  std::size_t kept = 0;
};

std::array<Class, class_count>& classes() {
  static Immortal<std::array<Class, class_count>> all;
  return *all;
}

std::uint8_t class_for(std::size_t size) {
  if constexpr (!pooling) return unpooled;
  for (std::size_t index = 0; index < class_count; ++index)
    if (size <= size_of_class(index)) return static_cast<std::uint8_t>(index);
  return unpooled;
}

}  // namespace

PoolBlock take_block(std::size_t size) {
  const std::uint8_t index = class_for(size);
  if (index == unpooled) return {::operator new(size, std::nothrow), index};
  Class& pool = classes()[index];
  {
    const std::lock_guard guard(pool.lock);
    if (FreeBlock* block = pool.first) {
      pool.first = block->next;
      --pool.kept;
      return {block, index};
    }
  }
  return {::operator new(size_of_class(index), std::nothrow), index};
}

void give_back(PoolBlock block) {
  if (block.size_class != unpooled) {
    Class& pool = classes()[block.size_class];
    const std::lock_guard guard(pool.lock);
    if (pool.kept < kept_octets_per_class / size_of_class(block.size_class)) {
      auto* free_block = static_cast<FreeBlock*>(block.memory);
      free_block->next = pool.first;
      pool.first = free_block;
      ++pool.kept;
      return;
    }
  }
  ::operator delete(block.memory);
}

}  // namespace tessivar::platform::cyclone
