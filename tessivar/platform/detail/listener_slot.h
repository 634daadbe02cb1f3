// SPDX-License-Identifier: Apache-2.0

// Holds one listener that an application may replace while threads call it.
#pragma once

#include "tessivar/platform/detail/fork.h"
#include "tessivar/platform/detail/mutex.h"
#include "tessivar/platform/status.h"

#include <thread>
#include <utility>

namespace tessivar::platform {

/// Holds one listener or none, with the mask of the statuses that it wants. Thread-safe. No lock is held while the
/// listener is called. Several threads may call it at the same time.
template <class Listener>
class ListenerSlot {
 public:
  /// Sets the listener and its mask. Returns when no other thread is inside a call of the old listener. If the old
  /// listener itself calls this function, its current call continues.
  void set(Listener* listener, DDS_StatusMask mask = DDS_STATUS_MASK_ALL) {
    UniqueMutexLock lock(mutex_);
    const Listener* old = std::exchange(listener_, listener);
    mask_ = mask;
    if (old == listener || made_here_.inherited()) return;
    ended_.wait(lock, [&]() TESSIVAR_REQUIRES(mutex_) {
      const Call* call = calls_;
      while (call && (call->listener != old || call->thread == std::this_thread::get_id())) call = call->next;
      return call == nullptr;
    });
  }

  Listener* get() const {
    const MutexLock lock(mutex_);
    return listener_;
  }

  /// Calls `function(listener)` if there is a listener and its mask contains a status of `status`. Returns true if it
  /// was called. Throws what `function` throws.
  template <class Function>
  bool call(Function&& function, DDS_StatusMask status = DDS_STATUS_MASK_ALL) {
    Call call(*this, status);
    if (call.listener) function(*call.listener);
    return call.listener != nullptr;
  }

 private:
  /// A call that is in progress, on the stack of its thread.
  struct Call {
    Call(ListenerSlot& of, DDS_StatusMask status) : slot(of) {
      const MutexLock lock(slot.mutex_);
      if (!slot.listener_ || !(slot.mask_ & status)) return;
      listener = slot.listener_;
      next = std::exchange(slot.calls_, this);
    }
    ~Call() {
      if (!listener) return;
      {
        const MutexLock lock(slot.mutex_);
        Call** place = &slot.calls_;
        while (*place != this) place = &(*place)->next;
        *place = next;
      }
      slot.ended_.notify_all();
    }
    Call(const Call&) = delete;
    Call& operator=(const Call&) = delete;

    ListenerSlot& slot;
    Listener* listener = nullptr;
    const std::thread::id thread = std::this_thread::get_id();
    Call* next = nullptr;
  };

  mutable Mutex mutex_;
  Condition ended_;
  Listener* listener_ TESSIVAR_GUARDED_BY(mutex_) = nullptr;
  DDS_StatusMask mask_ TESSIVAR_GUARDED_BY(mutex_) = DDS_STATUS_MASK_NONE;
  Call* calls_ TESSIVAR_GUARDED_BY(mutex_) = nullptr;
  const MadeHere made_here_ = {};
};

}  // namespace tessivar::platform
