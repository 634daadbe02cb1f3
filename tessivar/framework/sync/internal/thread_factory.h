// SPDX-License-Identifier: Apache-2.0

// The thread factory of the platform. The process has one factory.
#pragma once

#include "tessivar/platform/osapi.h"

namespace tessivar::framework {

/// Creates a thread with the factory of the process. The first call creates the factory. Returns null on failure.
RTIOsapiThread* createThread(const char* name, RTIOsapiThreadFunction entry, void* argument);

/// Waits until the thread ends. If only one thread was ever created, this also destroys the factory. After a second
/// thread, the factory is never destroyed.
void destroyThread(RTIOsapiThread* thread);

/// Returns the number of threads that were created since the factory was created, or 0 if there is no factory.
unsigned threadsCreated();

}  // namespace tessivar::framework
