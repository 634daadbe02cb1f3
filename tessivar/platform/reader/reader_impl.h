// SPDX-License-Identifier: Apache-2.0

// The implementation of the data reader: its parts.
//
// The subscriptions move received samples to the cache; reads and takes get them from the cache. Each part has its own
// lock. A thread that holds the lock of one part calls only parts that come later in this order:
//
//     Subscriptions, SampleAccess, ReaderStatuses, Subscription, ReadConditions, ReaderCache
//
// No listener runs while one of these locks is held.
#pragma once

#include "tessivar/platform/detail/listener_slot.h"
#include "tessivar/platform/reader.h"
#include "tessivar/platform/reader/read_conditions.h"
#include "tessivar/platform/reader/reader_cache.h"
#include "tessivar/platform/reader/reader_description.h"
#include "tessivar/platform/reader/reader_statuses.h"
#include "tessivar/platform/reader/sample_access.h"
#include "tessivar/platform/reader/subscriptions.h"

#include <memory>

namespace tessivar::platform {

/// The parts of a data reader that receive, keep and hand out samples.
struct ReaderSamples {
  ReaderSamples(const ReaderDescription& reader, ReaderStatuses& statuses, SubscriptionEvents& events)
      : cache(*reader.type, reader.qos.history, reader.catches_up()),
        conditions(cache, *reader.counters),
        access(reader, cache, conditions),
        subscriptions(reader, cache, conditions, access, statuses, events) {}

  ReaderCache cache;
  ReadConditions conditions;
  SampleAccess access;
  Subscriptions subscriptions;
};

}  // namespace tessivar::platform

struct DDSDataReader::Impl : tessivar::platform::SubscriptionEvents {
  explicit Impl(const tessivar::platform::ReaderDescription& reader);
  virtual ~Impl();

  virtual DDS_ReturnCode_t enable();
  /// Leaves the bus. When it returns, no callback is running and none will follow. Must not be called from a callback.
  void close();
  /// Returns true if the reader has conditions or loans, and so cannot be deleted alone.
  bool in_use() const;
  DDSReadCondition* create_condition(const tessivar::platform::ReadConditionKind& kind);

  // The events of a subscription (reader_events.cpp).
  void data_available(tessivar::platform::Subscription&) override;
  void subscription_matched(tessivar::platform::Subscription&, const DDS_SubscriptionMatchedStatus&) override;
  void liveliness_changed(tessivar::platform::Subscription&, const DDS_LivelinessChangedStatus&) override;
  void requested_deadline_missed(tessivar::platform::Subscription&, const DDS_RequestedDeadlineMissedStatus&) override;
  void requested_incompatible_qos(tessivar::platform::Subscription&,
                                  const DDS_RequestedIncompatibleQosStatus&) override;
  void sample_lost(tessivar::platform::Subscription&, const DDS_SampleLostStatus&) override;
  void sample_rejected(tessivar::platform::Subscription&, const DDS_SampleRejectedStatus&) override;
  /// For each of these statuses calls the reader's listener or, if the reader has none for the status, the
  /// participant's.
  void report(DDS_StatusMask statuses) override;

  tessivar::platform::ReaderDescription description;
  tessivar::platform::ListenerSlot<DDSDataReaderListener> listener;
  tessivar::platform::ReaderStatuses statuses;
  const std::unique_ptr<tessivar::platform::ReaderSamples> samples;  // null for a built-in reader

 private:
  template <class Call>
  void notify(DDS_StatusMask status, const Call& call);
  template <class Status>
  void notify(DDS_StatusMask status, void (DDSDataReaderListener::*callback)(DDSDataReader*, const Status&));
};
