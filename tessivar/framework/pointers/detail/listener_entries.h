// SPDX-License-Identifier: Apache-2.0

// The entries of a list of listeners.
#pragma once

#include "tessivar/framework/log/detail/guarded.h"

#include <algorithm>
#include <type_traits>
#include <vector>

namespace TessivarDDS::detail {

/// Listeners of class L, each once, in the order in which they were attached. Not thread-safe: the owner of the list
/// decides which lock guards it, and whether that lock is held during notify(). A listener must live until it is
/// detached; the destructor deletes no listener.
template <class L>
class ListenerEntries {
 public:
  /// If `listener` is in the list already, only `owned` is changed.
  void attach(L* listener, bool owned) {
    const auto entry = find(listener);
    if (entry != entries_.end()) {
      entry->owned = owned;
    } else {
      entries_.push_back({listener, owned});
    }
  }

  void detach(L* listener) {
    const auto entry = find(listener);
    if (entry != entries_.end()) entries_.erase(entry);
  }

  bool empty() const { return entries_.empty(); }
  void swap(ListenerEntries& other) { entries_.swap(other.entries_); }

  /// Deletes each listener that the list owns.
  void deleteOwned() const {
    for (const Entry& entry : entries_) {
      if (entry.owned) delete entry.listener;
    }
  }

  /// Calls `call(listener)` for each listener that is not null, in order. `call` may return bool; false ends the calls.
  /// An exception is logged, and the next listener is called. `signature` is as in log/detail/guarded.h.
  template <class Signature, class F>
  void notify(const Signature& signature, F&& call) const {
    for (const Entry& entry : entries_) {
      if (entry.listener && !callGuarded(signature, call, *entry.listener)) break;
    }
  }

 private:
  struct Entry {
    L* listener;
    bool owned;
  };

  auto find(L* listener) {
    return std::find_if(entries_.begin(), entries_.end(),
                        [&](const Entry& entry) { return entry.listener == listener; });
  }

  template <class Signature, class F>
  static bool callGuarded(const Signature& signature, F& call, L& listener) noexcept {
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

  std::vector<Entry> entries_;
};

}  // namespace TessivarDDS::detail
