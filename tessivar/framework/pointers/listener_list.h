// SPDX-License-Identifier: Apache-2.0

// The application's listeners of one service object.
#pragma once

#include "tessivar/framework/log/detail/guarded.h"
#include "tessivar/framework/log/logger.h"
#include "tessivar/framework/sync/sync.h"

#include <algorithm>
#include <atomic>
#include <thread>
#include <type_traits>
#include <utility>
#include <vector>

namespace TessivarDDS {

/// Listeners of class L in the order in which they were attached.
///
/// Thread-safe: every operation waits up to 1000 ms for the list's lock; without it, it logs "Error locking list" and
/// does nothing. The lock is held while listeners are notified: a listener that is being notified cannot attach or
/// detach listeners of the same list, which is refused in the same way, at once.
template <class L>
class ListenerList {
 public:
  /// `listenerClass` is the name of L in messages ("TessivarDDS::RoutingClientListener"), a literal.
  explicit ListenerList(const char* listenerClass = "listener") : listenerClass_(listenerClass) {}
  /// As clear().
  ~ListenerList() { clear(); }
  ListenerList(const ListenerList&) = delete;
  ListenerList& operator=(const ListenerList&) = delete;

  /// Appends `listener`; when it is in the list already, only `owned` is set anew. An owned listener is deleted by
  /// clear(), any other must outlive its time in the list.
  void attachListener(L* listener, bool owned) {
    Lock lock(*this);
    if (!lock) return reportLocking("attachListener(class ", " *,bool)");
    const auto entry = find(listener);
    if (entry != entries_.end()) {
      entry->owned = owned;
    } else {
      entries_.push_back({listener, owned});
    }
  }

  /// Takes `listener` out. It is not deleted, even when it is owned: it is the caller's again. Returns true if it is
  /// not in the list any more and is not being notified. Returns false if the lock could not be had: then the listener
  /// stays in the list and may still be called.
  bool detachListener(L* listener) {
    Lock lock(*this);
    if (!lock) {
      reportLocking("detachListener(class ", " *)");
      return false;
    }
    const auto entry = find(listener);
    if (entry != entries_.end()) entries_.erase(entry);
    return true;
  }

  /// Takes all listeners out and deletes the owned ones, each once.
  void clear() {
    const tessivar::platform::LogHold hold;  // for what the listeners' destructors cause to be logged
    std::vector<Entry> entries;
    {
      Lock lock(*this);
      if (!lock) return reportLocking("clear(void)");
      entries.swap(entries_);
    }
    for (const Entry& entry : entries) {
      if (entry.owned) delete entry.listener;
    }
  }

  /// Calls `call(listener)` for each listener, in order. `call` may return bool: false asks no further listener. An
  /// exception is logged, and the next listener is called. `signature`, of the notifying function, begins the messages.
  /// False when the lock could not be had.
  template <class F>
  bool notify(const char* signature, F&& call) {
    Lock lock(*this);
    if (!lock) {
      logError() << signature << "Error locking list";
      return false;
    }
    notifier_ = std::this_thread::get_id();
    for (const Entry& entry : entries_) {
      if (entry.listener && !callGuarded(signature, call, *entry.listener)) break;
    }
    notifier_ = std::thread::id();
    return true;
  }

  /// True within a listener's call, on the thread of that call.
  bool isNotifying() const { return notifier_ == std::this_thread::get_id(); }

 private:
  struct Entry {
    L* listener;
    bool owned;
  };

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

  auto find(L* listener) {
    return std::find_if(entries_.begin(), entries_.end(),
                        [&](const Entry& entry) { return entry.listener == listener; });
  }

  template <class F>
  static bool callGuarded(const char* signature, F& call, L& listener) noexcept {
    bool more = true;
    tessivar::framework::guarded(signature, [&] {
      if constexpr (std::is_same_v<decltype(call(listener)), bool>) {
        more = call(listener);
      } else {
        call(listener);
      }
    });
    return more;
  }

  /// `operation` up to the name of L among its parameters, and `rest` from there, if it has one.
  void reportLocking(const char* operation, const char* rest = nullptr) const {
    LogRecord record = logError();
    record << "void __cdecl TessivarDDS::ListenerList<class " << listenerClass_ << ">::" << operation;
    if (rest) record << listenerClass_ << rest;
    record << "Error locking list";
  }

  const char* listenerClass_;
  std::vector<Entry> entries_;
  TessivarMutex mutex_;
  std::atomic<std::thread::id> notifier_{};
};

}  // namespace TessivarDDS
