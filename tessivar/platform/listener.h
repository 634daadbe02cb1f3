// SPDX-License-Identifier: Apache-2.0

// Listeners: the interfaces through which the platform reports status changes.
//
// A callback runs on a thread of the engine, on the thread whose operation caused it, or on the thread that fetches
// history after a change of a filter. It must not block for long. A callback may call every operation of the platform
// except the operations below. These log one line and return ILLEGAL_OPERATION (or null), because the engine waits
// until the callback has returned.
//
// - deleting a reader, writer or participant, also by delete_contained_entities();
// - enabling a participant; enabling a reader or writer of a participant that does not ignore itself;
// - wait_for_historical_data(), wait_for_acknowledgments(), DDSWaitSet::wait();
// - writing with the writer whose write caused the callback;
// - writing a sample that would be delivered to the reader of the callback.
//
// set_listener() of a reader, writer or participant blocks until no other thread is inside a callback of the old
// listener. If the old listener itself calls it, its current callback continues. Two callbacks on two threads must not
// replace each other's listener: both would wait for ever. In a content filter set_listener() logs one line and returns
// ILLEGAL_OPERATION.
//
// During a callback the platform holds no lock that another operation needs. An exception that leaves a callback is
// logged and dropped. The application owns the listener. The listener must live longer than the entity that uses it, or
// must be removed from the entity first with set_listener(nullptr, 0).
#pragma once

#include "tessivar/platform/status.h"

class DDSTopic;
class DDSDataReader;
class DDSDataWriter;

class TESSIVAR_API DDSTopicListener {
 public:
  virtual ~DDSTopicListener() = default;
  virtual void on_inconsistent_topic(DDSTopic*, const DDS_InconsistentTopicStatus&) {}
};

class TESSIVAR_API DDSDataWriterListener {
 public:
  virtual ~DDSDataWriterListener() = default;
  virtual void on_offered_deadline_missed(DDSDataWriter*, const DDS_OfferedDeadlineMissedStatus&) {}
  virtual void on_offered_incompatible_qos(DDSDataWriter*, const DDS_OfferedIncompatibleQosStatus&) {}
  virtual void on_liveliness_lost(DDSDataWriter*, const DDS_LivelinessLostStatus&) {}
  virtual void on_publication_matched(DDSDataWriter*, const DDS_PublicationMatchedStatus&) {}
};

class TESSIVAR_API DDSDataReaderListener {
 public:
  virtual ~DDSDataReaderListener() = default;
  virtual void on_requested_deadline_missed(DDSDataReader*, const DDS_RequestedDeadlineMissedStatus&) {}
  virtual void on_requested_incompatible_qos(DDSDataReader*, const DDS_RequestedIncompatibleQosStatus&) {}
  virtual void on_sample_rejected(DDSDataReader*, const DDS_SampleRejectedStatus&) {}
  virtual void on_liveliness_changed(DDSDataReader*, const DDS_LivelinessChangedStatus&) {}
  virtual void on_data_available(DDSDataReader*) {}
  virtual void on_subscription_matched(DDSDataReader*, const DDS_SubscriptionMatchedStatus&) {}
  virtual void on_sample_lost(DDSDataReader*, const DDS_SampleLostStatus&) {}
};

/// Receives a status change if the listener of the topic, writer or reader concerned has not asked for it with its
/// mask.
class TESSIVAR_API DDSDomainParticipantListener : public DDSTopicListener,
                                                  public DDSDataWriterListener,
                                                  public DDSDataReaderListener {};
