// SPDX-License-Identifier: Apache-2.0

// The implementation of conditions and wait sets.
//
// A DDSGuardCondition uses a guard condition of the engine. A reader triggers its read conditions. Each wait set has a
// guard condition of the engine, which wakes it while one of its read conditions is triggered. attachments_mutex() is
// not held while a thread waits.
#pragma once

#include "tessivar/platform/condition.h"
#include "tessivar/platform/detail/fork.h"
#include "tessivar/platform/detail/mutex.h"
#include "tessivar/platform/engine/engine.h"
#include "tessivar/platform/reader/reader_cache.h"

#include <atomic>
#include <vector>

namespace tessivar::platform {

/// Returns the lock of the process that guards which conditions are attached to which wait sets, and which read
/// conditions are triggered.
Mutex& attachments_mutex();

}  // namespace tessivar::platform

struct DDSCondition::Impl {
  ~Impl();

  const tessivar::platform::MadeHere made_here = {};

  std::unique_ptr<tessivar::platform::EngineGuardCondition> engine;  // null for a read condition
  std::vector<DDSWaitSet::Impl*> wait_sets TESSIVAR_GUARDED_BY(tessivar::platform::attachments_mutex());

  // Members of a read condition.
  DDSDataReader* reader = nullptr;
  DDS_SampleStateMask sample_states = 0;
  DDS_ViewStateMask view_states = 0;
  DDS_InstanceStateMask instance_states = 0;
  tessivar::platform::StateSet states = 0;  // the same three masks combined
  bool triggered TESSIVAR_GUARDED_BY(tessivar::platform::attachments_mutex()) = false;
};

struct DDSWaitSet::Impl {
  DDS_ReturnCode_t attach(DDSCondition& condition) TESSIVAR_EXCLUDES(tessivar::platform::attachments_mutex());

  const tessivar::platform::MadeHere made_here = {};
  std::unique_ptr<tessivar::platform::EngineWaitSet> engine;
  std::unique_ptr<tessivar::platform::EngineGuardCondition> wake;  // set while a read condition is triggered
  /// In the order of attachment.
  std::vector<DDSCondition*> conditions TESSIVAR_GUARDED_BY(tessivar::platform::attachments_mutex());
  std::atomic<bool> waiting = false;
  std::vector<void*> triggered;  // used by the thread that waits
};

namespace tessivar::platform {

/// `condition` must be a read condition.
void set_triggered(DDSCondition& condition, bool triggered);

bool is_triggered(const DDSCondition::Impl& condition);

}  // namespace tessivar::platform
