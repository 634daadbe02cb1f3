// SPDX-License-Identifier: Apache-2.0

// Calls one object from many threads.
#pragma once

#include "tests/support/log_recorder.h"

#include <atomic>

#include <gtest/gtest.h>

namespace tessivar::testing {

typedef std::vector<std::function<void()>> Calls;

/// Calls each of `changes` repeatedly on two threads, and meanwhile all `calls`, one after the other, on three more
/// threads. Ends after a number of changes or after three seconds, but not before each of `counts` is above 0. Expects
/// that within `patience`. Log lines are dropped meanwhile.
inline void storm(int changes, const Calls& changing, const Calls& calls,
                  const std::vector<const std::atomic<int>*>& counts) {
  TessivarDDS::setLogger(new LogFunction([](int, const std::string&) {}));
  std::atomic<int> left{changes};
  const auto begin = std::chrono::steady_clock::now();
  const auto counted = [&] {
    return std::all_of(counts.begin(), counts.end(), [](auto* count) { return *count > 0; });
  };
  const auto goesOn = [&] {
    const auto spent = std::chrono::steady_clock::now() - begin;
    return counted() ? left > 0 && spent < std::chrono::seconds(3) : spent < patience;
  };
  {
    std::vector<std::jthread> threads;
    for (const auto& change : changing) {
      for (int i = 0; i < 2; ++i) {
        threads.emplace_back([&] {
          for (; goesOn(); --left) change();
        });
      }
    }
    for (std::size_t i = 0; i < 3; ++i) {
      threads.emplace_back([&, i] {
        for (std::size_t next = i * calls.size() / 3; goesOn(); ++next) calls[next % calls.size()]();
      });
    }
  }
  TessivarDDS::setLogger(nullptr);
  EXPECT_TRUE(counted()) << "a call never succeeded";
}

}  // namespace tessivar::testing
