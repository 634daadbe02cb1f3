// SPDX-License-Identifier: Apache-2.0

// A listener that one thread calls and other threads may replace.
#pragma once

#include "tessivar/platform/detail/fork.h"

#include <atomic>
#include <thread>

namespace TessivarDDS {

/// Holds one listener or none. One thread at a time calls call(). Any thread may call set(). When set() returns, the
/// old listener is not called any more. Exception: if the old listener itself calls set(), its current call continues.
template <class L>
class ListenerSlot {
 public:
  L* get() const { return listener_; }

  /// Waits until a running call ends.
  void set(L* listener) {
    listener_ = listener;
    const unsigned call = calls_;
    if (call % 2 == 1 && !madeHere_.inherited() && caller_.load() != std::this_thread::get_id()) calls_.wait(call);
  }

  /// Calls `function(listener)` if there is a listener.
  template <class F>
  void call(F&& function) {
    const Call call(*this);
    if (L* const listener = listener_) function(*listener);
  }

 private:
  struct Call {
    explicit Call(ListenerSlot& of) : slot(of) {
      slot.caller_ = std::this_thread::get_id();
      ++slot.calls_;
    }
    ~Call() {
      ++slot.calls_;
      slot.calls_.notify_all();
    }
    Call(const Call&) = delete;
    Call& operator=(const Call&) = delete;
    ListenerSlot& slot;
  };

  std::atomic<L*> listener_{nullptr};
  std::atomic<unsigned> calls_{0};  // odd while a call is running
  std::atomic<std::thread::id> caller_{};
  const tessivar::platform::MadeHere madeHere_{};
};

}  // namespace TessivarDDS
