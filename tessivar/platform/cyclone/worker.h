// A thread that does, in order, what must not be done on one of the engine's own threads.
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
  /// Ignored once it was stopped.
  void post(std::function<void()> task);
  /// Finishes the task at hand and drops the others. Not on the worker itself.
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
