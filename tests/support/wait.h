// SPDX-License-Identifier: Apache-2.0

// Functions that wait for events with a deadline.
#pragma once

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace tessivar::testing {

/// Long enough for a loaded machine. Only a failing test waits that long.
constexpr std::chrono::milliseconds patience(20000);

/// Polls until `condition` is true. Returns false after `limit`.
inline bool eventually(const std::function<bool()>& condition, std::chrono::milliseconds limit = patience) {
  const auto deadline = std::chrono::steady_clock::now() + limit;
  while (!condition()) {
    if (std::chrono::steady_clock::now() > deadline) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  return true;
}

/// Events as texts, in their order. All functions may be called by several threads.
class Events {
 public:
  void add(const std::string& text) {
    const std::lock_guard lock(mutex_);
    texts_.push_back(text);
    changed_.notify_all();
  }
  /// Waits for `count` events, and removes all events.
  std::vector<std::string> take(std::size_t count) {
    std::unique_lock lock(mutex_);
    changed_.wait_for(lock, patience, [&] { return texts_.size() >= count; });
    return std::exchange(texts_, {});
  }
  /// Waits for the event `text`, and removes only this event.
  bool happens(const std::string& text) {
    std::unique_lock lock(mutex_);
    return changed_.wait_for(lock, patience, [&] {
      const auto found = std::find(texts_.begin(), texts_.end(), text);
      if (found == texts_.end()) return false;
      texts_.erase(found);
      return true;
    });
  }

 private:
  std::mutex mutex_;
  std::condition_variable changed_;
  std::vector<std::string> texts_;
};

}  // namespace tessivar::testing
