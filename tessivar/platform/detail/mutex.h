// SPDX-License-Identifier: Apache-2.0

// The mutex of the library, its scoped locks and its condition variable.
#pragma once

#include "tessivar/platform/detail/fork.h"
#include "tessivar/platform/detail/log_hold.h"
#include "tessivar/platform/detail/thread_safety.h"

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <mutex>

namespace tessivar::platform {

/// A mutex for MutexLock and UniqueMutexLock. Lines that a thread logs while it holds the mutex are delivered after the
/// unlock (LogHold), so no logger of an application runs under the mutex. Do not hold it while application code runs
/// for long. Not recursive. In a process that inherited it by fork() it starts unlocked.
class TESSIVAR_API TESSIVAR_CAPABILITY("mutex") Mutex {
 public:
  constexpr Mutex() = default;
  Mutex(const Mutex&) = delete;
  Mutex& operator=(const Mutex&) = delete;

  void lock() TESSIVAR_ACQUIRE();
  void unlock() TESSIVAR_RELEASE();

 private:
  friend class Condition;
  void renew();

  std::mutex mutex_;
  std::atomic<unsigned> process_{0};  // the fork depth of the process that locked it last
};

/// Locks a mutex while it exists.
class TESSIVAR_SCOPED_CAPABILITY MutexLock {
 public:
  explicit MutexLock(Mutex& mutex) TESSIVAR_ACQUIRE(mutex) : mutex_(mutex) { mutex_.lock(); }
  ~MutexLock() TESSIVAR_RELEASE() { mutex_.unlock(); }
  MutexLock(const MutexLock&) = delete;
  MutexLock& operator=(const MutexLock&) = delete;

 private:
  Mutex& mutex_;
};

/// Locks a mutex; a Condition can wait on it, and it can be unlocked early and locked again. The destructor unlocks the
/// mutex if it is locked. For one thread.
class TESSIVAR_SCOPED_CAPABILITY UniqueMutexLock {
 public:
  explicit UniqueMutexLock(Mutex& mutex) TESSIVAR_ACQUIRE(mutex) : mutex_(mutex) { mutex_.lock(); }
  ~UniqueMutexLock() TESSIVAR_RELEASE() {
    if (locked_) mutex_.unlock();
  }
  UniqueMutexLock(const UniqueMutexLock&) = delete;
  UniqueMutexLock& operator=(const UniqueMutexLock&) = delete;

  void lock() TESSIVAR_ACQUIRE() {
    mutex_.lock();
    locked_ = true;
  }
  void unlock() TESSIVAR_RELEASE() {
    locked_ = false;
    mutex_.unlock();
  }
  Mutex* mutex() const { return &mutex_; }

 private:
  Mutex& mutex_;
  bool locked_ = true;
};

/// A condition variable for a Mutex, with the operations of std::condition_variable. A predicate that reads guarded
/// members is marked: `[this]() TESSIVAR_REQUIRES(mutex_) { return ready_; }`.
class Condition {
 public:
  void notify_one() noexcept { changed_.notify_one(); }
  void notify_all() noexcept { changed_.notify_all(); }

  void wait(UniqueMutexLock& lock) {
    Native native(*lock.mutex());
    changed_.wait(native.lock);
  }
  template <class Predicate>
  void wait(UniqueMutexLock& lock, Predicate predicate) {
    Native native(*lock.mutex());
    changed_.wait(native.lock, predicate);
  }
  template <class Duration, class... Predicate>
  auto wait_for(UniqueMutexLock& lock, const Duration& duration, Predicate... predicate) {
    Native native(*lock.mutex());
    return changed_.wait_for(native.lock, duration, predicate...);
  }
  template <class Time, class... Predicate>
  auto wait_until(UniqueMutexLock& lock, const Time& time, Predicate... predicate) {
    Native native(*lock.mutex());
    return changed_.wait_until(native.lock, time, predicate...);
  }

 private:
  /// The std::mutex behind the lock, during a wait.
  struct Native {
    explicit Native(Mutex& mutex) : lock(mutex.mutex_, std::adopt_lock) {}
    ~Native() { lock.release(); }
    Native(const Native&) = delete;
    Native& operator=(const Native&) = delete;
    std::unique_lock<std::mutex> lock;
  };

  std::condition_variable changed_;
};

}  // namespace tessivar::platform
