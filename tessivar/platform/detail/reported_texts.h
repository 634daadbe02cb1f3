// SPDX-License-Identifier: Apache-2.0

// Remembers which warnings were logged.
#pragma once

#include "tessivar/platform/detail/mutex.h"

#include <cstddef>
#include <set>
#include <string>

namespace tessivar::platform {

/// Texts that were reported. So a warning with the same text is logged once. Thread-safe.
class ReportedTexts {
 public:
  /// Returns true if `text` was not added before. Forgets all texts when there are 1024. Throws std::bad_alloc.
  bool add(const std::string& text) {
    const MutexLock lock(mutex_);
    if (texts_.size() >= max_texts) texts_.clear();
    return texts_.insert(text).second;
  }

 private:
  static constexpr std::size_t max_texts = 1024;

  Mutex mutex_;
  std::set<std::string> texts_ TESSIVAR_GUARDED_BY(mutex_);
};

}  // namespace tessivar::platform
