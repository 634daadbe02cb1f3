// SPDX-License-Identifier: Apache-2.0

#include "tessivar/platform/reader/read_conditions.h"

#include "tessivar/platform/detail/log.h"
#include "tessivar/platform/participant/condition_impl.h"
#include "tessivar/platform/reader.h"
#include "tessivar/platform/topic.h"

#include <memory>
#include <utility>

namespace tessivar::platform {

DDSReadCondition* ReadConditions::create(DDSDataReader& reader, DDS_SampleStateMask sample_states,
                                         DDS_ViewStateMask view_states, DDS_InstanceStateMask instance_states) {
  auto condition = std::make_unique<DDSCondition::Impl>();
  condition->reader = &reader;
  condition->sample_states = sample_states;
  condition->view_states = view_states;
  condition->instance_states = instance_states;
  condition->states = states_of(sample_states, view_states, instance_states);
  if (condition->states == 0) {
    log_joined(LogLevel::error, "DDSDataReader::create_readcondition",
               {"topic \"", reader.get_topicdescription()->get_name(), "\": the states select nothing"});
    return nullptr;
  }
  const MutexLock lock(mutex_);
  conditions_.reserve(conditions_.size() + 1);
  const bool triggered = (condition->states & states_) != 0;
  DDSReadCondition* const created = conditions_.emplace_back(new DDSReadCondition(std::move(condition)));
  set_triggered(*created, triggered);
  return created;
}

bool ReadConditions::remove(DDSReadCondition* condition) {
  const MutexLock lock(mutex_);
  if (std::erase(conditions_, condition) == 0) return false;
  delete condition;
  return true;
}

void ReadConditions::clear() {
  const MutexLock lock(mutex_);
  for (DDSReadCondition* condition : conditions_) delete condition;
  conditions_.clear();
}

bool ReadConditions::empty() const {
  const MutexLock lock(mutex_);
  return conditions_.empty();
}

void ReadConditions::update() {
  const MutexLock lock(mutex_);
  std::size_t unread = 0;
  StateSet states = cache_.states(&unread) | left_over_;
  if (waiting_for_transfer_) {
    states |= states_of(DDS_NOT_READ_SAMPLE_STATE, DDS_ANY_VIEW_STATE, DDS_ANY_INSTANCE_STATE);
  }
  counters_.waits(unread);
  if (std::exchange(states_, states) == states) return;
  for (DDSReadCondition* condition : conditions_) {
    set_triggered(*condition, (condition->impl().states & states) != 0);
  }
}

}  // namespace tessivar::platform
