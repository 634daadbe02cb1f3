// SPDX-License-Identifier: Apache-2.0

// Blocks the application's signals on the threads of the library.
#pragma once

#include <pthread.h>
#include <signal.h>

namespace tessivar::platform {

/// Blocks signals on the current thread while the object exists. A thread that is created meanwhile inherits the signal
/// mask. So the application's handlers run on the application's threads only, and a signal that the application has
/// blocked to wait for it does not end the process through a thread of the library. Signals that a fault of a thread
/// raises, and the signal of profilers, are not blocked.
class SignalsBlocked {
 public:
  SignalsBlocked() {
    sigset_t all;
    sigfillset(&all);
    for (const int signal : {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGABRT, SIGTRAP, SIGSYS, SIGPROF}) {
      sigdelset(&all, signal);
    }
    pthread_sigmask(SIG_BLOCK, &all, &before_);
  }
  ~SignalsBlocked() { pthread_sigmask(SIG_SETMASK, &before_, nullptr); }
  SignalsBlocked(const SignalsBlocked&) = delete;
  SignalsBlocked& operator=(const SignalsBlocked&) = delete;

 private:
  sigset_t before_;
};

}  // namespace tessivar::platform
