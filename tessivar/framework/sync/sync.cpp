// SPDX-License-Identifier: Apache-2.0

#include "tessivar/framework/sync/sync.h"

#include "tessivar/framework/log/logger.h"
#include "tessivar/framework/sync/ntp_time.h"

namespace TessivarDDS {

namespace {

RTIOsapiSemaphore* makeSemaphore(int count) {
  const RTIOsapiSemaphoreProperty property = {0, count};
  return RTIOsapiSemaphore_new(RTI_OSAPI_SEMAPHORE_KIND_BINARY, &property);
}

bool take(RTIOsapiSemaphore* semaphore, int timeoutMs, const char* signature) {
  const RTINtpTime timeout = tessivar::framework::toNtpTime(timeoutMs);
  const int status = RTIOsapiSemaphore_take(semaphore, timeoutMs == -1 ? nullptr : &timeout);
  if (status == RTI_OSAPI_SEMAPHORE_STATUS_ERROR) logError() << signature << " Error locking semaphore.";
  return status == RTI_OSAPI_SEMAPHORE_STATUS_OK;
}

}  // namespace

TessivarMutex::TessivarMutex() : semaphore_(makeSemaphore(1)) {}

TessivarMutex::~TessivarMutex() {
  RTIOsapiSemaphore_delete(semaphore_);
}

bool TessivarMutex::lock(int timeoutMs) {
  return take(semaphore_, timeoutMs, "bool __cdecl TessivarDDS::TessivarMutex::lock(int)");
}

void TessivarMutex::unlock() {
  RTIOsapiSemaphore_give(semaphore_);
}

ScopedLock::ScopedLock(TessivarMutex& mutex) : mutex_(mutex) {
  mutex_.lock(-1);
}

ScopedLock::~ScopedLock() {
  mutex_.unlock();
}

TessivarEvent::TessivarEvent() : semaphore_(makeSemaphore(0)) {}

TessivarEvent::~TessivarEvent() {
  RTIOsapiSemaphore_delete(semaphore_);
}

bool TessivarEvent::wait(int timeoutMs) {
  return take(semaphore_, timeoutMs, "bool __cdecl TessivarDDS::TessivarEvent::wait(int)");
}

void TessivarEvent::signal() {
  RTIOsapiSemaphore_give(semaphore_);
}

}  // namespace TessivarDDS
