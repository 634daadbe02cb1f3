// SPDX-License-Identifier: Apache-2.0

// The units that a device has announced.
#pragma once

#include "tessivar/platform/detail/mutex.h"

#include <functional>
#include <set>
#include <string>
#include <string_view>

namespace TessivarDDS {

/// Finds values of units that were not added. Thread-safe. isMissing() makes no allocation for a unit that was added.
/// No function throws.
class AnnouncedUnits {
 public:
  void add(const char* unit) {
    const tessivar::platform::MutexLock lock(mutex_);
    try {
      if (unit) units_.emplace(unit);
    } catch (...) {
      // No memory: the unit is reported as missing.
    }
  }
  void remove(const char* unit) {
    const tessivar::platform::MutexLock lock(mutex_);
    units_.erase(unit);
    reported_.erase(unit);
  }
  /// Returns true once for each unit that is not announced.
  bool isMissing(const char* unit) {
    const tessivar::platform::MutexLock lock(mutex_);
    try {
      return unit && !units_.contains(std::string_view(unit)) && reported_.emplace(unit).second;
    } catch (...) {
      return false;  // no memory, also none for a log line
    }
  }

 private:
  tessivar::platform::Mutex mutex_;
  std::set<std::string, std::less<>> units_ TESSIVAR_GUARDED_BY(mutex_);
  std::set<std::string, std::less<>> reported_ TESSIVAR_GUARDED_BY(mutex_);
};

}  // namespace TessivarDDS
