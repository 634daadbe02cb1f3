// SPDX-License-Identifier: Apache-2.0

// The communication statuses of a data writer.
//
// Each status counts the changes since the application read it last.
#pragma once

#include "tessivar/platform/detail/mutex.h"
#include "tessivar/platform/status.h"

#include <tuple>

namespace tessivar::platform {

/// Thread-safe. Calls nothing while it holds its lock.
class WriterStatuses {
 public:
  /// To be called when the writer is enabled. Returns the statuses that changed before, which must be reported now.
  DDS_StatusMask begin() TESSIVAR_EXCLUDES(mutex_);
  /// From now on no change must be reported.
  void end() TESSIVAR_EXCLUDES(mutex_);

  /// Stores the totals that the engine has counted. Returns the status if it must be reported now, or 0. Changes before
  /// begin() are reported later.
  template <class Status>
  DDS_StatusMask update(const Status& totals) TESSIVAR_EXCLUDES(mutex_);
  /// Returns the status and sets its changes to 0.
  template <class Status>
  Status read() TESSIVAR_EXCLUDES(mutex_);

 private:
  template <class Status>
  static constexpr DDS_StatusMask mask_of();

  Mutex mutex_;
  bool enabled_ TESSIVAR_GUARDED_BY(mutex_) = false;
  std::tuple<DDS_PublicationMatchedStatus, DDS_LivelinessLostStatus, DDS_OfferedDeadlineMissedStatus,
             DDS_OfferedIncompatibleQosStatus>
      statuses_ TESSIVAR_GUARDED_BY(mutex_) = {};
  /// Statuses that changed before begin().
  DDS_StatusMask deferred_ TESSIVAR_GUARDED_BY(mutex_) = 0;
};

}  // namespace tessivar::platform
