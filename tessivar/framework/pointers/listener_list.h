// SPDX-License-Identifier: Apache-2.0

// The listeners that an application attached to one service object.
#pragma once

#include "tessivar/framework/log/logger.h"
#include "tessivar/framework/pointers/detail/listener_entries.h"
#include "tessivar/framework/sync/sync.h"

#include <atomic>
#include <thread>

namespace TessivarDDS {

/// Listeners of class L, in the order in which they were attached.
///
/// Thread-safe. Every operation waits up to 1000 ms for the lock of the list. If it does not get the lock, it logs
/// "Error locking list" and does nothing. The lock is held while listeners are called. Therefore a listener that is
/// being called cannot attach or detach listeners of the same list: this is refused immediately with the same message.
template <class L>
class ListenerList {
 public:
  /// `listenerClass` is the name of L in messages ("TessivarDDS::RoutingClientListener"). It must be a string literal.
  explicit ListenerList(const char* listenerClass = "listener") : listenerClass_(listenerClass) {}
  /// Does the same as clear().
  ~ListenerList() { clear(); }
  ListenerList(const ListenerList&) = delete;
  ListenerList& operator=(const ListenerList&) = delete;

  /// Appends `listener`. If it is in the list already, only `owned` is changed. clear() deletes an owned listener. Any
  /// other listener must live until it is removed from the list.
  void attachListener(L* listener, bool owned) {
    Lock lock(*this);
    if (!lock) return reportLocking("attachListener(class ", " *,bool)");
    entries_.attach(listener, owned);
  }

  /// Removes `listener` from the list. It is not deleted, even if it is owned: the caller owns it again. Returns true
  /// if the listener is no longer in the list and is not being called. Returns false if the list could not be locked;
  /// then the listener stays in the list and may still be called.
  bool detachListener(L* listener) {
    Lock lock(*this);
    if (!lock) {
      reportLocking("detachListener(class ", " *)");
      return false;
    }
    entries_.detach(listener);
    return true;
  }

  /// Removes all listeners and deletes each owned listener once.
  void clear() {
    const tessivar::platform::LogHold hold;  // delays messages that destructors of listeners log
    detail::ListenerEntries<L> entries;
    {
      Lock lock(*this);
      if (!lock) return reportLocking("clear(void)");
      entries.swap(entries_);
    }
    entries.deleteOwned();
  }

  /// Calls `call(listener)` for each listener, in order. `call` may return bool; false ends the calls. An exception is
  /// logged, and the next listener is called. The messages begin with `signature`, the signature of the calling
  /// function. Returns false if the list could not be locked.
  template <class F>
  bool notify(const char* signature, F&& call) {
    Lock lock(*this);
    if (!lock) {
      logError() << signature << "Error locking list";
      return false;
    }
    notifier_ = std::this_thread::get_id();
    entries_.notify(signature, call);
    notifier_ = std::thread::id();
    return true;
  }

  /// Returns true if the calling thread is inside a call of a listener of this list.
  bool isNotifying() const { return notifier_ == std::this_thread::get_id(); }

 private:
  class Lock {
   public:
    explicit Lock(ListenerList& list) : mutex_(list.mutex_), held_(!list.isNotifying() && mutex_.lock(1000)) {}
    ~Lock() {
      if (held_) mutex_.unlock();
    }
    Lock(const Lock&) = delete;
    Lock& operator=(const Lock&) = delete;
    explicit operator bool() const { return held_; }

   private:
    TessivarMutex& mutex_;
    bool held_;
  };

  /// `operation` is the text up to the name of L in the parameters. `rest` is the text after that name, or null if the
  /// parameters do not contain it.
  void reportLocking(const char* operation, const char* rest = nullptr) const {
    LogRecord record = logError();
    record << "void __cdecl TessivarDDS::ListenerList<class " << listenerClass_ << ">::" << operation;
    if (rest) record << listenerClass_ << rest;
    record << "Error locking list";
  }

  const char* listenerClass_;
  detail::ListenerEntries<L> entries_;
  TessivarMutex mutex_;
  std::atomic<std::thread::id> notifier_{};
};

}  // namespace TessivarDDS
