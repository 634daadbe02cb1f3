// SPDX-License-Identifier: Apache-2.0

// Calls one object from many threads.
#pragma once

#include "tests/support/log_recorder.h"

#include <atomic>

namespace tessivar::testing {

typedef std::vector<std::function<void()>> Calls;

/// Calls each of `changes` repeatedly on two threads, and meanwhile all `calls`, one after the other, on three more
/// threads. Ends after a number of changes, or after at most three seconds. Log lines are dropped meanwhile.
inline void storm(int changes, const Calls& changing, const Calls& calls) {
  TessivarDDS::setLogger(new LogFunction([](int, const std::string&) {}));
  std::atomic<int> left{changes};
  const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(3);
  const auto goesOn = [&] { return left > 0 && std::chrono::steady_clock::now() < end; };
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
}

}  // namespace tessivar::testing
