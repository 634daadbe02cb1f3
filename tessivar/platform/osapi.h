// SPDX-License-Identifier: Apache-2.0

// The operating-system layer of the platform: semaphores, threads, sleeping.
#pragma once

#include "tessivar/platform/base.h"

/// Status of a semaphore operation.
constexpr int RTI_OSAPI_SEMAPHORE_STATUS_OK = 0x020200F8;
constexpr int RTI_OSAPI_SEMAPHORE_STATUS_TIMEOUT = 0x020200F9;
constexpr int RTI_OSAPI_SEMAPHORE_STATUS_ERROR = 0x020200FF;

/// Kind of a binary semaphore: several gives before a take count as one.
constexpr int RTI_OSAPI_SEMAPHORE_KIND_BINARY = 0x02020008;

/// `word0` is reserved; set it to 0. `count` is 1 if the semaphore is created given, 0 if it is created taken.
struct RTIOsapiSemaphoreProperty {
  int word0;
  int count;
};

/// A span of time: seconds, and a fraction of a second in units of 2^-32 s.
struct RTINtpTime {
  DDS_Long sec;
  DDS_UnsignedLong frac;
};

/// A semaphore. Any thread may take and give it. In a process that inherited it by fork() it starts again with its
/// initial count.
struct RTIOsapiSemaphore;

/// Returns null if `kind` is not binary (with one log line) or memory is short.
TESSIVAR_API RTIOsapiSemaphore* RTIOsapiSemaphore_new(int kind, const RTIOsapiSemaphoreProperty* property);
/// No other call may be inside the semaphore, with one exception: a thread whose take has returned OK may delete it
/// while the give that caused this returns.
TESSIVAR_API void RTIOsapiSemaphore_delete(RTIOsapiSemaphore* semaphore);
/// Waits until the semaphore is given, at most for `timeout` (null: without limit). One give ends the wait of one
/// thread. The wait uses a steady clock, so a change of the system time has no effect. Returns one of the statuses
/// above.
TESSIVAR_API int RTIOsapiSemaphore_take(RTIOsapiSemaphore* semaphore, const RTINtpTime* timeout);
TESSIVAR_API int RTIOsapiSemaphore_give(RTIOsapiSemaphore* semaphore);

struct RTIOsapiThreadFactory;
struct RTIOsapiThread;
typedef void* (*RTIOsapiThreadFunction)(void* argument);

TESSIVAR_API RTIOsapiThreadFactory* RTIOsapiThreadFactory_newDefault();
TESSIVAR_API void RTIOsapiThreadFactory_delete(RTIOsapiThreadFactory* factory);
/// Starts a thread. `name` is cut to 15 characters, the limit of the operating system. `priority` and `options` must be
/// 0, `processor_mask` null. `stack_size` is in octets; 0 and -1 mean the default. If the thread cannot be started,
/// returns null and logs one line with the reason in words. An exception of `entry` ends the thread with one log line.
TESSIVAR_API RTIOsapiThread* RTIOsapiThreadFactory_createThread(RTIOsapiThreadFactory* factory, const char* name,
                                                                int priority, int options, int stack_size,
                                                                const void* processor_mask,
                                                                RTIOsapiThreadFunction entry, void* argument);
/// Waits until the thread has ended, then frees `thread`. Frees `thread` without waiting if the thread itself calls
/// this function, or if the process inherited `thread` by fork().
TESSIVAR_API void RTIOsapiThreadFactory_destroyThread(RTIOsapiThreadFactory* factory, RTIOsapiThread* thread);

TESSIVAR_API void RTIOsapiThread_sleep(const RTINtpTime* time);
