// SPDX-License-Identifier: Apache-2.0

#include "tessivar/platform/cyclone/worker.h"

#include "tessivar/platform/system/guarded.h"

namespace tessivar::platform::cyclone {

using std::chrono::steady_clock;

Worker::Worker() : thread_("tessivar-engine", [this] { run(); }) {}

Worker::~Worker() {
  stop();
}

void Worker::stop() {
  {
    const MutexLock guard(lock_);
    stopping_ = true;
    tasks_.clear();
  }
  wake_.notify_one();
  thread_.join();
}

void Worker::post(std::function<void()> task, steady_clock::duration delay) {
  {
    const MutexLock guard(lock_);
    if (stopping_) return;
    tasks_.emplace(steady_clock::now() + delay, std::move(task));
  }
  wake_.notify_one();
}

void Worker::run() {
  UniqueMutexLock guard(lock_);
  while (!stopping_) {
    if (tasks_.empty()) {
      wake_.wait(guard);
    } else if (const auto due = tasks_.begin()->first; due > steady_clock::now()) {
      wake_.wait_until(guard, due);
    } else {
      const auto next = tasks_.extract(tasks_.begin());
      guard.unlock();
      guarded("engine", false, [&] { return next.mapped()(), true; });
      guard.lock();
    }
  }
}

}  // namespace tessivar::platform::cyclone
