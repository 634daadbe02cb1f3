// SPDX-License-Identifier: Apache-2.0

#include "tessivar/platform/detail/callback.h"
#include "tessivar/platform/detail/immortal.h"
#include "tessivar/platform/participant/condition_impl.h"
#include "tessivar/platform/system/guarded.h"
#include "tessivar/platform/values/sequence_fill.h"

#include <algorithm>
#include <utility>

namespace platform = tessivar::platform;
using platform::attachments_mutex;
using platform::make_length;

namespace {

bool triggered(const DDSCondition* condition) TESSIVAR_REQUIRES(attachments_mutex()) {
  return condition->impl().triggered;
}

}  // namespace

platform::Mutex& platform::attachments_mutex() {
  static Immortal<Mutex> mutex;
  return *mutex;
}

DDSCondition::Impl::~Impl() {
  const platform::MutexLock lock(attachments_mutex());
  for (DDSWaitSet::Impl* wait_set : wait_sets) {
    std::erase_if(wait_set->conditions, [&](const DDSCondition* condition) { return &condition->impl() == this; });
  }
}

void platform::set_triggered(DDSCondition& condition, bool value, Wake& wake) {
  const platform::MutexLock lock(attachments_mutex());
  const bool before = std::exchange(condition.impl().triggered, value);
  if (before || !value) return;
  for (DDSWaitSet::Impl* wait_set : condition.impl().wait_sets) wait_set->wake_for(condition.impl(), wake);
}

bool platform::is_triggered(const DDSCondition::Impl& condition) {
  const platform::MutexLock lock(attachments_mutex());
  return condition.triggered;
}

void DDSWaitSet::Impl::wake_for(const DDSCondition::Impl& condition, platform::Wake& wake) {
  if (condition.every_change) news = Clock::now();
  if (!condition.every_change || !gathering) wake.add(changed);
}

bool DDSWaitSet::Impl::ready(bool at_once) const {
  return std::any_of(conditions.begin(), conditions.end(),
                     [&](const DDSCondition* each) TESSIVAR_REQUIRES(attachments_mutex()) {
                       return triggered(each) && !(at_once && each->impl().every_change);
                     });
}

bool DDSWaitSet::Impl::has_news() const {
  return std::any_of(conditions.begin(), conditions.end(),
                     [](const DDSCondition* each) TESSIVAR_REQUIRES(attachments_mutex()) {
                       return triggered(each) && each->impl().every_change;
                     });
}

void DDSWaitSet::Impl::wait(platform::UniqueMutexLock& lock, Clock::time_point deadline) {
  const Clock::time_point begin = Clock::now();
  const bool gathers = gathers_next;
  if (gathers) {
    gathering = true;
    changed->wait_until(lock, std::min(deadline, begin + gather_time),
                        [this]() TESSIVAR_REQUIRES(attachments_mutex()) { return ready(true); });
    gathering = false;
    gathers_next = ready(false);
  }
  changed->wait_until(lock, deadline, [this]() TESSIVAR_REQUIRES(attachments_mutex()) { return ready(false); });
  if (has_news()) gathers_next = news - begin < (gathers ? still_frequent : frequent);
}

DDSWaitSet::DDSWaitSet() : impl_(std::make_unique<Impl>()) {}

DDSWaitSet::~DDSWaitSet() {
  if (impl_->made_here.inherited()) {
    static_cast<void>(impl_.release());  // the parent's conditions refer to it
    return;
  }
  const platform::MutexLock lock(attachments_mutex());
  for (DDSCondition* condition : impl_->conditions) std::erase(condition->impl().wait_sets, impl_.get());
}

DDS_ReturnCode_t DDSWaitSet::attach_condition(DDSCondition* condition) {
  if (!condition) return DDS_RETCODE_BAD_PARAMETER;
  if (platform::refused_in_filter("DDSWaitSet::attach_condition")) return DDS_RETCODE_ILLEGAL_OPERATION;
  return platform::guarded("DDSWaitSet::attach_condition", DDS_RETCODE_OUT_OF_RESOURCES,
                           [&] { return impl_->attach(*condition); });
}

DDS_ReturnCode_t DDSWaitSet::Impl::attach(DDSCondition& condition) {
  platform::Wake wake;
  const platform::MutexLock lock(attachments_mutex());
  if (std::count(conditions.begin(), conditions.end(), &condition)) return DDS_RETCODE_OK;
  conditions.reserve(conditions.size() + 1);
  condition.impl().wait_sets.reserve(condition.impl().wait_sets.size() + 1);
  conditions.push_back(&condition);
  condition.impl().wait_sets.push_back(this);
  if (triggered(&condition)) wake_for(condition.impl(), wake);
  return DDS_RETCODE_OK;
}

DDS_ReturnCode_t DDSWaitSet::detach_condition(DDSCondition* condition) {
  if (!condition) return DDS_RETCODE_BAD_PARAMETER;
  const platform::MutexLock lock(attachments_mutex());
  if (std::erase(impl_->conditions, condition) == 0) return DDS_RETCODE_PRECONDITION_NOT_MET;
  std::erase(condition->impl().wait_sets, impl_.get());
  return DDS_RETCODE_OK;
}

DDS_ReturnCode_t DDSWaitSet::wait(DDSConditionSeq& active, const DDS_Duration_t& timeout) {
  const std::int64_t span = platform::to_nanoseconds(timeout);
  if (timeout.sec < 0 || span < 0) return DDS_RETCODE_BAD_PARAMETER;
  if (platform::refused_in_callback("DDSWaitSet::wait")) return DDS_RETCODE_ILLEGAL_OPERATION;
  constexpr auto no_limit = Impl::Clock::time_point::max();
  const auto deadline = span == platform::never ? no_limit : Impl::Clock::now() + std::chrono::nanoseconds(span);

  platform::UniqueMutexLock lock(attachments_mutex());
  if (impl_->waiting) return DDS_RETCODE_PRECONDITION_NOT_MET;
  impl_->waiting = true;
  impl_->wait(lock, deadline);
  impl_->waiting = false;

  make_length(active, 0);
  const auto count = std::count_if(impl_->conditions.begin(), impl_->conditions.end(), triggered);
  if (count == 0) return DDS_RETCODE_TIMEOUT;
  if (!make_length(active, static_cast<std::size_t>(count))) return DDS_RETCODE_OUT_OF_RESOURCES;
  std::copy_if(impl_->conditions.begin(), impl_->conditions.end(), &active[0], triggered);
  return DDS_RETCODE_OK;
}

DDS_ReturnCode_t DDSWaitSet::get_conditions(DDSConditionSeq& attached) {
  const platform::MutexLock lock(attachments_mutex());
  return platform::fill(attached, impl_->conditions);
}
