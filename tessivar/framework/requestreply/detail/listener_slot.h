// SPDX-License-Identifier: Apache-2.0

// A listener that one thread calls and others exchange.
#pragma once

#include "tessivar/platform/detail/fork.h"

#include <atomic>
#include <thread>

namespace TessivarDDS {

/// Holds a listener, or none. call() belongs to one thread at a time; set() to any. Once set() has returned, the
/// listener that was there before is not called any more, except when set() is called from within that very call.
template <class L>
class ListenerSlot {
 public:
  L* get() const { return listener_; }

  /// Waits for a call that is going on.
  void set(L* listener) {
    listener_ = listener;
    const unsigned call = calls_;
    if (call % 2 == 1 && !madeHere_.inherited() && caller_.load() != std::this_thread::get_id()) calls_.wait(call);
  }

  /// `function(listener)`, when there is one.
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
  std::atomic<unsigned> calls_{0};  // odd while one is going on
  std::atomic<std::thread::id> caller_{};
  const tessivar::platform::MadeHere madeHere_{};
};

}  // namespace TessivarDDS
