// SPDX-License-Identifier: Apache-2.0

#include "tessivar/framework/sync/thread.h"

#include "tessivar/framework/log/detail/guarded.h"
#include "tessivar/framework/log/logger.h"
#include "tessivar/framework/sync/internal/thread_factory.h"
#include "tessivar/framework/sync/ntp_time.h"
#include "tessivar/framework/sync/sync.h"

#include <string>
#include <utility>

namespace TessivarDDS {

struct TessivarThread::Private {
  RTIOsapiThread* thread = nullptr;  // null until started
  const std::string name;
  TessivarEvent started = {};

  static void* enter(void* argument) {
    constexpr const char* signature = "void __cdecl TessivarDDS::TessivarThread::run(void)";
    auto* self = static_cast<TessivarThread*>(argument);
    self->private_->started.signal();
    tessivar::framework::guarded(
        signature, [self] { self->run(); }, "the thread");
    return nullptr;
  }
};

TessivarThread::TessivarThread() : TessivarThread("TessivarThread") {}

TessivarThread::TessivarThread(const std::string& name) : private_(new Private{.name = name}) {}

TessivarThread::~TessivarThread() {
  join();
}

bool TessivarThread::started() const {
  return private_->thread != nullptr;
}

void TessivarThread::join() {
  if (private_->thread) tessivar::framework::destroyThread(std::exchange(private_->thread, nullptr));
}

void TessivarThread::start() {
  if (private_->thread) return;
  private_->thread = tessivar::framework::createThread(private_->name.c_str(), Private::enter, this);
  if (!private_->thread) {
    logError() << "void __cdecl TessivarDDS::TessivarThread::start(void)"
               << " Failed to create the thread.";
    return;
  }
  private_->started.wait(-1);
}

void TessivarThread::sleep(int milliseconds) {
  const RTINtpTime time = tessivar::framework::toNtpTime(milliseconds);
  RTIOsapiThread_sleep(&time);
}

}  // namespace TessivarDDS
