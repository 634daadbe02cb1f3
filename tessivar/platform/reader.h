// SPDX-License-Identifier: Apache-2.0

// The untyped data reader (OMG DDS 1.4, 2.2.2.5.3). Typed readers (types/) derive from it and only cast their
// arguments.
//
// All operations are thread-safe. The reader keeps samples encoded, as the engine received them. A read or take decodes
// them into samples of the reader's pool and lends these to the caller until return_loan. The strings and sequences of
// a lent sample have space for their present content only, not for their whole bound: change a copy of the sample
// instead. In steady state a read or take allocates nothing. The samples that a reader keeps in its pool for later
// loans use at most 1 MiB.
//
// If memory is short, an operation returns OUT_OF_RESOURCES, null or nil, and logs one line; it can be repeated.
// Samples that could not be received or returned wait for the next read or take. Meanwhile they trigger conditions.
//
// An instance that was disposed of, or that has no writers any more, stays in the reader until a read or take has
// returned its last unread sample, which shows that state. The reader then removes the instance with all its samples,
// also samples that were read but not taken.
//
// A transient-local reader of a filtered topic whose property "dds.data_reader.state.filter_redundant_samples" is "0"
// catches up when the parameters of the filter change. It removes the instances that the new parameters reject. It
// receives the writers' history of the instances that the new parameters accept in addition. It does not receive
// samples again that it has already. Other readers keep their samples and apply the new parameters to the samples that
// arrive later.
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
  /// With `one`: the instance. With `next`: the instance after this one; nil: the first instance.
  DDS_InstanceHandle_t instance = DDS_HANDLE_NIL;
  /// If not null, the masks of the condition replace the masks above. It must be a condition of this reader.
  DDSReadCondition* condition = nullptr;
};

/// The destination of the samples of a read or take. In: the state of the caller's sequence. Out: `count`, and for a
/// loan the `lent_…` members.
struct DDS_SampleBufferI {
  // in
  DDS_Long length = 0;
  DDS_Long maximum = 0;  // 0 if `owned`: the reader lends samples
  DDS_Boolean owned = DDS_BOOLEAN_TRUE;
  void* contiguous = nullptr;
  DDS_Long sample_size = 0;  // octets between elements of `contiguous`
  // out
  DDS_Boolean lent = DDS_BOOLEAN_FALSE;
  void* const* lent_samples = nullptr;
  void* lent_pointers = nullptr;  // space for `lent_maximum` pointers, for the typed reader's array
  DDS_Long lent_maximum = 0;
  DDS_Long count = 0;
};

class TESSIVAR_API DDSDataReader : public DDSEntity {
 public:
  struct TESSIVAR_INTERNAL Impl;
  /// Lets a typed class pass the implementation on without knowing its type.
  struct ImplDelete {
    TESSIVAR_API void operator()(Impl* impl) const;
  };
  typedef std::unique_ptr<Impl, ImplDelete> ImplPtr;

  DDS_ReturnCode_t enable() override;
  DDS_InstanceHandle_t get_instance_handle() const override;
  DDSTopicDescription* get_topicdescription() const;
  DDSSubscriber* get_subscriber() const;
  DDS_ReturnCode_t get_qos(DDS_DataReaderQos& qos) const;
  /// Blocks until no other thread is inside a callback of the old listener (listener.h). Returns ILLEGAL_OPERATION in a
  /// content filter.
  DDS_ReturnCode_t set_listener(DDSDataReaderListener* listener, DDS_StatusMask mask);
  DDSDataReaderListener* get_listener() const;
  DDS_ReturnCode_t get_subscription_matched_status(DDS_SubscriptionMatchedStatus& status);
  DDS_ReturnCode_t get_liveliness_changed_status(DDS_LivelinessChangedStatus& status);
  DDS_ReturnCode_t get_requested_deadline_missed_status(DDS_RequestedDeadlineMissedStatus& status);
  DDS_ReturnCode_t get_requested_incompatible_qos_status(DDS_RequestedIncompatibleQosStatus& status);
  DDS_ReturnCode_t get_sample_lost_status(DDS_SampleLostStatus& status);
  DDS_ReturnCode_t get_sample_rejected_status(DDS_SampleRejectedStatus& status);
  DDS_ReturnCode_t get_matched_publications(DDS_InstanceHandleSeq& handles);
  /// Waits until the history of the matched writers has arrived, also after a change of the filter. Returns TIMEOUT if
  /// that takes longer than `max_wait`, and OK at once for a volatile reader, which gets no history.
  DDS_ReturnCode_t wait_for_historical_data(const DDS_Duration_t& max_wait);

