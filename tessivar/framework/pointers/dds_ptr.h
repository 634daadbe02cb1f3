// SPDX-License-Identifier: Apache-2.0

// Shared ownership of a sample or a ticket.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <new>
#include <utility>

namespace tessivar::framework {

/// How the last holder of a T lets go of it: a sample through its type support, which frees its strings, sequences and
/// optional members as well; anything else by `delete`. Specialise it for a T that goes otherwise.
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

/// Points to a T together with other copies of itself; the last one to go releases it: a sample through its type
/// support, anything else by `delete`.
///
/// Copies may be made and dropped by several threads at once; one and the same DDSPtr, and the pointee, belong to one
/// thread at a time.
template <class T>
class DDSPtr {
 public:
  DDSPtr() noexcept = default;
  DDSPtr(std::nullptr_t) noexcept {}
  /// Takes over `pointee`, made by its type support or by `new`. Empty, and the pointee released, when memory is short.
  explicit DDSPtr(T* pointee) noexcept : pointee_(pointee) {
    if (!pointee) return;
    count_ = new (std::nothrow) std::atomic<std::uint32_t>(1);
    if (!count_) release(std::exchange(pointee_, nullptr));
  }
  DDSPtr(const DDSPtr& other) noexcept : pointee_(other.pointee_), count_(other.count_) {
    // A new holder needs no order: it got the pointer from one that still holds.
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
    // What any holder did with the pointee has happened before the last one releases it.
    if (count_ && count_->fetch_sub(1, std::memory_order_acq_rel) == 1) {
      delete count_;
      release(pointee_);
    }
  }

  T* get() const noexcept { return pointee_; }
  T& operator*() const noexcept { return *pointee_; }
  T* operator->() const noexcept { return pointee_; }
  explicit operator bool() const noexcept { return pointee_ != nullptr; }
  /// Lets go, and takes over `pointee` instead.
  void reset(T* pointee = nullptr) noexcept { *this = DDSPtr(pointee); }

  /// Same pointee.
  friend bool operator==(const DDSPtr& a, const DDSPtr& b) noexcept { return a.pointee_ == b.pointee_; }
  friend bool operator==(const DDSPtr& a, std::nullptr_t) noexcept { return a.pointee_ == nullptr; }

 private:
  static void release(T* pointee) noexcept { tessivar::framework::Release<T>()(pointee); }

  T* pointee_ = nullptr;
  std::atomic<std::uint32_t>* count_ = nullptr;  // shared by all copies; null without a pointee
};

}  // namespace TessivarDDS
