// SPDX-License-Identifier: Apache-2.0

// Creates writers that collect samples until a flush. In the engine this is a setting of the domain.
#pragma once

#include "tessivar/platform/cyclone/internals/internals.h"
#include "tessivar/platform/detail/mutex.h"

#include <cstdint>

namespace tessivar::platform::cyclone {

/// The engine reads the setting when it creates a writer, and may call listeners during the creation. So no lock is
/// held during the creation: the setting is on while at least one batching writer is being created. Another writer that
/// is created at the same time may collect samples too; may_collect() returns this. Thread-safe.
class BatchingSetting {
 public:
  explicit BatchingSetting(ddsi_domaingv* gv) : gv_(gv) {}

  /// Must exist during the creation of one writer.
  class Creation {
   public:
    Creation(BatchingSetting& setting, bool batching);
    ~Creation();
    Creation(const Creation&) = delete;
    Creation& operator=(const Creation&) = delete;
    /// To be called after the creation. Returns true if the writer may collect samples.
    bool may_collect() const;

   private:
    BatchingSetting& setting_;
    const bool batching_;
    std::uint64_t begun_before_;
    bool open_before_;
  };

 private:
  ddsi_domaingv* const gv_;  // null: the setting is not accessible, and no writer collects samples
  Mutex lock_;
  int open_ TESSIVAR_GUARDED_BY(lock_) = 0;             // creations of batching writers that are running
  std::uint64_t begun_ TESSIVAR_GUARDED_BY(lock_) = 0;  // creations of batching writers so far
};

}  // namespace tessivar::platform::cyclone
