// SPDX-License-Identifier: Apache-2.0

// Locks and events, based on the semaphores of the platform.
//
// Thread-safe. Times are in milliseconds on a clock that does not jump. -1 waits without limit. Any other negative time
// does not wait. A failing semaphore is logged as an error; a timeout is not logged.
#pragma once

#include "tessivar/platform/detail/log_hold.h"
#include "tessivar/platform/osapi.h"

namespace TessivarDDS {

/// A mutex with a time limit. It is not recursive: if the owner calls lock() again, the call waits. A thread may unlock
/// a mutex that another thread locked.
class TESSIVAR_API TessivarMutex {
 public:
  TessivarMutex();
  ~TessivarMutex();
  TessivarMutex(const TessivarMutex&) = delete;
  TessivarMutex& operator=(const TessivarMutex&) = delete;

  /// Blocks at most `timeoutMs`. Returns true if the caller holds the mutex now.
  bool lock(int timeoutMs);
  void unlock();

 private:
  RTIOsapiSemaphore* semaphore_;
};

/// Locks a mutex, without time limit, for the lifetime of this object. Messages that the thread logs in this time are
/// delivered after the mutex is unlocked. Therefore no Logger runs while the mutex is locked.
class TESSIVAR_API ScopedLock {
 public:
  explicit ScopedLock(TessivarMutex& mutex);
  ~ScopedLock();
  ScopedLock(const ScopedLock&) = delete;
  ScopedLock& operator=(const ScopedLock&) = delete;

 private:
  const tessivar::platform::LogHold hold_;  // ends after the destructor has unlocked the mutex
  TessivarMutex& mutex_;
};

/// One thread waits for a signal of another thread. One signal ends one wait. Several signals before a wait count as
/// one signal.
class TESSIVAR_API TessivarEvent {
 public:
  TessivarEvent();
  ~TessivarEvent();
  TessivarEvent(const TessivarEvent&) = delete;
  TessivarEvent& operator=(const TessivarEvent&) = delete;

  /// Blocks at most `timeoutMs`. Returns true if the event was signalled.
  bool wait(int timeoutMs);
  void signal();

 private:
  RTIOsapiSemaphore* semaphore_;
};

}  // namespace TessivarDDS
