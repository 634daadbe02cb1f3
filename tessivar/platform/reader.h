// SPDX-License-Identifier: Apache-2.0

// The untyped data reader (OMG DDS 1.4, 2.2.2.5.3). Typed readers (types/) derive from it and only cast.
//
// Thread-safe. Samples are kept encoded, as the engine received them; a read or take decodes them into pooled samples
// of the reader and lends those, until return_loan. The strings and sequences of a sample on loan have room for what
// they hold, not for their whole bound: change a copy of it instead. In steady state nothing is allocated; the samples
// that a reader keeps for its next loans take at most 1 MiB.
//
// When memory is short, an operation says so (OUT_OF_RESOURCES, null or nil, and one log line) and can be repeated:
// samples that could not be received or handed out wait for the next read or take, and trigger conditions meanwhile.
//
// An instance that was disposed of, or that has no writers any more, leaves the reader when a read or take has handed
// out its last unread sample, which shows that state: with all its samples, also those that were only read.
//
// A transient-local reader of a filtered topic whose property "dds.data_reader.state.filter_redundant_samples" is "0"
// catches up when the filter's parameters change: instances that the new parameters reject leave it, the writers'
// history of those that they accept in addition arrives, and what is there already is not delivered again. Other
// readers keep what they have; the new parameters hold for the samples to come.
#pragma once

#include "tessivar/platform/condition.h"
#include "tessivar/platform/detail/counters.h"
#include "tessivar/platform/entity.h"
#include "tessivar/platform/listener.h"
#include "tessivar/platform/qos.h"

#include <memory>

class DDSTopicDescription;
class DDSSubscriber;

/// What one read or take selects.
struct DDS_ReadSelectionI {
  DDS_Boolean take = DDS_BOOLEAN_FALSE;
  DDS_Long max_samples = DDS_LENGTH_UNLIMITED;
  DDS_SampleStateMask sample_states = DDS_ANY_SAMPLE_STATE;
  DDS_ViewStateMask view_states = DDS_ANY_VIEW_STATE;
  DDS_InstanceStateMask instance_states = DDS_ANY_INSTANCE_STATE;
  enum Instances { all, one, next } instances = all;
  /// The instance, or with `next` the one before it (nil: before the first).
  DDS_InstanceHandle_t instance = DDS_HANDLE_NIL;
  /// When set, its masks replace those above; it must be a condition of this reader.
  DDSReadCondition* condition = nullptr;
};

/// Where the samples of a read or take go. In: the state of the caller's sequence. Out: `count`, and for a loan the
/// `lent_…` members.
struct DDS_SampleBufferI {
  // in
  DDS_Long length = 0;
  DDS_Long maximum = 0;  // 0 with `owned`: the reader lends
  DDS_Boolean owned = DDS_BOOLEAN_TRUE;
  void* contiguous = nullptr;
  DDS_Long sample_size = 0;  // octets between elements of `contiguous`
  // out
  DDS_Boolean lent = DDS_BOOLEAN_FALSE;
  void* const* lent_samples = nullptr;
  void* lent_pointers = nullptr;  // room for `lent_maximum` pointers, in which a typed reader makes its array of them
  DDS_Long lent_maximum = 0;
  DDS_Long count = 0;
};

class TESSIVAR_API DDSDataReader : public DDSEntity {
 public:
  struct TESSIVAR_INTERNAL Impl;
  /// Lets a typed class hand the implementation on without knowing it.
  struct ImplDelete {
    TESSIVAR_API void operator()(Impl* impl) const;
  };
  typedef std::unique_ptr<Impl, ImplDelete> ImplPtr;

  DDS_ReturnCode_t enable() override;
  DDS_InstanceHandle_t get_instance_handle() const override;
  DDSTopicDescription* get_topicdescription() const;
  DDSSubscriber* get_subscriber() const;
  DDS_ReturnCode_t get_qos(DDS_DataReaderQos& qos) const;
  DDS_ReturnCode_t set_listener(DDSDataReaderListener* listener, DDS_StatusMask mask);
  DDSDataReaderListener* get_listener() const;
  DDS_ReturnCode_t get_subscription_matched_status(DDS_SubscriptionMatchedStatus& status);
  DDS_ReturnCode_t get_liveliness_changed_status(DDS_LivelinessChangedStatus& status);
  DDS_ReturnCode_t get_requested_deadline_missed_status(DDS_RequestedDeadlineMissedStatus& status);
  DDS_ReturnCode_t get_requested_incompatible_qos_status(DDS_RequestedIncompatibleQosStatus& status);
  DDS_ReturnCode_t get_sample_lost_status(DDS_SampleLostStatus& status);
  DDS_ReturnCode_t get_sample_rejected_status(DDS_SampleRejectedStatus& status);
  DDS_ReturnCode_t get_matched_publications(DDS_InstanceHandleSeq& handles);
  /// Waits until the history that the matched writers held has arrived, also after a change of the filter; TIMEOUT
  /// otherwise. A volatile reader has none.
  DDS_ReturnCode_t wait_for_historical_data(const DDS_Duration_t& max_wait);

  /// Owned by the reader; deleted with delete_readcondition or delete_contained_entities.
  DDSReadCondition* create_readcondition(DDS_SampleStateMask, DDS_ViewStateMask, DDS_InstanceStateMask);
  /// PRECONDITION_NOT_MET when it is not this reader's.
  DDS_ReturnCode_t delete_readcondition(DDSReadCondition* condition);
  /// Deletes all read conditions.
  DDS_ReturnCode_t delete_contained_entities();

  /// Name of the type this reader was made for.
  const char* get_type_name() const;
  /// What it has counted; may be kept for longer than the reader lives. Null for a built-in reader.
  std::shared_ptr<const tessivar::platform::EndpointCounters> counters() const;

  // Untyped forms of what the typed readers offer.

  /// PRECONDITION_NOT_MET when the two sequences do not fit together or still hold a loan; NO_DATA when nothing fits;
  /// BAD_PARAMETER for an instance this reader does not know.
  DDS_ReturnCode_t read_or_take_untypedI(DDS_SampleBufferI& samples, DDS_SampleInfoSeq& infos,
                                         const DDS_ReadSelectionI& selection);
  /// One sample into the caller's.
  DDS_ReturnCode_t read_or_take_next_sample_untypedI(void* sample, DDS_SampleInfo& info, DDS_Boolean take);
  /// Gives back a loan of this reader, named by its `lent_samples` or `lent_pointers`; PRECONDITION_NOT_MET when it is
  /// not one. Unloans `infos`.
  DDS_ReturnCode_t return_loan_untypedI(const void* lent, DDS_Long maximum, DDS_SampleInfoSeq& infos);
  /// Works for every instance that the reader knows; also for one that has left the reader because its end was handed
  /// out, until that loan is returned and the next read or take begins.
  DDS_ReturnCode_t get_key_value_untypedI(void* key_holder, const DDS_InstanceHandle_t& handle);
  /// Nil when the reader does not know that instance. It forgets one that is no longer alive when the end has been
  /// handed out and the loan returned.
  DDS_InstanceHandle_t lookup_instance_untypedI(const void* key_holder);
  /// True when the reader knows the instance and it was neither disposed of nor left by its writers.
  DDS_Boolean is_alive_untypedI(const DDS_InstanceHandle_t& handle) const;

  Impl& impl() const { return *impl_; }

 protected:
  explicit DDSDataReader(ImplPtr impl);
  ~DDSDataReader() override;

 private:
  friend class DDSDomainParticipant;
  ImplPtr impl_;
};
