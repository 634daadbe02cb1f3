// SPDX-License-Identifier: Apache-2.0

#include "tessivar/platform/reader/reader_statuses.h"

#include "tessivar/platform/reader/subscription.h"

#include <algorithm>
#include <type_traits>
#include <utility>

namespace tessivar::platform {

template <class Status>
constexpr DDS_StatusMask ReaderStatuses::mask_of() {
  if constexpr (std::is_same_v<Status, DDS_SubscriptionMatchedStatus>) return DDS_SUBSCRIPTION_MATCHED_STATUS;
  if constexpr (std::is_same_v<Status, DDS_LivelinessChangedStatus>) return DDS_LIVELINESS_CHANGED_STATUS;
  if constexpr (std::is_same_v<Status, DDS_RequestedDeadlineMissedStatus>) return DDS_REQUESTED_DEADLINE_MISSED_STATUS;
  if constexpr (std::is_same_v<Status, DDS_RequestedIncompatibleQosStatus>)
    return DDS_REQUESTED_INCOMPATIBLE_QOS_STATUS;
  if constexpr (std::is_same_v<Status, DDS_SampleLostStatus>) return DDS_SAMPLE_LOST_STATUS;
  if constexpr (std::is_same_v<Status, DDS_SampleRejectedStatus>) return DDS_SAMPLE_REJECTED_STATUS;
}

bool ReaderStatuses::enabled() const {
  const MutexLock lock(mutex_);
  return current_ != nullptr;
}

DDS_StatusMask ReaderStatuses::begin(const Subscription& first) {
  const MutexLock lock(mutex_);
  current_ = &first;
  return std::exchange(deferred_, 0);
}

void ReaderStatuses::end() {
  const MutexLock lock(mutex_);
  current_ = nullptr;
}

/// Returns true if the status has changed.
template <class Status>
bool ReaderStatuses::follow_totals(Status totals) {
  auto& [status, of_replaced] = counted<Status>();
  if constexpr (std::is_same_v<Status, DDS_RequestedIncompatibleQosStatus>) {
    // A second subscription finds the same incompatible writers again. Only a count above the known count is new.
    totals.total_count = std::max(totals.total_count, status.total_count);
  } else if constexpr (!std::is_same_v<Status, DDS_LivelinessChangedStatus>) {
    totals.total_count += of_replaced;
  }
  const bool changed = follow(status, totals);
  if constexpr (std::is_same_v<Status, DDS_SubscriptionMatchedStatus>) counters_->matches(status.current_count);
  return changed;
}

template <class Status>
DDS_StatusMask ReaderStatuses::update(const Subscription& from, Status totals) {
  const MutexLock lock(mutex_);
  // What a replacement has counted until then is added when it becomes the current subscription.
  if (current_ && current_ != &from) return 0;
  if (!follow_totals(totals)) return 0;
  if (current_) return mask_of<Status>();
  deferred_ |= mask_of<Status>();
  return 0;
}

DDS_StatusMask ReaderStatuses::data_available() {
  const MutexLock lock(mutex_);
  if (current_) return DDS_DATA_AVAILABLE_STATUS;
  deferred_ |= DDS_DATA_AVAILABLE_STATUS;
  return 0;
}

template <class Status>
void ReaderStatuses::keep_total() {
  counted<Status>().of_replaced = counted<Status>().status.total_count;
}

DDS_StatusMask ReaderStatuses::replace(const Subscription& replacement) {
  const MutexLock lock(mutex_);
  // Read with the lock held: a change after this is reported to update(), which waits for the lock.
  const DDS_SubscriptionMatchedStatus now = replacement.matched();
  current_ = &replacement;
  DDS_StatusMask changed = std::exchange(deferred_, 0);
  auto& [matched, of_replaced] = counted<DDS_SubscriptionMatchedStatus>();
  of_replaced = matched.total_count - now.total_count + std::max(0, now.current_count - matched.current_count);
  if (follow_totals(now)) changed |= DDS_SUBSCRIPTION_MATCHED_STATUS;
  if (follow_totals(replacement.liveliness())) changed |= DDS_LIVELINESS_CHANGED_STATUS;
  keep_total<DDS_RequestedDeadlineMissedStatus>();
  keep_total<DDS_SampleLostStatus>();
  keep_total<DDS_SampleRejectedStatus>();
  return changed;
}

template <class Status>
Status ReaderStatuses::read() {
  const MutexLock lock(mutex_);
  return read_status(counted<Status>().status);
}

#define TESSIVAR_STATUS(Status)                                                             \
  template DDS_StatusMask ReaderStatuses::update<Status>(const Subscription& from, Status); \
  template Status ReaderStatuses::read<Status>();
TESSIVAR_STATUS(DDS_SubscriptionMatchedStatus)
TESSIVAR_STATUS(DDS_LivelinessChangedStatus)
TESSIVAR_STATUS(DDS_RequestedDeadlineMissedStatus)
TESSIVAR_STATUS(DDS_RequestedIncompatibleQosStatus)
TESSIVAR_STATUS(DDS_SampleLostStatus)
TESSIVAR_STATUS(DDS_SampleRejectedStatus)
#undef TESSIVAR_STATUS

}  // namespace tessivar::platform
