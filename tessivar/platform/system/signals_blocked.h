// SPDX-License-Identifier: Apache-2.0

// Keeps the application's signals from the library's threads.
#pragma once

#include <pthread.h>
#include <signal.h>

namespace tessivar::platform {

/// Blocks signals for a thread about to be made, which inherits the mask: the application's handlers run on its own
/// threads, and what it waits for with all of them blocked does not end the process here. Those that a thread's own
/// fault raises, and a profiler's, stay.
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
