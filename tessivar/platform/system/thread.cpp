// SPDX-License-Identifier: Apache-2.0

#include "tessivar/platform/system/thread.h"

#include "tessivar/platform/detail/guard.h"
#include "tessivar/platform/detail/log.h"

#include <cstdio>
#include <pthread.h>
#include <signal.h>
#include <system_error>
#include <utility>

namespace tessivar::platform {

struct Thread::Handle {
  pthread_t thread;
};

namespace {

/// Blocks signals on the current thread while the object exists. A thread that is created meanwhile inherits the mask.
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

struct Start {
  char name[16];
  std::function<void()> body;
};

void* run(void* argument) {
  const std::unique_ptr<Start> start(static_cast<Start*>(argument));
  pthread_setname_np(pthread_self(), start->name);
  guard(start->body,
        [&](const std::exception*) { log(LogLevel::error, start->name, "the thread ended by an exception"); });
  return nullptr;
}

/// Returns 0 or the error number of the system.
int create(pthread_t& thread, std::size_t stack_size, Start* start) {
  pthread_attr_t attributes;
  int error = pthread_attr_init(&attributes);
  if (error) return error;
  if (stack_size != 0) error = pthread_attr_setstacksize(&attributes, stack_size);
  if (!error) {
    const SignalsBlocked blocked;
    error = pthread_create(&thread, &attributes, run, start);
  }
  pthread_attr_destroy(&attributes);
  return error;
}

}  // namespace

Thread::Thread() noexcept = default;

Thread::Thread(const char* name, std::function<void()> body, std::size_t stack_size)
    : handle_(std::make_unique<Handle>()) {
  auto start = std::make_unique<Start>(Start{{}, std::move(body)});
  std::snprintf(start->name, sizeof start->name, "%s", name);
  if (const int error = create(handle_->thread, stack_size, start.get())) {
    throw std::system_error(error, std::generic_category(), "no thread");
  }
  (void)start.release();  // now owned by the thread
}

Thread::~Thread() {
  join();
}

Thread::Thread(Thread&& other) noexcept = default;

Thread& Thread::operator=(Thread&& other) noexcept {
  join();
  handle_ = std::move(other.handle_);
  made_here_ = other.made_here_;
  return *this;
}

void Thread::join() noexcept {
  const std::unique_ptr<Handle> handle = std::move(handle_);
  if (!handle || made_here_.inherited()) return;
  if (pthread_equal(handle->thread, pthread_self())) {
    pthread_detach(handle->thread);
  } else {
    pthread_join(handle->thread, nullptr);
  }
}

}  // namespace tessivar::platform
