// SPDX-License-Identifier: Apache-2.0

// The implementation of the data reader.
//
// The engine side (reader_side.h) moves received samples to the cache; reads and takes get them from the cache. A
// thread takes the locks in this order: `structure` (enabling, changing the filter, replacing the engine side; held
// only for a short time), `access` (one read or take at a time), `status_mutex`. `conditions_mutex` is taken last, also
// without the others. No listener runs while one of these locks is held.
#pragma once

#include "tessivar/platform/detail/counters.h"
#include "tessivar/platform/detail/listener_slot.h"
#include "tessivar/platform/detail/mutex.h"
#include "tessivar/platform/reader.h"
#include "tessivar/platform/reader/loans.h"
#include "tessivar/platform/reader/reader_cache.h"
#include "tessivar/platform/reader/reader_side.h"
#include "tessivar/platform/system/thread.h"
#include "tessivar/platform/topic.h"

#include <atomic>
#include <memory>
#include <mutex>
#include <vector>

struct DDSDataReader::Impl : tessivar::platform::ReaderSideEvents {
  /// `its_topic` is the topic of the reader, or the related topic of `its_filtered_topic`; it is null for a built-in
  /// reader. `its_filtered_topic` is null without a content filter.
  Impl(DDSDomainParticipant& its_participant, DDSTopic* its_topic, DDSContentFilteredTopic* its_filtered_topic,
       DDSSubscriber* its_subscriber, const DDS_DataReaderQos& its_qos);
  virtual ~Impl();

  virtual DDS_ReturnCode_t enable();
  /// Leaves the bus. When it returns, no callback is running and none will follow. Must not be called from a callback.
  void close();

  /// Replaces the filter for new samples. If the reader delivers history again, it then catches up with the new filter
  /// on another thread (reader_catch_up.cpp); the call does not wait for that.
  DDS_ReturnCode_t set_filter(const std::shared_ptr<tessivar::platform::CompiledFilter>& filter);
  /// Triggers exactly the conditions that select a sample in the cache. To be called after every change of the cache.
  void update_conditions();
  DDSReadCondition* create_condition(DDS_SampleStateMask, DDS_ViewStateMask, DDS_InstanceStateMask);
  DDS_ReturnCode_t wait_for_history(std::int64_t timeout);

  // Reading (reader_access.cpp).
  DDS_ReturnCode_t read_or_take(DDS_SampleBufferI& samples, DDS_SampleInfoSeq& infos,
                                const DDS_ReadSelectionI& selection);
  DDS_ReturnCode_t read_or_take_next(void* sample, DDS_SampleInfo& info, bool take);
  DDS_ReturnCode_t copy_key(const DDS_InstanceHandle_t& handle, void* key_holder);
  DDS_InstanceHandle_t lookup_instance(const void* key_holder);
  DDS_ReturnCode_t return_loan(const void* lent);

  // Events of an engine side (reader_events.cpp).
  void data_available(tessivar::platform::ReaderSide&) override;
  void subscription_matched(tessivar::platform::ReaderSide&, const DDS_SubscriptionMatchedStatus&) override;
  void liveliness_changed(tessivar::platform::ReaderSide&, const DDS_LivelinessChangedStatus&) override;
  void requested_deadline_missed(tessivar::platform::ReaderSide&, const DDS_RequestedDeadlineMissedStatus&) override;
  void requested_incompatible_qos(tessivar::platform::ReaderSide&, const DDS_RequestedIncompatibleQosStatus&) override;
  void sample_lost(tessivar::platform::ReaderSide&, const DDS_SampleLostStatus&) override;
  void sample_rejected(tessivar::platform::ReaderSide&, const DDS_SampleRejectedStatus&) override;
  /// For each of these statuses calls the reader's listener or, if the reader has none for the status, the
  /// participant's.
  void report(DDS_StatusMask statuses);

  DDSDataReader* self = nullptr;
  DDSDomainParticipant& participant;
  DDSTopic* const topic;                          // null for a built-in reader
  DDSContentFilteredTopic* const filtered_topic;  // null without filter
  DDSSubscriber* const subscriber;
  const PRESTypePlugin* const type;  // null for a built-in reader
  const DDS_DataReaderQos qos;
  const std::shared_ptr<tessivar::platform::EndpointCounters> counters;  // null for a built-in reader
  tessivar::platform::ListenerSlot<DDSDataReaderListener> listener;

