// SPDX-License-Identifier: Apache-2.0

// The QoS profiles of the process. They are read when a profile is needed first.
#pragma once

#include "tessivar/platform/detail/mutex.h"
#include "tessivar/platform/qos/profiles.h"

#include <set>
#include <string>

namespace tessivar::platform {

/// Thread-safe. No line is logged while the lock is held.
class ProfileStore {
 public:
  static ProfileStore& instance();

  void set_sources(const DDS_ProfileQosPolicy& sources);
  DDS_ProfileQosPolicy sources() const;
  void reload();

  /// Calls `request(profiles, error)` with current profiles and returns its result. If a source cannot be read, every
  /// request fails with the error of that source until the source can be read. For requests that name a profile.
  template <class Request>
  bool ask(std::string& error, const Request& request) {
    const MutexLock lock(mutex_);
    return read_all(error) && request(static_cast<const QosProfiles&>(profiles_), error);
  }

  /// The same, but uses all sources that could be read. For defaults, which must not fail because a file is bad. An
  /// error is logged once each time the sources are read.
  template <class Request>
  bool ask_default(const Request& request) {
    std::string source_error;
    std::string error;
    bool found = false;
    {
      const MutexLock lock(mutex_);
      if (state_ == State::stale) read_all(source_error);
      found = request(static_cast<const QosProfiles&>(profiles_), error);
      if (!found && !error.empty() && !reported_.insert(error).second) error.clear();
    }
    report(source_error);
    if (!found) report(error);
    return found;
  }

 private:
  enum class State { stale, incomplete, complete };

  bool read_all(std::string& error) TESSIVAR_REQUIRES(mutex_);
  static void report(const std::string& error);

  mutable Mutex mutex_;
  DDS_ProfileQosPolicy sources_ TESSIVAR_GUARDED_BY(mutex_);
  QosProfiles profiles_ TESSIVAR_GUARDED_BY(mutex_);
  State state_ TESSIVAR_GUARDED_BY(mutex_) = State::stale;
  std::set<std::string> reported_ TESSIVAR_GUARDED_BY(mutex_);  // the errors of default profiles that were logged
};

}  // namespace tessivar::platform
