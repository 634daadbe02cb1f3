// SPDX-License-Identifier: Apache-2.0

#include "tessivar/platform/osapi.h"

#include "tessivar/platform/detail/fork.h"
#include "tessivar/platform/detail/log.h"
#include "tessivar/platform/system/guarded.h"
#include "tessivar/platform/system/thread.h"

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <new>
#include <thread>

using tessivar::platform::LogLevel;

namespace {

std::chrono::nanoseconds to_chrono(const RTINtpTime& time) {
  if (time.sec < 0) return std::chrono::nanoseconds::zero();
  const std::uint64_t fraction = (std::uint64_t{time.frac} * 1000000000u) >> 32;
  return std::chrono::seconds(time.sec) + std::chrono::nanoseconds(fraction);
}

}  // namespace

struct RTIOsapiSemaphore {
  struct State {
    explicit State(bool initially) : given(initially) {}
    std::mutex mutex;
    std::condition_variable condition;
    bool given;
  };

  explicit RTIOsapiSemaphore(bool initially) : given_initially(initially), state(initially) {}

  /// Returns the state. In a process that inherited the semaphore by fork() the state is new, because the threads that
  /// took the semaphore or wait for it do not exist there.
  State& present() {
    tessivar::platform::renew_if_inherited(process, [this] { new (&state) State(given_initially); });
    return state;
  }

  const bool given_initially;
  std::atomic<unsigned> process{tessivar::platform::fork_depth()};
  State state;
};

RTIOsapiSemaphore* RTIOsapiSemaphore_new(int kind, const RTIOsapiSemaphoreProperty* property) {
  if (kind != RTI_OSAPI_SEMAPHORE_KIND_BINARY) {
    tessivar::platform::log(LogLevel::error, "RTIOsapiSemaphore_new", "only binary semaphores are supported");
    return nullptr;
  }
  return new (std::nothrow) RTIOsapiSemaphore(property && property->count > 0);
}

void RTIOsapiSemaphore_delete(RTIOsapiSemaphore* semaphore) {
  delete semaphore;
}

int RTIOsapiSemaphore_take(RTIOsapiSemaphore* semaphore, const RTINtpTime* timeout) {
  if (!semaphore) return RTI_OSAPI_SEMAPHORE_STATUS_ERROR;
  try {
    RTIOsapiSemaphore::State& state = semaphore->present();
    std::unique_lock lock(state.mutex);
    const auto given = [&state] { return state.given; };
    if (!timeout) {
      state.condition.wait(lock, given);
    } else if (!state.given) {
      const auto deadline = std::chrono::steady_clock::now() + to_chrono(*timeout);
      if (!state.condition.wait_until(lock, deadline, given)) return RTI_OSAPI_SEMAPHORE_STATUS_TIMEOUT;
    }
    state.given = false;
    return RTI_OSAPI_SEMAPHORE_STATUS_OK;
  } catch (const std::system_error&) {
    return RTI_OSAPI_SEMAPHORE_STATUS_ERROR;
  }
}

int RTIOsapiSemaphore_give(RTIOsapiSemaphore* semaphore) {
  if (!semaphore) return RTI_OSAPI_SEMAPHORE_STATUS_ERROR;
  try {
    RTIOsapiSemaphore::State& state = semaphore->present();
    // Notify under the lock: the thread that takes the semaphore may delete it at once.
    const std::lock_guard lock(state.mutex);
    state.given = true;
    state.condition.notify_one();
    return RTI_OSAPI_SEMAPHORE_STATUS_OK;
  } catch (const std::system_error&) {
    return RTI_OSAPI_SEMAPHORE_STATUS_ERROR;
  }
}

struct RTIOsapiThreadFactory {};

struct RTIOsapiThread {
  tessivar::platform::Thread thread;
};

RTIOsapiThreadFactory* RTIOsapiThreadFactory_newDefault() {
  return new (std::nothrow) RTIOsapiThreadFactory;
}

void RTIOsapiThreadFactory_delete(RTIOsapiThreadFactory* factory) {
  delete factory;
}

RTIOsapiThread* RTIOsapiThreadFactory_createThread(RTIOsapiThreadFactory* factory, const char* name, int priority,
                                                   int options, int stack_size, const void* processor_mask,
                                                   RTIOsapiThreadFunction entry, void* argument) {
  constexpr const char* context = "RTIOsapiThreadFactory_createThread";
  if (!factory || !name || !entry) {
    tessivar::platform::log(LogLevel::error, context, "factory, name or entry is null");
    return nullptr;
  }
  if (priority != 0 || options != 0 || processor_mask) {
    tessivar::platform::log(LogLevel::error, context, "only default priority, options and processors are supported");
    return nullptr;
  }
  return tessivar::platform::guarded(context, static_cast<RTIOsapiThread*>(nullptr), [&] {
    return new RTIOsapiThread{
        {name, [=] { entry(argument); }, stack_size == -1 ? 0 : static_cast<std::size_t>(stack_size)}};
  });
}

void RTIOsapiThreadFactory_destroyThread(RTIOsapiThreadFactory*, RTIOsapiThread* thread) {
  delete thread;
}

void RTIOsapiThread_sleep(const RTINtpTime* time) {
  if (time) std::this_thread::sleep_for(to_chrono(*time));
}
