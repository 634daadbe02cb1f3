// The process's QoS profiles, read when they are first asked for.
#pragma once

#include "tessivar/platform/mutex.h"
#include "tessivar/platform/qos_profiles.h"

#include <mutex>

namespace tessivar::platform {

/// Thread-safe. A source that cannot be read makes every request fail with its error, until it can.
class ProfileStore {
 public:
  static ProfileStore& instance();

  void set_sources(const DDS_ProfileQosPolicy& sources);
  DDS_ProfileQosPolicy sources() const;
  void reload();

  /// `request(profiles, error)` is asked of profiles that are up to date.
  template <class Request>
  bool ask(std::string& error, const Request& request) {
    const std::lock_guard lock(mutex_);
    if (!current_ && !(current_ = profiles_.load(sources_, error))) return false;
    return request(static_cast<const QosProfiles&>(profiles_), error);
  }

 private:
  mutable Mutex mutex_;
  DDS_ProfileQosPolicy sources_;
  QosProfiles profiles_;
  bool current_ = false;
};

}  // namespace tessivar::platform
