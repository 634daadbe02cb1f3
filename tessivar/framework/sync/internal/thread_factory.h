// SPDX-License-Identifier: Apache-2.0

// The platform's thread factory, one for the process.
#pragma once

#include "tessivar/platform/osapi.h"

namespace tessivar::framework {

/// Makes a thread with the process's factory, which the first one creates. Null when none can be had.
RTIOsapiThread* createThread(const char* name, RTIOsapiThreadFunction entry, void* argument);

/// Waits for the thread's end. The factory goes with the only thread ever made; once there have been two it stays.
void destroyThread(RTIOsapiThread* thread);

/// Threads made since the factory was created; 0 when there is no factory.
unsigned threadsCreated();

}  // namespace tessivar::framework
