// SPDX-License-Identifier: Apache-2.0

#include "tessivar/platform/reader/read_conditions.h"

#include "tessivar/platform/detail/log.h"
#include "tessivar/platform/participant/condition_impl.h"
#include "tessivar/platform/reader.h"
#include "tessivar/platform/topic.h"

#include <algorithm>
#include <memory>
#include <utility>

namespace tessivar::platform {

DDSReadCondition* ReadConditions::create(DDSDataReader& reader, const ReadConditionKind& kind) {
  auto condition = std::make_unique<DDSCondition::Impl>();
  condition->reader = &reader;
  condition->sample_states = kind.sample_states;
  condition->view_states = kind.view_states;
  condition->instance_states = kind.instance_states;
  condition->states = states_of(kind.sample_states, kind.view_states, kind.instance_states);
  condition->every_change = kind.every_change;
  if (condition->states == 0) {
    log_joined(LogLevel::error, "DDSDataReader::create_readcondition",
               {"topic \"", reader.get_topicdescription()->get_name(), "\": the states select nothing"});
    return nullptr;
  }
  Wake wake;
  const MutexLock lock(mutex_);
  conditions_.reserve(conditions_.size() + 1);
  const bool triggered = (condition->states & states_) != 0;
  DDSReadCondition* const created = conditions_.emplace_back(new DDSReadCondition(std::move(condition)));
  set_triggered(*created, triggered, wake);
  update_history();
  return created;
}

bool ReadConditions::remove(DDSReadCondition* condition) {
  const MutexLock lock(mutex_);
  if (std::erase(conditions_, condition) == 0) return false;
  delete condition;
  update_history();
  return true;
}

void ReadConditions::clear() {
  const MutexLock lock(mutex_);
  for (DDSReadCondition* condition : conditions_) delete condition;
  conditions_.clear();
  update_history();
}

void ReadConditions::update_history() {
  cache_.keep_replaced(std::any_of(conditions_.begin(), conditions_.end(),
                                   [](const DDSReadCondition* condition) { return condition->impl().every_change; }));
}

bool ReadConditions::empty() const {
  const MutexLock lock(mutex_);
  return conditions_.empty();
}

void ReadConditions::update() {
  Wake wake;
  const MutexLock lock(mutex_);
  std::size_t unread = 0;
  StateSet states = cache_.states(&unread) | left_over_;
  if (waiting_for_transfer_) {
    states |= states_of(DDS_NOT_READ_SAMPLE_STATE, DDS_ANY_VIEW_STATE, DDS_ANY_INSTANCE_STATE);
  }
  counters_.waits(unread);
  if (std::exchange(states_, states) == states) return;
  for (DDSReadCondition* condition : conditions_) {
    set_triggered(*condition, (condition->impl().states & states) != 0, wake);
  }
}

}  // namespace tessivar::platform
