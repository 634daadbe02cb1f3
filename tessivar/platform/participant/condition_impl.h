// SPDX-License-Identifier: Apache-2.0

// The implementation of conditions and wait sets.
//
// A reader triggers its read conditions, the application triggers its guard conditions. A triggered condition wakes the
// threads that wait for it. attachments_mutex() is not held while a thread waits.
#pragma once

#include "tessivar/platform/condition.h"
#include "tessivar/platform/detail/fork.h"
#include "tessivar/platform/detail/mutex.h"
#include "tessivar/platform/reader/reader_cache.h"

#include <vector>

namespace tessivar::platform {

/// Returns the lock of the process that guards which conditions are attached to which wait sets, and which conditions
/// are triggered.
Mutex& attachments_mutex();

}  // namespace tessivar::platform

struct DDSCondition::Impl {
  ~Impl();

  const tessivar::platform::MadeHere made_here = {};

  std::vector<DDSWaitSet::Impl*> wait_sets TESSIVAR_GUARDED_BY(tessivar::platform::attachments_mutex());
  bool triggered TESSIVAR_GUARDED_BY(tessivar::platform::attachments_mutex()) = false;

  // Members of a read condition.
  DDSDataReader* reader = nullptr;
  DDS_SampleStateMask sample_states = 0;
  DDS_ViewStateMask view_states = 0;
  DDS_InstanceStateMask instance_states = 0;
  tessivar::platform::StateSet states = 0;  // the same three masks combined
};

struct DDSWaitSet::Impl {
  DDS_ReturnCode_t attach(DDSCondition& condition) TESSIVAR_EXCLUDES(tessivar::platform::attachments_mutex());

  const tessivar::platform::MadeHere made_here = {};
  /// In the order of attachment.
  std::vector<DDSCondition*> conditions TESSIVAR_GUARDED_BY(tessivar::platform::attachments_mutex());
  tessivar::platform::Condition changed;  // a condition was triggered or attached
  bool waiting TESSIVAR_GUARDED_BY(tessivar::platform::attachments_mutex()) = false;

  /// Returns true if a condition is triggered.
  bool ready() const TESSIVAR_REQUIRES(tessivar::platform::attachments_mutex());
};

namespace tessivar::platform {

void set_triggered(DDSCondition& condition, bool triggered);

bool is_triggered(const DDSCondition::Impl& condition);

}  // namespace tessivar::platform
