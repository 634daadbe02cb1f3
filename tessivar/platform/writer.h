// SPDX-License-Identifier: Apache-2.0

// The untyped data writer (OMG DDS 1.4, 2.2.2.4.2). Typed writers (types/) derive from it and only cast their
// arguments.
//
// All operations are thread-safe. A sample is encoded in the caller's thread, directly into a buffer of the engine; the
// writer keeps no reference to it. Only write, flush, wait_for_acknowledgments and the deletion may block. If memory is
// short, an operation returns OUT_OF_RESOURCES or nil, logs one line and has no effect; it can be repeated.
#pragma once

#include "tessivar/platform/detail/counters.h"
#include "tessivar/platform/entity.h"
#include "tessivar/platform/listener.h"
#include "tessivar/platform/qos.h"

#include <memory>

class DDSTopic;
class DDSPublisher;

/// The arguments of the …_w_params operations in addition to the sample.
struct DDS_WriteParams_t {
  /// In: the handle of the instance, or nil. Out: the handle of the instance that was written.
  DDS_InstanceHandle_t handle = DDS_HANDLE_NIL;
  /// DDS_TIME_INVALID: now.
  DDS_Time_t source_timestamp = DDS_TIME_INVALID;
};

class TESSIVAR_API DDSDataWriter : public DDSEntity {
 public:
  struct TESSIVAR_INTERNAL Impl;
  /// Lets a typed class pass the implementation on without knowing its type.
  struct ImplDelete {
    TESSIVAR_API void operator()(Impl* impl) const;
  };
  typedef std::unique_ptr<Impl, ImplDelete> ImplPtr;

  DDS_ReturnCode_t enable() override;
  DDS_InstanceHandle_t get_instance_handle() const override;
  DDSTopic* get_topic() const;
  DDSPublisher* get_publisher() const;
  DDS_ReturnCode_t get_qos(DDS_DataWriterQos& qos) const;
  /// Blocks until no other thread is inside a callback of the old listener (listener.h). Returns ILLEGAL_OPERATION in a
  /// content filter.
  DDS_ReturnCode_t set_listener(DDSDataWriterListener* listener, DDS_StatusMask mask);
  DDSDataWriterListener* get_listener() const;
  DDS_ReturnCode_t get_publication_matched_status(DDS_PublicationMatchedStatus& status);
  DDS_ReturnCode_t get_liveliness_lost_status(DDS_LivelinessLostStatus& status);
  DDS_ReturnCode_t get_offered_deadline_missed_status(DDS_OfferedDeadlineMissedStatus& status);
  DDS_ReturnCode_t get_offered_incompatible_qos_status(DDS_OfferedIncompatibleQosStatus& status);
  DDS_ReturnCode_t get_matched_subscriptions(DDS_InstanceHandleSeq& handles);
  DDS_ReturnCode_t assert_liveliness();
  /// Flushes, then waits until every matched reliable reader has acknowledged all samples. Returns TIMEOUT if that
  /// takes longer than `max_wait`.
  DDS_ReturnCode_t wait_for_acknowledgments(const DDS_Duration_t& max_wait);
  /// Sends the batched samples. Returns OUT_OF_RESOURCES or TIMEOUT if the engine reports it, and OK if batching is
  /// off.
  DDS_ReturnCode_t flush();
  /// Returns the name under which the type of this writer is registered.
  const char* get_type_name() const;
  /// Returns the counters of this writer. The caller may keep them longer than the writer exists.
  std::shared_ptr<const tessivar::platform::EndpointCounters> counters() const;

  // Untyped forms of the operations of typed writers. `sample` points to a sample of the writer's type. An operation
  // returns BAD_PARAMETER:
  // - if `sample` is null;
  // - if the sample cannot be encoded (a string is longer than its bound, an enumerator is unknown); one log line names
  //   type, member and value;
  // - if the handle is valid, but not the handle of the sample's instance;
  // - if the source timestamp is not a valid time.
  //
  // Disposing of an instance keeps it registered. Unregistering an instance that this writer does not know returns
  // PRECONDITION_NOT_MET. Unregistering an instance that was registered but never written sends nothing.
  DDS_ReturnCode_t write_untypedI(const void* sample, const DDS_InstanceHandle_t& handle, const DDS_Time_t& timestamp);
  DDS_ReturnCode_t dispose_untypedI(const void* sample, const DDS_InstanceHandle_t& handle,
                                    const DDS_Time_t& timestamp);
  DDS_ReturnCode_t unregister_untypedI(const void* sample, const DDS_InstanceHandle_t& handle,
                                       const DDS_Time_t& timestamp);
  /// Registers the instance of the sample and returns its handle. Returns nil if the key cannot be encoded or the type
  /// has no key.
  DDS_InstanceHandle_t register_untypedI(const void* sample);
  /// Returns the handle of an instance that this writer has registered or written and not unregistered; otherwise nil.
  DDS_InstanceHandle_t lookup_instance_untypedI(const void* key_holder);
  /// Returns BAD_PARAMETER if this writer does not know the handle.
  DDS_ReturnCode_t get_key_value_untypedI(void* key_holder, const DDS_InstanceHandle_t& handle);

  Impl& impl() const { return *impl_; }

 protected:
  explicit DDSDataWriter(ImplPtr impl);
  ~DDSDataWriter() override;

 private:
  friend class DDSDomainParticipant;
  ImplPtr impl_;
};
