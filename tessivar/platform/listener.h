// Listeners: how the platform reports status changes.
//
// Every callback runs on a thread of the engine and must not block for long. It may read statuses and matched
// endpoints; it must not create, delete or reconfigure an entity that matches the one it is called for. No lock that a
// public operation needs is held during a call. An exception that leaves a callback is logged and dropped. A listener
// is not owned: it must outlive the entity that it is installed on, or be removed (set_listener(nullptr, 0)) before.
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

/// Hears what no listener of the topic, writer or reader concerned asked for with its mask.
class TESSIVAR_API DDSDomainParticipantListener : public DDSTopicListener,
                                                  public DDSDataWriterListener,
                                                  public DDSDataReaderListener {};
