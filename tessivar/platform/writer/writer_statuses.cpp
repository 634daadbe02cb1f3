// SPDX-License-Identifier: Apache-2.0

#include "tessivar/platform/writer/writer_statuses.h"

#include "tessivar/platform/participant/status_counts.h"

#include <type_traits>
#include <utility>

namespace tessivar::platform {

template <class Status>
constexpr DDS_StatusMask WriterStatuses::mask_of() {
  if constexpr (std::is_same_v<Status, DDS_PublicationMatchedStatus>) return DDS_PUBLICATION_MATCHED_STATUS;
  if constexpr (std::is_same_v<Status, DDS_LivelinessLostStatus>) return DDS_LIVELINESS_LOST_STATUS;
  if constexpr (std::is_same_v<Status, DDS_OfferedDeadlineMissedStatus>) return DDS_OFFERED_DEADLINE_MISSED_STATUS;
  if constexpr (std::is_same_v<Status, DDS_OfferedIncompatibleQosStatus>) return DDS_OFFERED_INCOMPATIBLE_QOS_STATUS;
}

DDS_StatusMask WriterStatuses::begin() {
  const MutexLock lock(mutex_);
  enabled_ = true;
  return std::exchange(deferred_, 0);
}

void WriterStatuses::end() {
  const MutexLock lock(mutex_);
  enabled_ = false;
}

template <class Status>
DDS_StatusMask WriterStatuses::update(const Status& totals) {
  const MutexLock lock(mutex_);
  if (!follow(std::get<Status>(statuses_), totals)) return 0;
  if (enabled_) return mask_of<Status>();
  deferred_ |= mask_of<Status>();
  return 0;
}

template <class Status>
Status WriterStatuses::read() {
  const MutexLock lock(mutex_);
  return read_status(std::get<Status>(statuses_));
}

#define TESSIVAR_STATUS(Status)                                          \
  template DDS_StatusMask WriterStatuses::update<Status>(const Status&); \
  template Status WriterStatuses::read<Status>();
TESSIVAR_STATUS(DDS_PublicationMatchedStatus)
TESSIVAR_STATUS(DDS_LivelinessLostStatus)
TESSIVAR_STATUS(DDS_OfferedDeadlineMissedStatus)
TESSIVAR_STATUS(DDS_OfferedIncompatibleQosStatus)
#undef TESSIVAR_STATUS

}  // namespace tessivar::platform
