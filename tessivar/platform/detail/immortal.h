// SPDX-License-Identifier: Apache-2.0

// A holder for static objects that are used after main().
#pragma once

#include <cstddef>
#include <new>
#include <utility>

namespace tessivar::platform {

/// Holds an object that is never destroyed. Destructors of static objects, and threads, may use a static Immortal while
/// the process ends, in any order. Every static object of the library that they can reach is an Immortal. Leak checkers
/// do not report the memory that the object owns.
///
///     Factory& Factory::instance() {
///       static Immortal<Factory> factory;
///       return *factory;
///     }
template <class T>
class Immortal {
 public:
  template <class... Arguments>
  explicit Immortal(Arguments&&... arguments) {
    new (memory_) T(std::forward<Arguments>(arguments)...);
  }
  Immortal(const Immortal&) = delete;
  Immortal& operator=(const Immortal&) = delete;

  T& operator*() noexcept { return *std::launder(reinterpret_cast<T*>(memory_)); }
  T* operator->() noexcept { return &**this; }

 private:
  alignas(T) std::byte memory_[sizeof(T)];
};

}  // namespace tessivar::platform
