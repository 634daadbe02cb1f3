// SPDX-License-Identifier: Apache-2.0

// The mutex of the library and its condition variable.
#pragma once

#include "tessivar/platform/detail/fork.h"
#include "tessivar/platform/detail/log_hold.h"

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <mutex>

namespace tessivar::platform {

/// A mutex for std::lock_guard and std::unique_lock. Lines that a thread logs while it holds the mutex are delivered
/// after the unlock (LogHold), so no logger of an application runs under the mutex. Do not hold it while application
/// code runs for long. Not recursive. In a process that inherited it by fork() it starts unlocked.
class TESSIVAR_API Mutex {
 public:
  constexpr Mutex() = default;
  Mutex(const Mutex&) = delete;
  Mutex& operator=(const Mutex&) = delete;

  void lock();
  bool try_lock();
  void unlock();

 private:
  friend class Condition;
  void renew();

  std::mutex mutex_;
  std::atomic<unsigned> process_{0};  // the fork depth of the process that locked it last
};

/// A condition variable for a Mutex, with the operations of std::condition_variable.
class Condition {
 public:
  void notify_one() noexcept { changed_.notify_one(); }
  void notify_all() noexcept { changed_.notify_all(); }

  void wait(std::unique_lock<Mutex>& lock) {
    Native native(lock);
    changed_.wait(native.lock);
  }
  template <class Predicate>
  void wait(std::unique_lock<Mutex>& lock, Predicate predicate) {
    Native native(lock);
    changed_.wait(native.lock, predicate);
  }
  template <class Duration, class... Predicate>
  auto wait_for(std::unique_lock<Mutex>& lock, const Duration& duration, Predicate... predicate) {
    Native native(lock);
    return changed_.wait_for(native.lock, duration, predicate...);
  }
  template <class Time, class... Predicate>
  auto wait_until(std::unique_lock<Mutex>& lock, const Time& time, Predicate... predicate) {
    Native native(lock);
    return changed_.wait_until(native.lock, time, predicate...);
  }

 private:
  /// The std::mutex behind the lock, during a wait.
  struct Native {
    explicit Native(std::unique_lock<Mutex>& of) : lock(of.mutex()->mutex_, std::adopt_lock) {}
    ~Native() { lock.release(); }
    Native(const Native&) = delete;
    Native& operator=(const Native&) = delete;
    std::unique_lock<std::mutex> lock;
  };

  std::condition_variable changed_;
};

}  // namespace tessivar::platform
