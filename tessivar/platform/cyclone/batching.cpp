// SPDX-License-Identifier: Apache-2.0

#include "tessivar/platform/cyclone/batching.h"

namespace tessivar::platform::cyclone {

BatchingSetting::Creation::Creation(BatchingSetting& setting, bool batching) : setting_(setting), batching_(batching) {
  const std::lock_guard guard(setting_.lock_);
  windows_before_ = setting_.windows_;
  open_before_ = setting_.open_ > 0;
  if (!batching_ || !setting_.gv_) return;
  ++setting_.windows_;
  if (setting_.open_++ == 0) cyclone_set_batching(setting_.gv_, true);
}

BatchingSetting::Creation::~Creation() {
  if (!batching_ || !setting_.gv_) return;
  const std::lock_guard guard(setting_.lock_);
  if (--setting_.open_ == 0) cyclone_set_batching(setting_.gv_, false);
}

bool BatchingSetting::Creation::may_collect() const {
  const std::lock_guard guard(setting_.lock_);
  return open_before_ || setting_.windows_ != windows_before_;
}

}  // namespace tessivar::platform::cyclone
