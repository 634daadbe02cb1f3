// SPDX-License-Identifier: Apache-2.0

// Computes the statuses for the application from the totals of the engine.
//
// The engine reports totals. The functions here count the changes since the application read the status last (OMG DDS
// 1.4, 2.2.4.1).
#pragma once

#include "tessivar/platform/status.h"

namespace tessivar::platform {

/// Updates `seen`, a status that has only a total, to the totals of `now`. Returns true if the total has changed.
template <class Status>
bool follow(Status& seen, Status now) {
  const DDS_Long change = now.total_count - seen.total_count;
  now.total_count_change = seen.total_count_change + change;
  seen = now;
  return change != 0;
}

template <class Status>
bool follow_matched(Status& seen, Status now) {
  const DDS_Long total_change = now.total_count - seen.total_count;
  const DDS_Long current_change = now.current_count - seen.current_count;
  now.total_count_change = seen.total_count_change + total_change;
  now.current_count_change = seen.current_count_change + current_change;
  seen = now;
  return total_change != 0 || current_change != 0;
}

inline bool follow(DDS_PublicationMatchedStatus& seen, const DDS_PublicationMatchedStatus& now) {
  return follow_matched(seen, now);
}

inline bool follow(DDS_SubscriptionMatchedStatus& seen, const DDS_SubscriptionMatchedStatus& now) {
  return follow_matched(seen, now);
}

inline bool follow(DDS_LivelinessChangedStatus& seen, DDS_LivelinessChangedStatus now) {
  const DDS_Long alive_change = now.alive_count - seen.alive_count;
  const DDS_Long not_alive_change = now.not_alive_count - seen.not_alive_count;
  now.alive_count_change = seen.alive_count_change + alive_change;
  now.not_alive_count_change = seen.not_alive_count_change + not_alive_change;
  seen = now;
  return alive_change != 0 || not_alive_change != 0;
}

template <class Status>
void forget_changes(Status& status) {
  status.total_count_change = 0;
}

inline void forget_changes(DDS_PublicationMatchedStatus& status) {
  status.total_count_change = status.current_count_change = 0;
}

inline void forget_changes(DDS_SubscriptionMatchedStatus& status) {
  status.total_count_change = status.current_count_change = 0;
}

inline void forget_changes(DDS_LivelinessChangedStatus& status) {
  status.alive_count_change = status.not_alive_count_change = 0;
}

/// Returns the status and sets its changes to 0.
template <class Status>
Status read_status(Status& seen) {
  const Status status = seen;
  forget_changes(seen);
  return status;
}

}  // namespace tessivar::platform
