// SPDX-License-Identifier: Apache-2.0

#include "tessivar/platform/cyclone/batching.h"

namespace tessivar::platform::cyclone {

BatchingSetting::Creation::Creation(BatchingSetting& setting, bool batching) : setting_(setting), batching_(batching) {
  const MutexLock guard(setting_.lock_);
  begun_before_ = setting_.begun_;
  open_before_ = setting_.open_ > 0;
  if (!batching_ || !setting_.gv_) return;
  ++setting_.begun_;
  if (setting_.open_++ == 0) cyclone_set_batching(setting_.gv_, true);
}

BatchingSetting::Creation::~Creation() {
  if (!batching_ || !setting_.gv_) return;
  const MutexLock guard(setting_.lock_);
  if (--setting_.open_ == 0) cyclone_set_batching(setting_.gv_, false);
}

bool BatchingSetting::Creation::may_collect() const {
  const MutexLock guard(setting_.lock_);
  return open_before_ || setting_.begun_ != begun_before_;
}

}  // namespace tessivar::platform::cyclone
