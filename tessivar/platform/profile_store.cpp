#include "tessivar/platform/profile_store.h"

namespace tessivar::platform {

ProfileStore& ProfileStore::instance() {
  static ProfileStore& store = *new ProfileStore;  // never destroyed, like the factory that asks it
  return store;
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
