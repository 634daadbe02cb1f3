// SPDX-License-Identifier: Apache-2.0

// The platform's operating-system layer: semaphores, threads, sleeping.
#pragma once

#include "tessivar/platform/base.h"

/// Status of a semaphore operation.
constexpr int RTI_OSAPI_SEMAPHORE_STATUS_OK = 0x020200F8;
constexpr int RTI_OSAPI_SEMAPHORE_STATUS_TIMEOUT = 0x020200F9;
constexpr int RTI_OSAPI_SEMAPHORE_STATUS_ERROR = 0x020200FF;

/// Kind of a binary semaphore (given at most once ahead of a take).
constexpr int RTI_OSAPI_SEMAPHORE_KIND_BINARY = 0x02020008;

/// `word0` is reserved (0); `count` is 1 for a semaphore that is created given, 0 for one created taken.
struct RTIOsapiSemaphoreProperty {
  int word0;
  int count;
};

/// A span of time: seconds and a binary fraction of a second (2^32 to the second).
struct RTINtpTime {
  DDS_Long sec;
  DDS_UnsignedLong frac;
};

/// In a process that inherited one by fork(), it begins anew with its initial count.
struct RTIOsapiSemaphore;

/// Null when memory is short.
TESSIVAR_API RTIOsapiSemaphore* RTIOsapiSemaphore_new(int kind, const RTIOsapiSemaphoreProperty* property);
TESSIVAR_API void RTIOsapiSemaphore_delete(RTIOsapiSemaphore* semaphore);
/// Waits at most `timeout` (null: without limit), by a clock that does not jump. A status of above.
TESSIVAR_API int RTIOsapiSemaphore_take(RTIOsapiSemaphore* semaphore, const RTINtpTime* timeout);
TESSIVAR_API int RTIOsapiSemaphore_give(RTIOsapiSemaphore* semaphore);

struct RTIOsapiThreadFactory;
struct RTIOsapiThread;
typedef void* (*RTIOsapiThreadFunction)(void* argument);

TESSIVAR_API RTIOsapiThreadFactory* RTIOsapiThreadFactory_newDefault();
TESSIVAR_API void RTIOsapiThreadFactory_delete(RTIOsapiThreadFactory* factory);
/// Starts a thread; its name is cut to the operating system's limit of 15 characters. `stack_size` -1: the default.
/// Null when none can be had.
TESSIVAR_API RTIOsapiThread* RTIOsapiThreadFactory_createThread(RTIOsapiThreadFactory* factory, const char* name,
                                                                int priority, int options, int stack_size,
                                                                const void* processor_mask,
                                                                RTIOsapiThreadFunction entry, void* argument);
/// Waits for the thread's end and frees it. Called by the thread itself, or by a process that inherited the thread's
/// record by fork(), it frees it without waiting.
TESSIVAR_API void RTIOsapiThreadFactory_destroyThread(RTIOsapiThreadFactory* factory, RTIOsapiThread* thread);

TESSIVAR_API void RTIOsapiThread_sleep(const RTINtpTime* time);
