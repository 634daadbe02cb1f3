// SPDX-License-Identifier: Apache-2.0

// The threads of the library. All of them are started here.
#pragma once

#include "tessivar/platform/detail/fork.h"

#include <functional>
#include <memory>

namespace tessivar::platform {

/// Owns a running thread, or none. Not thread-safe.
///
/// Threads of the library block all signals except those of faults and of profilers. So the application's handlers run
/// on the application's threads only, and a signal that the application has blocked to wait for it does not end the
/// process through a thread of the library.
class Thread {
 public:
  Thread() noexcept;
  /// Starts `body` on a new thread. `name` is cut to 15 characters, the limit of the operating system. `stack_size` is
  /// in octets; 0 means the default. An exception of `body` ends the thread with one log line. Throws std::system_error
  /// if the thread cannot be started, and std::bad_alloc.
  Thread(const char* name, std::function<void()> body, std::size_t stack_size = 0);
  /// Calls join().
  ~Thread();
  Thread(Thread&& other) noexcept;
  /// Calls join() first.
  Thread& operator=(Thread&& other) noexcept;
  Thread(const Thread&) = delete;
  Thread& operator=(const Thread&) = delete;

  /// Returns true until join().
  bool joinable() const noexcept { return handle_ != nullptr; }
  /// Waits until the thread has ended. Does not wait if the thread itself calls this function (the thread continues),
  /// or if the process inherited the object by fork() (the thread does not exist there). Does nothing without a thread.
  void join() noexcept;

 private:
  struct Handle;
  std::unique_ptr<Handle> handle_;
  MadeHere made_here_;
};

}  // namespace tessivar::platform
