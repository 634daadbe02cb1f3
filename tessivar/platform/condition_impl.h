// Conditions and wait sets from the inside: how they hang together with the engine's.
//
// A condition outlives the engine's condition behind it: a read condition may be made before its reader is enabled, and
// is given another engine condition when the reader's engine side is replaced. Who is attached to whom is therefore
// kept here, under one lock for all; it is never held while anybody waits.
#pragma once

#include "tessivar/platform/condition.h"
#include "tessivar/platform/engine.h"
#include "tessivar/platform/fork.h"

#include <atomic>
#include <vector>

struct DDSCondition::Impl {
  ~Impl();

  const tessivar::platform::MadeHere made_here = {};

  std::unique_ptr<tessivar::platform::EngineCondition> engine;  // null while the reader of a read condition is disabled
  std::vector<DDSWaitSet::Impl*> wait_sets;
  bool pending = false;  // triggered whatever the engine says

  // Of a read condition.
  DDSDataReader* reader = nullptr;
  DDS_SampleStateMask sample_states = 0;
  DDS_ViewStateMask view_states = 0;
  DDS_InstanceStateMask instance_states = 0;
};

struct DDSWaitSet::Impl {
  const tessivar::platform::MadeHere made_here = {};
  std::unique_ptr<tessivar::platform::EngineWaitSet> engine;
  std::unique_ptr<tessivar::platform::EngineGuardCondition> wake;  // triggered while one of these is pending
  std::vector<DDSCondition*> conditions;                           // in the order of their attachment
  std::atomic<bool> waiting = false;
  std::vector<void*> triggered;  // of the thread that waits
};

namespace tessivar::platform {

/// Puts `engine` behind the condition and into every wait set that has it, before the one it replaces goes: who waits
/// misses nothing. Null: nothing triggers it any more.
void replace_engine_condition(DDSCondition& condition, std::unique_ptr<EngineCondition> engine);

/// For a read condition whose reader holds samples that the engine knows nothing of.
void set_pending(DDSCondition& condition, bool pending);

bool is_triggered(const DDSCondition::Impl& condition);

}  // namespace tessivar::platform
