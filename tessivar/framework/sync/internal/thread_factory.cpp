// SPDX-License-Identifier: Apache-2.0

#include "tessivar/framework/sync/internal/thread_factory.h"

#include "tessivar/platform/detail/mutex.h"

namespace tessivar::framework {

namespace {

struct Factory {
  tessivar::platform::Mutex mutex;
  RTIOsapiThreadFactory* factory TESSIVAR_GUARDED_BY(mutex) = nullptr;
  unsigned created TESSIVAR_GUARDED_BY(mutex) = 0;
};

constinit Factory process;

}  // namespace

RTIOsapiThread* createThread(const char* name, RTIOsapiThreadFunction entry, void* argument) {
  const tessivar::platform::MutexLock lock(process.mutex);
  if (process.created == 0) process.factory = RTIOsapiThreadFactory_newDefault();
  RTIOsapiThread* thread =
      RTIOsapiThreadFactory_createThread(process.factory, name, 0, 0, -1, nullptr, entry, argument);
  ++process.created;
  return thread;
}

void destroyThread(RTIOsapiThread* thread) {
  RTIOsapiThreadFactory* factory;
  {
    const tessivar::platform::MutexLock lock(process.mutex);
    factory = process.factory;
  }
  RTIOsapiThreadFactory_destroyThread(factory, thread);  // this waits, so the lock is not held
  const tessivar::platform::MutexLock lock(process.mutex);
  if (process.created != 1) return;
  RTIOsapiThreadFactory_delete(process.factory);
  process.factory = nullptr;
  process.created = 0;
}

unsigned threadsCreated() {
  const tessivar::platform::MutexLock lock(process.mutex);
  return process.created;
}

}  // namespace tessivar::framework
