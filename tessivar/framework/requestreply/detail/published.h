// SPDX-License-Identifier: Apache-2.0

// A value that one thread replaces while other threads read it.
#pragma once

#include <mutex>
#include <utility>

namespace TessivarDDS {

/// Readers get a copy of the current value. A copy that a reader holds never changes. Thread-safe. A copy of a DDSPtr
/// shares the pointee: publish a new DDSPtr instead of changing the pointee.
template <class V>
class Published {
 public:
  Published() = default;
  explicit Published(V value) : value_(std::move(value)) {}

  V get() const {
    const std::lock_guard lock(mutex_);
    return value_;
  }
  operator V() const { return get(); }
  /// Returns a copy that lives until the end of the full expression: `ticket->reply->result`,
  /// `ticket->sampleInfo->valid_data`.
  auto operator->() const {
    if constexpr (requires(V value) { value.operator->(); }) {
      return get();
    } else {
      return Copy{get()};
    }
  }

  void set(V value) {
    const std::lock_guard lock(mutex_);
    std::swap(value_, value);  // the old value is destroyed after the lock is released
  }

 private:
  struct Copy {
    V value;
    const V* operator->() const { return &value; }
  };

  mutable std::mutex mutex_;
  V value_{};
};

}  // namespace TessivarDDS
