#include "tessivar/platform/profile_store.h"

#include "tessivar/platform/immortal.h"

namespace tessivar::platform {

ProfileStore& ProfileStore::instance() {
  static Immortal<ProfileStore> store;
  return *store;
}

void ProfileStore::set_sources(const DDS_ProfileQosPolicy& sources) {
  const std::lock_guard lock(mutex_);
  sources_ = sources;
  current_ = false;
}

DDS_ProfileQosPolicy ProfileStore::sources() const {
  const std::lock_guard lock(mutex_);
  return sources_;
}

void ProfileStore::reload() {
  const std::lock_guard lock(mutex_);
  current_ = false;
}

}  // namespace tessivar::platform
