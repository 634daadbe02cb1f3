// SPDX-License-Identifier: Apache-2.0

// An owner whose pointer may be asked for while it changes.
#pragma once

#include <atomic>
#include <memory>

namespace TessivarDDS {

/// Owns an object of class T, or none. One thread at a time calls reset(); any thread may call get() meanwhile, but
/// whoever uses the object sees to it that it is not deleted.
template <class T>
class AtomicOwner {
 public:
  AtomicOwner() = default;
  ~AtomicOwner() { reset(); }
  AtomicOwner(const AtomicOwner&) = delete;
  AtomicOwner& operator=(const AtomicOwner&) = delete;

  T* get() const { return pointer_; }
  T* operator->() const { return pointer_; }
  T& operator*() const { return *pointer_; }
  explicit operator bool() const { return pointer_ != nullptr; }

  /// The object before is deleted once get() gives `next`.
  void reset(std::unique_ptr<T> next = nullptr) { const std::unique_ptr<T> before(pointer_.exchange(next.release())); }

 private:
  std::atomic<T*> pointer_{nullptr};
};

}  // namespace TessivarDDS
