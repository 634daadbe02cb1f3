// SPDX-License-Identifier: Apache-2.0

// Holds one listener with its status mask, and knows which threads are inside its callbacks.
#pragma once

#include "tessivar/platform/detail/callback.h"
#include "tessivar/platform/detail/log.h"
#include "tessivar/platform/detail/mutex.h"
#include "tessivar/platform/status.h"

#include <exception>
#include <mutex>
#include <thread>
#include <utility>

namespace tessivar::platform {

/// Runs application code. Logs an exception that leaves the code, with `context`, and does not pass it on. Returns true
/// if there was no exception.
template <class Function>
bool contained(CallbackKind kind, const char* context, Function&& function) noexcept {
  const CallbackScope scope(kind);
  try {
    function();
    return true;
  } catch (const std::exception& error) {
    log_joined(LogLevel::error, context, {"an exception left the application's code: ", error.what()});
  } catch (...) {
    log(LogLevel::error, context, "an exception of unknown type left the application's code");
  }
  return false;
}

/// Thread-safe. No lock is held while the listener is called.
template <class Listener>
class ListenerSlot {
 public:
  /// Sets the listener and its mask. Returns when no other thread is inside a callback of the old listener.
  void set(Listener* listener, DDS_StatusMask mask) {
    std::unique_lock lock(mutex_);
    const Listener* old = std::exchange(listener_, listener);
    mask_ = mask;
    if (old == listener || made_here_.inherited()) return;
    ended_.wait(lock, [&] {
      const Call* call = calls_;
      while (call && (call->listener != old || call->thread == std::this_thread::get_id())) call = call->next;
      return call == nullptr;
    });
  }

  Listener* get() const {
    const std::lock_guard lock(mutex_);
    return listener_;
  }

  /// Calls `callback(listener)` if there is a listener and its mask contains `status`. Returns true if it was called.
  template <class Callback>
  bool call(DDS_StatusMask status, const char* context, Callback&& callback) {
    Call call = {nullptr, std::this_thread::get_id(), nullptr};
    {
      const std::lock_guard lock(mutex_);
      if (!listener_ || !(mask_ & status)) return false;
      call.listener = listener_;
      call.next = std::exchange(calls_, &call);
    }
    contained(CallbackKind::listener, context, [&] { callback(*call.listener); });
    {
      const std::lock_guard lock(mutex_);
      Call** place = &calls_;
      while (*place != &call) place = &(*place)->next;
      *place = call.next;
    }
    ended_.notify_all();
    return true;
  }

 private:
  /// A call that is in progress, on the stack of its thread.
  struct Call {
    Listener* listener;
    const std::thread::id thread;
    Call* next;
  };

  mutable Mutex mutex_;
  Condition ended_;
  Listener* listener_ = nullptr;
  DDS_StatusMask mask_ = 0;
  Call* calls_ = nullptr;
  const MadeHere made_here_ = {};
};

}  // namespace tessivar::platform
