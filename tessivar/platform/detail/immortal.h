// SPDX-License-Identifier: Apache-2.0

// For what must outlive main().
#pragma once

#include <cstddef>
#include <new>
#include <utility>

namespace tessivar::platform {

/// Holds an object that is never destroyed. A static Immortal may be used by destructors of static objects and by
/// threads while the process ends, whatever the order: everything static of the library that such code may reach is
/// one. What the object owns stays reachable for leak checkers.
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
