// SPDX-License-Identifier: Apache-2.0

#include "tessivar/platform/qos/profile_store.h"

#include "tessivar/platform/detail/immortal.h"
#include "tessivar/platform/detail/log.h"

namespace tessivar::platform {

ProfileStore& ProfileStore::instance() {
  static Immortal<ProfileStore> store;
  return *store;
}

void ProfileStore::set_sources(const DDS_ProfileQosPolicy& sources) {
  const MutexLock lock(mutex_);
  sources_ = sources;
  state_ = State::stale;
}

DDS_ProfileQosPolicy ProfileStore::sources() const {
  const MutexLock lock(mutex_);
  return sources_;
}

void ProfileStore::reload() {
  const MutexLock lock(mutex_);
  state_ = State::stale;
}

bool ProfileStore::read_all(std::string& error) {
  if (state_ == State::complete) return true;
  if (state_ == State::stale) reported_.clear();
  state_ = profiles_.load(sources_, error) ? State::complete : State::incomplete;
  return state_ == State::complete;
}

void ProfileStore::report(const std::string& error) {
  if (!error.empty()) log(LogLevel::error, "QoS profiles", error + " (left out of the default QoS)");
}

}  // namespace tessivar::platform