  const std::unique_ptr<tessivar::platform::ReaderCache> cache;  // null for a built-in reader

  tessivar::platform::Mutex structure;
  tessivar::platform::Condition structure_changed;
  bool closing = false;
  tessivar::platform::ReaderCache::Source sources = 0;  // number of sides created so far
  // The catch-up with a new filter.
  bool catching_up = false;
  tessivar::platform::Thread catch_up_thread;
  std::shared_ptr<tessivar::platform::CompiledFilter> next_filter;  // the filter to catch up with next, or null
  tessivar::platform::Mutex filter_mutex;  // held while a filter evaluates a sample, by one thread for all sides
  std::unique_ptr<tessivar::platform::ReaderSide> joining;  // the side that will replace `side`

  tessivar::platform::Mutex access;
  std::unique_ptr<tessivar::platform::ReaderSide> side;  // null until enabled; changed with the first three locks held
  std::vector<tessivar::platform::EngineSlot> slots;     // of the current access, or left over from an earlier access
  std::unique_ptr<tessivar::platform::Loans> loans;

  tessivar::platform::Mutex conditions_mutex;
  std::vector<DDSReadCondition*> conditions;
  tessivar::platform::StateSet condition_states = 0;  // the states at the last update of the conditions
  // Samples that wait for the next access because memory was short trigger conditions like samples in the cache.
  std::atomic<bool> behind = false;                         // samples wait at the side
  std::atomic<tessivar::platform::StateSet> left_over = 0;  // the states of the samples that wait in `slots`

  /// `status_mutex` guards the statuses. Each status has the changes since the application read it last.
  tessivar::platform::Mutex status_mutex;
  DDS_SubscriptionMatchedStatus matched = {};
  DDS_LivelinessChangedStatus liveliness = {};
  DDS_RequestedDeadlineMissedStatus deadline = {};
  DDS_RequestedIncompatibleQosStatus incompatible = {};
  DDS_SampleLostStatus lost = {};
  DDS_SampleRejectedStatus rejected = {};
  /// Counts of earlier sides, which are added to the counts of the present side.
  struct {
    DDS_Long matched = 0;
    DDS_Long deadline = 0;
    DDS_Long lost = 0;
    DDS_Long rejected = 0;
  } earlier;
  /// Statuses that changed before the reader was enabled and must still be reported.
  DDS_StatusMask deferred = 0;

 private:
  std::unique_ptr<tessivar::platform::ReaderSide> make_side(std::shared_ptr<tessivar::platform::CompiledFilter> filter);
  DDS_ReturnCode_t open(tessivar::platform::ReaderSide& opened);
  bool redelivers_history() const;
  /// Moves the samples that a side has received to the cache and updates the conditions. Returns true if new samples or
  /// instance states arrived, or if memory is short.
  bool transfer(tessivar::platform::ReaderSide& from);

  void catch_up();
  DDS_ReturnCode_t catch_up_once(const tessivar::platform::CompiledFilter& filter);
  void remove_rejected(const tessivar::platform::CompiledFilter& filter);
  enum class History { complete, incomplete, closing };
  History await_history();
  void replace_side(bool complete);
  DDS_StatusMask follow_new_side();

  DDS_ReturnCode_t check_buffers(const DDS_SampleBufferI& samples, DDS_SampleInfoSeq& infos,
                                 const DDS_ReadSelectionI& selection) const;
  DDS_ReturnCode_t find_instance(const DDS_ReadSelectionI& request, tessivar::platform::ReaderSelection& selection);
  void fetch_rest();
  std::size_t select_left_over(const tessivar::platform::ReaderSelection& selection, DDS_Long max);
  void drop_slots(std::size_t first, std::size_t end);
  enum class Decoded { good, malformed, out_of_memory };
  Decoded decode(const tessivar::platform::EngineSlot& slot, void* sample, std::size_t* lent_octets,
                 DDS_SampleInfo& info);
  DDS_ReturnCode_t out_of_memory() const;
};
