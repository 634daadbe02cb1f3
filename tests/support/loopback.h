// SPDX-License-Identifier: Apache-2.0

// Domains on the loopback interface, and functions that wait for events.
#pragma once

#include "tessivar/framework/domain/dds_domain.h"

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace tessivar::testing {

constexpr std::chrono::seconds patience(20);

/// Polls until `condition` is true. Returns false after the deadline.
inline bool eventually(const std::function<bool()>& condition) {
  const auto deadline = std::chrono::steady_clock::now() + patience;
  while (!condition()) {
    if (std::chrono::steady_clock::now() > deadline) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(2));
  }
  return true;
}

/// An existing domain on the loopback interface.
class LoopbackDomain : public TessivarDDS::DDSDomain {
 public:
  explicit LoopbackDomain(int domainId, const std::function<void(TessivarDDS::DDSDomain&)>& configure = {}) {
    setAllowedInterfaces({"lo"});
    if (configure) configure(*this);
    EXPECT_TRUE(createDomainParticipant(domainId));
  }
};

/// Events as texts, in their order.
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
