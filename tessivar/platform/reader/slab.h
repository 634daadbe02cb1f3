// SPDX-License-Identifier: Apache-2.0

// Allocates objects of one type in blocks of memory.
#pragma once

#include <cstddef>
#include <memory>
#include <new>
#include <utility>
#include <vector>

namespace tessivar::platform {

/// Not thread-safe. The destructor does not destroy objects that are still alive: destroy them before.
template <class T>
class Slab {
 public:
  Slab() = default;
  Slab(const Slab&) = delete;
  Slab& operator=(const Slab&) = delete;

  /// Throws std::bad_alloc. The constructor of T must not throw.
  template <class... Arguments>
  T* make(Arguments&&... arguments) {
    if (!free_) add_block();
    Cell* const cell = free_;
    free_ = cell->next;
    ++used_;
    return new (cell->object) T(std::forward<Arguments>(arguments)...);
  }

  /// Destroys the object; its memory is reused. When no object is left, all blocks but one are freed.
  void destroy(T* object) noexcept {
    object->~T();
    Cell* const cell = reinterpret_cast<Cell*>(object);
    cell->next = free_;
    free_ = cell;
    if (--used_ > 0 || blocks_.size() == 1) return;
    blocks_.resize(1);
    free_ = nullptr;
    link(blocks_.front().get());
  }

 private:
  union Cell {
    Cell* next;
    alignas(T) std::byte object[sizeof(T)];
  };
  static constexpr std::size_t block_size = 64;

  void add_block() {
    blocks_.push_back(std::make_unique_for_overwrite<Cell[]>(block_size));
    link(blocks_.back().get());
  }

  void link(Cell* block) noexcept {
    for (std::size_t i = block_size; i-- > 0;) {
      block[i].next = free_;
      free_ = &block[i];
    }
  }

  std::vector<std::unique_ptr<Cell[]>> blocks_;
  Cell* free_ = nullptr;
  std::size_t used_ = 0;
};

}  // namespace tessivar::platform
