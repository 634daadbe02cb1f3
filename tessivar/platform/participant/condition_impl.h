// SPDX-License-Identifier: Apache-2.0

// Conditions and wait sets from the inside.
//
// A guard condition is the engine's; a read condition is triggered by its reader, and a wait set that has it is woken
// by a guard condition of its own. Who is attached to whom is kept here, under one lock for all; it is never held while
// anybody waits.
#pragma once

#include "tessivar/platform/condition.h"
#include "tessivar/platform/detail/fork.h"
#include "tessivar/platform/engine/engine.h"
#include "tessivar/platform/reader/reader_cache.h"

#include <atomic>
#include <vector>

struct DDSCondition::Impl {
  ~Impl();

  const tessivar::platform::MadeHere made_here = {};

  std::unique_ptr<tessivar::platform::EngineGuardCondition> engine;  // null for a read condition
  std::vector<DDSWaitSet::Impl*> wait_sets;

  // Of a read condition.
  DDSDataReader* reader = nullptr;
  DDS_SampleStateMask sample_states = 0;
  DDS_ViewStateMask view_states = 0;
  DDS_InstanceStateMask instance_states = 0;
  tessivar::platform::StateSet states = 0;  // the same three
  bool triggered = false;                   // under the lock
};

struct DDSWaitSet::Impl {
  const tessivar::platform::MadeHere made_here = {};
  std::unique_ptr<tessivar::platform::EngineWaitSet> engine;
  std::unique_ptr<tessivar::platform::EngineGuardCondition> wake;  // while a read condition is triggered
  std::vector<DDSCondition*> conditions;                           // in the order of their attachment
  std::atomic<bool> waiting = false;
  std::vector<void*> triggered;  // of the thread that waits
};

namespace tessivar::platform {

/// For a read condition.
void set_triggered(DDSCondition& condition, bool triggered);

bool is_triggered(const DDSCondition::Impl& condition);

}  // namespace tessivar::platform
