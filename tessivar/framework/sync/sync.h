// SPDX-License-Identifier: Apache-2.0

// Locks and events on the platform's semaphores.
//
// Thread-safe. Times are milliseconds on a clock that does not jump; -1 waits without limit, any other negative time
// not at all. A failing semaphore is logged as an error; a time that runs out is not.
#pragma once

#include "tessivar/platform/detail/log_hold.h"
#include "tessivar/platform/osapi.h"

namespace TessivarDDS {

/// Mutual exclusion with a time limit. Not recursive: a second lock() by the holder waits like anybody else's. May be
/// unlocked by another thread than the one that locked it.
class TESSIVAR_API TessivarMutex {
 public:
  TessivarMutex();
  ~TessivarMutex();
  TessivarMutex(const TessivarMutex&) = delete;
  TessivarMutex& operator=(const TessivarMutex&) = delete;

  /// Blocks at most `timeoutMs`. True exactly when it is held now.
  bool lock(int timeoutMs);
  void unlock();

 private:
  RTIOsapiSemaphore* semaphore_;
};

/// Holds a mutex, without time limit, as long as it lives. Messages that the thread logs meanwhile are delivered after
/// the mutex is unlocked, so that no Logger runs under it.
class TESSIVAR_API ScopedLock {
 public:
  explicit ScopedLock(TessivarMutex& mutex);
  ~ScopedLock();
  ScopedLock(const ScopedLock&) = delete;
  ScopedLock& operator=(const ScopedLock&) = delete;

 private:
  const tessivar::platform::LogHold hold_;  // ends after the destructor has unlocked
  TessivarMutex& mutex_;
};

/// Lets one thread wait for what another one signals. One signal lets one wait through; signals ahead of a wait count
/// as one.
class TESSIVAR_API TessivarEvent {
 public:
  TessivarEvent();
  ~TessivarEvent();
  TessivarEvent(const TessivarEvent&) = delete;
  TessivarEvent& operator=(const TessivarEvent&) = delete;

  /// Blocks at most `timeoutMs`. True when it was signalled.
  bool wait(int timeoutMs);
  void signal();

 private:
  RTIOsapiSemaphore* semaphore_;
};

}  // namespace TessivarDDS
