// SPDX-License-Identifier: Apache-2.0

#include "tessivar/platform/detail/callback.h"
#include "tessivar/platform/detail/immortal.h"
#include "tessivar/platform/detail/mutex.h"
#include "tessivar/platform/participant/condition_impl.h"
#include "tessivar/platform/system/guarded.h"
#include "tessivar/platform/values/sequence_fill.h"

#include <algorithm>
#include <chrono>
#include <utility>

namespace platform = tessivar::platform;
using platform::attachments_mutex;
using platform::make_length;

platform::Mutex& platform::attachments_mutex() {
  static Immortal<Mutex> mutex;
  return *mutex;
}

namespace {

template <class T>
void erase_value(std::vector<T>& values, const T& value) {
  values.erase(std::remove(values.begin(), values.end(), value), values.end());
}

std::int64_t steady_nanoseconds() {
  return std::chrono::steady_clock::now().time_since_epoch() / std::chrono::nanoseconds(1);
}

void update_wake(DDSWaitSet::Impl& wait_set) TESSIVAR_REQUIRES(attachments_mutex()) {
  const auto triggered = [](const DDSCondition* condition)
                             TESSIVAR_REQUIRES(attachments_mutex()) { return condition->impl().triggered; };
  wait_set.wake->set_trigger(std::any_of(wait_set.conditions.begin(), wait_set.conditions.end(), triggered));
}

}  // namespace

DDSCondition::Impl::~Impl() {
  const platform::MutexLock lock(attachments_mutex());
  for (DDSWaitSet::Impl* wait_set : wait_sets) {
    if (engine) wait_set->engine->detach(*engine);
    std::erase_if(wait_set->conditions, [&](const DDSCondition* condition) { return &condition->impl() == this; });
    update_wake(*wait_set);
  }
}

void platform::set_triggered(DDSCondition& condition, bool triggered) {
  const platform::MutexLock lock(attachments_mutex());
  if (std::exchange(condition.impl().triggered, triggered) == triggered) return;
  for (DDSWaitSet::Impl* wait_set : condition.impl().wait_sets) update_wake(*wait_set);
}

bool platform::is_triggered(const DDSCondition::Impl& condition) {
  const platform::MutexLock lock(attachments_mutex());
  return condition.triggered;
}

DDSWaitSet::DDSWaitSet() : impl_(std::make_unique<Impl>()) {
  impl_->engine = platform::engine().create_wait_set();
  impl_->wake = platform::engine().create_guard_condition();
  const bool usable = impl_->engine && impl_->wake && impl_->engine->attach(*impl_->wake, nullptr) == DDS_RETCODE_OK;
  if (!usable) impl_->engine.reset();
}

DDSWaitSet::~DDSWaitSet() {
  if (impl_->made_here.inherited()) {
    static_cast<void>(impl_.release());  // the parent's engine uses it
    return;
  }
  const platform::MutexLock lock(attachments_mutex());
  for (DDSCondition* condition : impl_->conditions) {
    if (condition->impl().engine) impl_->engine->detach(*condition->impl().engine);
    erase_value(condition->impl().wait_sets, impl_.get());
  }
}

DDS_ReturnCode_t DDSWaitSet::attach_condition(DDSCondition* condition) {
  if (!condition) return DDS_RETCODE_BAD_PARAMETER;
  if (!impl_->engine) return DDS_RETCODE_OUT_OF_RESOURCES;
  if (platform::refused_in_filter("DDSWaitSet::attach_condition")) return DDS_RETCODE_ILLEGAL_OPERATION;
  return platform::guarded("DDSWaitSet::attach_condition", DDS_RETCODE_OUT_OF_RESOURCES,
                           [&] { return impl_->attach(*condition); });
}

DDS_ReturnCode_t DDSWaitSet::Impl::attach(DDSCondition& condition) {
  const platform::MutexLock lock(attachments_mutex());
  if (std::count(conditions.begin(), conditions.end(), &condition)) return DDS_RETCODE_OK;
  conditions.reserve(conditions.size() + 1);
  condition.impl().wait_sets.reserve(condition.impl().wait_sets.size() + 1);
  if (platform::EngineGuardCondition* guard = condition.impl().engine.get()) {
    const DDS_ReturnCode_t result = engine->attach(*guard, &condition);
    if (result != DDS_RETCODE_OK) return result;
  } else if (!condition.impl().reader) {
    return DDS_RETCODE_OUT_OF_RESOURCES;  // without a guard of the engine it would never wake a thread
  }
  conditions.push_back(&condition);
  condition.impl().wait_sets.push_back(this);
  update_wake(*this);
  return DDS_RETCODE_OK;
}

DDS_ReturnCode_t DDSWaitSet::detach_condition(DDSCondition* condition) {
  if (!condition) return DDS_RETCODE_BAD_PARAMETER;
  const platform::MutexLock lock(attachments_mutex());
  if (!std::count(impl_->conditions.begin(), impl_->conditions.end(), condition)) {
    return DDS_RETCODE_PRECONDITION_NOT_MET;
  }
  if (condition->impl().engine) impl_->engine->detach(*condition->impl().engine);
  erase_value(impl_->conditions, condition);
  erase_value(condition->impl().wait_sets, impl_.get());
  update_wake(*impl_);
  return DDS_RETCODE_OK;
}

DDS_ReturnCode_t DDSWaitSet::wait(DDSConditionSeq& active, const DDS_Duration_t& timeout) {
  if (timeout.sec < 0) return DDS_RETCODE_BAD_PARAMETER;
  if (platform::refused_in_callback("DDSWaitSet::wait")) return DDS_RETCODE_ILLEGAL_OPERATION;
  if (!impl_->engine) return DDS_RETCODE_OUT_OF_RESOURCES;
  if (impl_->waiting.exchange(true)) return DDS_RETCODE_PRECONDITION_NOT_MET;
  struct Done {
    std::atomic<bool>& waiting;
    ~Done() { waiting = false; }
  } const done{impl_->waiting};

  make_length(active, 0);
  const std::int64_t span = platform::to_nanoseconds(timeout);
  const std::int64_t start = span == platform::never ? 0 : steady_nanoseconds();
  for (std::int64_t left = span;;) {
    const DDS_ReturnCode_t result = impl_->engine->wait(left, impl_->triggered);
    if (result != DDS_RETCODE_OK) return result;
    {
      const platform::MutexLock lock(attachments_mutex());
      // A condition that was detached meanwhile is in no list any more. Its pointer is only compared here, never
      // dereferenced.
      const auto triggered = [&](const DDSCondition* condition) TESSIVAR_REQUIRES(attachments_mutex()) {
        return condition->impl().triggered ||
               std::find(impl_->triggered.begin(), impl_->triggered.end(), condition) != impl_->triggered.end();
      };
      const auto count = std::count_if(impl_->conditions.begin(), impl_->conditions.end(), triggered);
      if (count) {
        if (!make_length(active, static_cast<std::size_t>(count))) return DDS_RETCODE_OUT_OF_RESOURCES;
        DDS_Long index = 0;
        for (DDSCondition* condition : impl_->conditions) {
          if (triggered(condition)) active[index++] = condition;
        }
        return DDS_RETCODE_OK;
      }
    }
    if (span != platform::never) left = std::max<std::int64_t>(0, span - (steady_nanoseconds() - start));
  }
}

DDS_ReturnCode_t DDSWaitSet::get_conditions(DDSConditionSeq& attached) {
  const platform::MutexLock lock(attachments_mutex());
  return platform::fill(attached, impl_->conditions);
}
