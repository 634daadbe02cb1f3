// SPDX-License-Identifier: Apache-2.0

// The client listeners of a request/reply node.
#pragma once

#include "tessivar/framework/log/detail/guarded.h"
#include "tessivar/framework/requestreply/request_reply_listeners.h"
#include "tessivar/platform/detail/mutex.h"

#include <algorithm>
#include <memory>
#include <mutex>
#include <vector>

namespace TessivarDDS {

/// Listeners that are called without a lock. notify() calls the listeners that are attached when it begins.
/// Thread-safe.
class ClientListeners {
 public:
  typedef std::vector<RequestReplyNodeClientListener*> List;

  /// Does nothing if `listener` is attached already.
  void attach(RequestReplyNodeClientListener* listener) {
    const std::lock_guard lock(mutex_);
    if (!listener || std::find(list_->begin(), list_->end(), listener) != list_->end()) return;
    List longer = *list_;
    longer.push_back(listener);
    list_ = std::make_shared<const List>(std::move(longer));
  }

  void clear() {
    const std::lock_guard lock(mutex_);
    list_ = std::make_shared<const List>();
  }

  bool empty() const { return current()->empty(); }

  /// Calls `call(listener)` for each listener, in order. An exception is logged, and the next listener is called.
  /// `signature` is as in log/detail/guarded.h.
  template <class Signature, class Call>
  void notify(const Signature& signature, Call&& call) const {
    const std::shared_ptr<const List> listeners = current();  // attach() does not change this list
    for (RequestReplyNodeClientListener* listener : *listeners) {
      tessivar::framework::guarded(signature, [&] { call(*listener); });
    }
  }

 private:
  std::shared_ptr<const List> current() const {
    const std::lock_guard lock(mutex_);
    return list_;
  }

  mutable tessivar::platform::Mutex mutex_;
  std::shared_ptr<const List> list_ = std::make_shared<const List>();
};

}  // namespace TessivarDDS
