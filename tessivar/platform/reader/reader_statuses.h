// SPDX-License-Identifier: Apache-2.0

// The communication statuses of a data reader.
//
// Each status counts the changes since the application read it last. When a subscription replaces another one, the
// counts continue: the totals of the replaced subscriptions are added to those of the current one.
#pragma once

#include "tessivar/platform/detail/counters.h"
#include "tessivar/platform/detail/mutex.h"
#include "tessivar/platform/participant/status_counts.h"
#include "tessivar/platform/status.h"

#include <memory>
#include <tuple>

namespace tessivar::platform {

class Subscription;

/// Thread-safe. Calls nothing while it holds its lock.
class ReaderStatuses {
 public:
  /// `counters` is null for a built-in reader.
  explicit ReaderStatuses(std::shared_ptr<EndpointCounters> counters) : counters_(std::move(counters)) {}

  /// Returns true if there is a current subscription.
  bool enabled() const TESSIVAR_EXCLUDES(mutex_);
  /// Sets the first subscription. Returns the statuses that changed before the call, which must be reported now.
  DDS_StatusMask begin(const Subscription& first) TESSIVAR_EXCLUDES(mutex_);
  /// Continues the counts with another subscription: of its matches, only those beyond the writers that were already
  /// matched are new. Returns the statuses that changed.
  DDS_StatusMask replace(const Subscription& replacement) TESSIVAR_EXCLUDES(mutex_);
  /// From now on no change must be reported.
  void end() TESSIVAR_EXCLUDES(mutex_);

  /// Stores the totals that the subscription `from` has counted. Returns the status if it must be reported now, or 0.
  /// Changes before begin() are reported later. Changes of a subscription that is not the current one are ignored.
  template <class Status>
  DDS_StatusMask update(const Subscription& from, Status totals) TESSIVAR_EXCLUDES(mutex_);
  /// Returns DDS_DATA_AVAILABLE_STATUS if it must be reported now, or 0.
  DDS_StatusMask data_available() TESSIVAR_EXCLUDES(mutex_);
  /// Returns the status and sets its changes to 0.
  template <class Status>
  Status read() TESSIVAR_EXCLUDES(mutex_);

 private:
  template <class Status>
  struct Counted {
    Status status = {};
    DDS_Long of_replaced = 0;  // the total of the replaced subscriptions
  };
  template <class Status>
  static constexpr DDS_StatusMask mask_of();
  template <class Status>
  Counted<Status>& counted() TESSIVAR_REQUIRES(mutex_) {
    return std::get<Counted<Status>>(statuses_);
  }
  template <class Status>
  bool follow_totals(Status totals) TESSIVAR_REQUIRES(mutex_);
  template <class Status>
  void keep_total() TESSIVAR_REQUIRES(mutex_);

  const std::shared_ptr<EndpointCounters> counters_;
  mutable Mutex mutex_;
  const Subscription* current_ TESSIVAR_GUARDED_BY(mutex_) = nullptr;
  std::tuple<Counted<DDS_SubscriptionMatchedStatus>, Counted<DDS_LivelinessChangedStatus>,
             Counted<DDS_RequestedDeadlineMissedStatus>, Counted<DDS_RequestedIncompatibleQosStatus>,
             Counted<DDS_SampleLostStatus>, Counted<DDS_SampleRejectedStatus>>
      statuses_ TESSIVAR_GUARDED_BY(mutex_);
  /// Statuses that changed before begin().
  DDS_StatusMask deferred_ TESSIVAR_GUARDED_BY(mutex_) = 0;
};

}  // namespace tessivar::platform
