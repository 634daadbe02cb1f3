// SPDX-License-Identifier: Apache-2.0

// A thread that runs tasks, for work that must not run on the engine's own threads.
#pragma once

#include "tessivar/platform/detail/mutex.h"
#include "tessivar/platform/system/thread.h"

#include <chrono>
#include <functional>
#include <map>

namespace tessivar::platform::cyclone {

/// Thread-safe.
class Worker {
 public:
  Worker();
  ~Worker();
  /// Runs `task` after `delay`. An exception of the task is logged. Tasks without delay run in the order of the calls.
  /// Does nothing after stop(). Throws std::bad_alloc.
  void post(std::function<void()> task, std::chrono::steady_clock::duration delay = {});
  /// Waits for the end of the current task and drops the others. Must not be called from a task.
  void stop();

 private:
  void run();

  Mutex lock_;
  Condition wake_;
  /// By the time at which they are due.
  std::multimap<std::chrono::steady_clock::time_point, std::function<void()>> tasks_ TESSIVAR_GUARDED_BY(lock_);
  bool stopping_ TESSIVAR_GUARDED_BY(lock_) = false;
  Thread thread_;
};

}  // namespace tessivar::platform::cyclone