  /// The reader owns the condition. delete_readcondition or delete_contained_entities deletes it.
  DDSReadCondition* create_readcondition(DDS_SampleStateMask, DDS_ViewStateMask, DDS_InstanceStateMask);
  /// As create_readcondition, for a thread that handles every change. A read or take with this condition also returns
  /// the unread samples that newer samples of their instance have replaced. The reader keeps these samples as long as
  /// it has such a condition, at most 16384 of them; it drops the oldest of an instance first. A read or take without
  /// this condition drops them, and does not return them. While samples arrive often, the condition wakes a wait set
  /// about once in a millisecond.
  DDSReadCondition* create_change_conditionI(DDS_SampleStateMask, DDS_ViewStateMask, DDS_InstanceStateMask);
  /// Returns how many reads and takes with such a condition have begun. When two more have begun, the thread has
  /// handled the samples that were unread before.
  DDS_UnsignedLong change_readsI() const;
  /// Returns PRECONDITION_NOT_MET if the condition does not belong to this reader.
  DDS_ReturnCode_t delete_readcondition(DDSReadCondition* condition);
  /// Deletes all read conditions.
  DDS_ReturnCode_t delete_contained_entities();

  /// Returns the name under which the type of this reader is registered.
  const char* get_type_name() const;
  /// Returns the counters of this reader; null for a built-in reader. The caller may keep them longer than the reader
  /// exists.
  std::shared_ptr<const tessivar::platform::EndpointCounters> counters() const;

  // Untyped forms of the operations of typed readers.

  /// Returns PRECONDITION_NOT_MET if a sequence still has a loan, if the sequences differ in length or maximum, or if
  /// `max_samples` is above their maximum. Returns NO_DATA if no sample is selected, and BAD_PARAMETER if the reader
  /// does not know the instance.
  DDS_ReturnCode_t read_or_take_untypedI(DDS_SampleBufferI& samples, DDS_SampleInfoSeq& infos,
                                         const DDS_ReadSelectionI& selection);
  /// Copies the next unread sample into `sample` and `info`.
  DDS_ReturnCode_t read_or_take_next_sample_untypedI(void* sample, DDS_SampleInfo& info, DDS_Boolean take);
  /// Returns a loan to this reader and unloans `infos`. `lent` is the `lent_samples` or `lent_pointers` of the loan.
  /// Returns PRECONDITION_NOT_MET if `lent` is not a loan of this reader.
  DDS_ReturnCode_t return_loan_untypedI(const void* lent, DDS_Long maximum, DDS_SampleInfoSeq& infos);
  /// Works for every instance that the reader knows. This includes an instance that the reader removed because a read
  /// or take returned its end, until that loan is returned and the next read or take begins.
  DDS_ReturnCode_t get_key_value_untypedI(void* key_holder, const DDS_InstanceHandle_t& handle);
  /// Returns nil if the reader does not know the instance. The reader forgets an instance that is no longer alive when
  /// a read or take has returned its end and the loan is returned.
  DDS_InstanceHandle_t lookup_instance_untypedI(const void* key_holder);
  /// Returns true if the reader knows the instance, and the instance is neither disposed of nor without writers.
  DDS_Boolean is_alive_untypedI(const DDS_InstanceHandle_t& handle) const;

  Impl& impl() const { return *impl_; }

 protected:
  explicit DDSDataReader(ImplPtr impl);
  ~DDSDataReader() override;

 private:
  friend class DDSDomainParticipant;
  ImplPtr impl_;
};
