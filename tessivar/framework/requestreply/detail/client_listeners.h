// SPDX-License-Identifier: Apache-2.0

// The client listeners of a request/reply node.
#pragma once

#include "tessivar/framework/pointers/detail/listener_entries.h"
#include "tessivar/framework/requestreply/request_reply_listeners.h"
#include "tessivar/platform/detail/mutex.h"

#include <memory>
#include <utility>

namespace TessivarDDS {

/// Listeners that are called without a lock. notify() calls the listeners that are attached when it begins.
/// Thread-safe.
class ClientListeners {
 public:
  typedef detail::ListenerEntries<RequestReplyNodeClientListener> List;

  /// Does nothing if `listener` is attached already.
  void attach(RequestReplyNodeClientListener* listener) {
    if (!listener) return;
    const tessivar::platform::MutexLock lock(mutex_);
    List longer = *list_;
    longer.attach(listener, false);
    list_ = std::make_shared<const List>(std::move(longer));
  }

  void clear() {
    const tessivar::platform::MutexLock lock(mutex_);
    list_ = std::make_shared<const List>();
  }

  bool empty() const { return current()->empty(); }

  /// Calls `call(listener)` for each listener, in order. An exception is logged, and the next listener is called.
  /// `signature` is as in log/detail/guarded.h.
  template <class Signature, class Call>
  void notify(const Signature& signature, Call&& call) const {
    current()->notify(signature, call);  // attach() does not change this list
  }

 private:
  std::shared_ptr<const List> current() const {
    const tessivar::platform::MutexLock lock(mutex_);
    return list_;
  }

  mutable tessivar::platform::Mutex mutex_;
  std::shared_ptr<const List> list_ TESSIVAR_GUARDED_BY(mutex_) = std::make_shared<const List>();
};

}  // namespace TessivarDDS
