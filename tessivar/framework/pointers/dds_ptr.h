// SPDX-License-Identifier: Apache-2.0

// A smart pointer with shared ownership of a sample or a ticket.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <new>
#include <utility>

namespace tessivar::framework {

/// Releases a T when its last owner ends: a sample through its type support, which also frees its strings, sequences
/// and optional members; any other T with `delete`. Specialise it for a T that needs another way.
template <class T>
struct Release {
  void operator()(T* pointee) const {
    if constexpr (requires { typename T::TypeSupport; }) {
      T::TypeSupport::delete_data(pointee);
    } else {
      delete pointee;
    }
  }
};

}  // namespace tessivar::framework

namespace TessivarDDS {

/// A pointer with shared ownership of a T. The last copy releases the T: a sample through its type support, any other T
/// with `delete`.
///
/// Different threads may copy and destroy different DDSPtr objects at the same time. One DDSPtr object, and the T,
/// belong to one thread at a time.
template <class T>
class DDSPtr {
 public:
  DDSPtr() noexcept = default;
  DDSPtr(std::nullptr_t) noexcept {}
  /// Takes ownership of `pointee`, which its type support or `new` created. If memory is short, releases `pointee` and
  /// is null.
  explicit DDSPtr(T* pointee) noexcept : pointee_(pointee) {
    if (!pointee) return;
    count_ = new (std::nothrow) std::atomic<std::uint32_t>(1);
    if (!count_) release(std::exchange(pointee_, nullptr));
  }
  DDSPtr(const DDSPtr& other) noexcept : pointee_(other.pointee_), count_(other.count_) {
    // Relaxed order is enough for a new owner: it copies the pointer from another owner.
    if (count_) count_->fetch_add(1, std::memory_order_relaxed);
  }
  DDSPtr(DDSPtr&& other) noexcept
      : pointee_(std::exchange(other.pointee_, nullptr)), count_(std::exchange(other.count_, nullptr)) {}
  DDSPtr& operator=(DDSPtr other) noexcept {
    std::swap(pointee_, other.pointee_);
    std::swap(count_, other.count_);
    return *this;
  }
  ~DDSPtr() {
    // All accesses of other owners to the pointee happen before the last owner releases it.
    if (count_ && count_->fetch_sub(1, std::memory_order_acq_rel) == 1) {
      delete count_;
      release(pointee_);
    }
  }

  T* get() const noexcept { return pointee_; }
  T& operator*() const noexcept { return *pointee_; }
  T* operator->() const noexcept { return pointee_; }
  explicit operator bool() const noexcept { return pointee_ != nullptr; }
  /// Gives up the ownership of the old pointee and takes ownership of `pointee`.
  void reset(T* pointee = nullptr) noexcept { *this = DDSPtr(pointee); }

  /// Returns true if both point to the same object.
  friend bool operator==(const DDSPtr& a, const DDSPtr& b) noexcept { return a.pointee_ == b.pointee_; }
  friend bool operator==(const DDSPtr& a, std::nullptr_t) noexcept { return a.pointee_ == nullptr; }

 private:
  static void release(T* pointee) noexcept { tessivar::framework::Release<T>()(pointee); }

  T* pointee_ = nullptr;
  std::atomic<std::uint32_t>* count_ = nullptr;  // shared by all copies; null without a pointee
};

}  // namespace TessivarDDS
