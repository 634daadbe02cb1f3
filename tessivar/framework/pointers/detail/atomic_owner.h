// SPDX-License-Identifier: Apache-2.0

// An owning pointer that other threads may read while it changes.
#pragma once

#include <atomic>
#include <memory>

namespace TessivarDDS {

/// Owns an object of class T, or none. One thread at a time calls reset(). Any thread may call get() at the same time.
/// The code that uses the object must make sure that the object is not deleted during the use.
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

  /// Deletes the old object after get() returns `next`.
  void reset(std::unique_ptr<T> next = nullptr) { const std::unique_ptr<T> before(pointer_.exchange(next.release())); }

 private:
  std::atomic<T*> pointer_{nullptr};
};

}  // namespace TessivarDDS
