// The data reader from the inside.
//
// Locks, in the order in which they are taken: `structure` (enabling, read conditions, replacing the engine's side;
// never wanted by a callback), `access` (one read or take at a time), `status_mutex`. None is held while the
// application's code runs.
#pragma once

#include "tessivar/platform/listener_slot.h"
#include "tessivar/platform/loans.h"
#include "tessivar/platform/mutex.h"
#include "tessivar/platform/reader.h"
#include "tessivar/platform/reader_side.h"
#include "tessivar/platform/topic.h"

#include <memory>
#include <mutex>
#include <string>
#include <vector>

struct DDSDataReader::Impl : tessivar::platform::ReaderSideEvents {
  /// Exactly one of `its_filtered_topic` and a plain topic: `its_topic` is the related one of a filtered topic.
  Impl(DDSDomainParticipant& its_participant, DDSTopic* its_topic, DDSContentFilteredTopic* its_filtered_topic,
       DDSSubscriber* its_subscriber, const DDS_DataReaderQos& its_qos);
  virtual ~Impl();

  virtual DDS_ReturnCode_t enable();
  /// Leaves the bus; no callback is running or to come when it returns. Not from a callback.
  void close();

  // Another filter, in two steps, so that of several readers all or none gets it.
  /// Makes a second engine side where history is to be delivered again.
  DDS_ReturnCode_t prepare_filter(const std::shared_ptr<tessivar::platform::CompiledFilter>& filter);
  void commit_filter(const std::shared_ptr<tessivar::platform::CompiledFilter>& filter);
  void abandon_filter();
  /// With `access` held: conditions of what is left of an earlier side trigger, and no others.
  void update_pending();

  // Reading (reader_access.cpp).
  DDS_ReturnCode_t read_or_take(DDS_SampleBufferI& samples, DDS_SampleInfoSeq& infos,
                                const DDS_ReadSelectionI& selection);
  DDS_ReturnCode_t read_or_take_next(void* sample, DDS_SampleInfo& info, bool take);
  bool copy_key(const DDS_InstanceHandle_t& handle, void* key_holder);
  DDS_InstanceHandle_t lookup_instance(const void* key_holder);

  // What happens at a side (reader_events.cpp).
  void data_available(tessivar::platform::ReaderSide&) override;
  void subscription_matched(tessivar::platform::ReaderSide&, const DDS_SubscriptionMatchedStatus&) override;
  void liveliness_changed(tessivar::platform::ReaderSide&, const DDS_LivelinessChangedStatus&) override;
  void requested_deadline_missed(tessivar::platform::ReaderSide&, const DDS_RequestedDeadlineMissedStatus&) override;
  void requested_incompatible_qos(tessivar::platform::ReaderSide&, const DDS_RequestedIncompatibleQosStatus&) override;
  void sample_lost(tessivar::platform::ReaderSide&, const DDS_SampleLostStatus&) override;
  void sample_rejected(tessivar::platform::ReaderSide&, const DDS_SampleRejectedStatus&) override;
  /// Calls the reader's listener, or else the participant's, for each of these statuses.
  void report(DDS_StatusMask statuses);

  DDSDataReader* self = nullptr;
  DDSDomainParticipant& participant;
  DDSTopic* const topic;                          // null for a built-in reader
  DDSContentFilteredTopic* const filtered_topic;  // null without filter
  DDSSubscriber* const subscriber;
  const PRESTypePlugin* const type;  // null for a built-in reader
  const DDS_DataReaderQos qos;
  tessivar::platform::ListenerSlot<DDSDataReaderListener> listener;

  tessivar::platform::Mutex structure;
  std::vector<DDSReadCondition*> conditions;                 // changed with `access` held, too
  std::unique_ptr<tessivar::platform::ReaderSide> prepared;  // the side that is to come

  tessivar::platform::Mutex access;
  std::unique_ptr<tessivar::platform::ReaderSide> side;  // null until it is enabled; changed with all three locks held
  std::vector<tessivar::platform::EngineSlot> slots;     // of the access under way, as what follows
  std::vector<tessivar::platform::EngineSlot> unknown_slots;
  std::vector<tessivar::platform::EngineHandle> unknown_instances;
  std::unique_ptr<tessivar::platform::Loans> loans;
  /// The ends of instances that nobody had read when their side went, and that the next side never knew.
  struct Departed {
    tessivar::platform::EngineSlot slot;
    std::string key;
  };
  std::vector<Departed> departed;

  /// What the statuses say, each with the changes since it was read last.
  tessivar::platform::Mutex status_mutex;
  DDS_SubscriptionMatchedStatus matched = {};
  DDS_LivelinessChangedStatus liveliness = {};
  DDS_RequestedDeadlineMissedStatus deadline = {};
  DDS_RequestedIncompatibleQosStatus incompatible = {};
  DDS_SampleLostStatus lost = {};
  DDS_SampleRejectedStatus rejected = {};
  /// What earlier sides counted, beyond what the present one counts.
  struct {
    DDS_Long matched = 0;
    DDS_Long deadline = 0;
    DDS_Long lost = 0;
    DDS_Long rejected = 0;
  } earlier;
  /// Statuses that changed before a side was in place, and are still to be reported.
  DDS_StatusMask deferred = 0;

 private:
  std::unique_ptr<tessivar::platform::ReaderSide> open_side(std::shared_ptr<tessivar::platform::CompiledFilter> filter,
                                                            DDS_ReturnCode_t& result);
  bool redelivers_history() const;
  DDS_StatusMask follow_new_side();
  void keep_departed(tessivar::platform::ReaderSide& retired);

  DDS_ReturnCode_t check_buffers(const DDS_SampleBufferI& samples, DDS_SampleInfoSeq& infos,
                                 const DDS_ReadSelectionI& selection) const;
  DDS_ReturnCode_t fetch(tessivar::platform::EngineSelection selection, DDS_Long max);
  DDS_ReturnCode_t fetch_instances(const DDS_ReadSelectionI& request, tessivar::platform::EngineSelection selection,
                                   DDS_Long max);
  bool drop_unknown(bool taken);
  void add_departed(const tessivar::platform::EngineSelection& selection, DDS_Long max);
  bool decode(const tessivar::platform::EngineSlot& slot, void* sample, DDS_SampleInfo& info);
};
