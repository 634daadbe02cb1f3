// SPDX-License-Identifier: Apache-2.0

#include "tessivar/platform/reader/publications.h"

#include <cstring>

namespace tessivar::platform {

Publications::Number Publications::hold(const DDS_InstanceHandle_t& guid, std::int64_t lifespan) {
  if (!guid.isValid) return none;
  const KeyHash hash = key_hash_of(guid.keyHash.value);
  if (last_ == none || std::memcmp(writers_[last_].guid.keyHash.value, hash.data(), hash.size()) != 0) {
    const auto known = numbers_.find(hash);
    if (known != numbers_.end()) {
      last_ = known->second;
    } else {
      if (unused_.empty()) {
        unused_.reserve(writers_.size() + 1);  // so that release() does not allocate
        writers_.push_back({DDS_HANDLE_NIL, never, 0});
        unused_.push_back(static_cast<Number>(writers_.size() - 1));
      }
      numbers_.emplace(hash, unused_.back());
      last_ = unused_.back();
      unused_.pop_back();
      writers_[last_] = {guid, lifespan, 0};
    }
  }
  ++writers_[last_].references;
  return last_;
}

void Publications::release(Number number) noexcept {
  if (number == none || --writers_[number].references > 0) return;
  numbers_.erase(key_hash_of(writers_[number].guid.keyHash.value));
  unused_.push_back(number);
  if (last_ == number) last_ = none;
}

}  // namespace tessivar::platform
