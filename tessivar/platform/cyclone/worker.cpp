// SPDX-License-Identifier: Apache-2.0

#include "tessivar/platform/cyclone/worker.h"

#include "tessivar/platform/system/signals_blocked.h"

#include <pthread.h>

namespace tessivar::platform::cyclone {

Worker::Worker() {
  const SignalsBlocked blocked;
  thread_ = std::thread([this] { run(); });
  pthread_setname_np(thread_.native_handle(), "tessivar-engine");
}

Worker::~Worker() {
  stop();
}

void Worker::stop() {
  {
    const std::lock_guard guard(lock_);
    stopping_ = true;
    tasks_.clear();
  }
  wake_.notify_one();
  if (thread_.joinable()) thread_.join();
}

void Worker::post(std::function<void()> task) {
  {
    const std::lock_guard guard(lock_);
    if (stopping_) return;
    tasks_.push_back(std::move(task));
  }
  wake_.notify_one();
}

void Worker::run() {
  std::unique_lock guard(lock_);
  for (;;) {
    wake_.wait(guard, [this] { return stopping_ || !tasks_.empty(); });
    if (stopping_) return;
    const std::function<void()> task = std::move(tasks_.front());
    tasks_.pop_front();
    guard.unlock();
    task();
    guard.lock();
  }
}

}  // namespace tessivar::platform::cyclone
