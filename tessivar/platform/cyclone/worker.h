// SPDX-License-Identifier: Apache-2.0

// A thread that runs tasks in order, for work that must not run on the engine's own threads.
#pragma once

#include "tessivar/platform/detail/mutex.h"

#include <deque>
#include <functional>
#include <mutex>
#include <thread>

namespace tessivar::platform::cyclone {

/// Thread-safe.
class Worker {
 public:
  Worker();
  ~Worker();
  /// Does nothing after stop(). Throws std::bad_alloc.
  void post(std::function<void()> task);
  /// Waits for the end of the current task and drops the others. Must not be called from a task.
  void stop();

 private:
  void run();

  Mutex lock_;
  Condition wake_;
  std::deque<std::function<void()>> tasks_;
  bool stopping_ = false;
  std::thread thread_;
};

}  // namespace tessivar::platform::cyclone
