// SPDX-License-Identifier: Apache-2.0

// The clients that a server has answered recently.
#pragma once

#include "tessivar/platform/detail/mutex.h"

#include <cstddef>
#include <list>
#include <string>
#include <unordered_map>

namespace TessivarDDS {

/// A bounded list of identities. The identity that was answered last is at the front. Thread-safe.
class RecentClients {
 public:
  explicit RecentClients(std::size_t most) : most_(most) {}

  /// Records an answer to `guid`. Returns the identity that is removed from the list, or an empty text if none is
  /// removed.
  std::string answered(const std::string& guid) {
    const tessivar::platform::MutexLock lock(mutex_);
    const auto known = places_.find(guid);
    if (known != places_.end()) {
      guids_.splice(guids_.begin(), guids_, known->second);
      return {};
    }
    guids_.push_front(guid);
    places_[guid] = guids_.begin();
    if (guids_.size() <= most_) return {};
    std::string oldest = guids_.back();
    places_.erase(oldest);
    guids_.pop_back();
    return oldest;
  }

  void clear() {
    const tessivar::platform::MutexLock lock(mutex_);
    places_.clear();
    guids_.clear();
  }

 private:
  tessivar::platform::Mutex mutex_;
  const std::size_t most_;
  std::list<std::string> guids_ TESSIVAR_GUARDED_BY(mutex_);
  std::unordered_map<std::string, std::list<std::string>::iterator> places_ TESSIVAR_GUARDED_BY(mutex_);
};

}  // namespace TessivarDDS
