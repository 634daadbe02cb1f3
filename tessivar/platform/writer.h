// SPDX-License-Identifier: Apache-2.0

// The untyped data writer (OMG DDS 1.4, 2.2.2.4.2). Typed writers (types/) derive from it and only cast.
//
// Thread-safe. Samples are encoded in the caller's thread straight into the engine's buffer; nothing of the caller's
// sample is kept. Only write, flush, wait_for_acknowledgments and the deletion may block. When memory is short, an
// operation says so (OUT_OF_RESOURCES or nil, and one log line), has no effect, and can be repeated.
#pragma once

#include "tessivar/platform/detail/counters.h"
#include "tessivar/platform/entity.h"
#include "tessivar/platform/listener.h"
#include "tessivar/platform/qos.h"

#include <memory>

class DDSTopic;
class DDSPublisher;

/// What the …_w_params operations take beside the sample.
struct DDS_WriteParams_t {
  /// In: the instance, or nil. Out: the instance that was written.
  DDS_InstanceHandle_t handle = DDS_HANDLE_NIL;
  /// DDS_TIME_INVALID: now.
  DDS_Time_t source_timestamp = DDS_TIME_INVALID;
};

class TESSIVAR_API DDSDataWriter : public DDSEntity {
 public:
  struct TESSIVAR_INTERNAL Impl;
  /// Lets a typed class hand the implementation on without knowing it.
  struct ImplDelete {
    TESSIVAR_API void operator()(Impl* impl) const;
  };
  typedef std::unique_ptr<Impl, ImplDelete> ImplPtr;

  DDS_ReturnCode_t enable() override;
  DDS_InstanceHandle_t get_instance_handle() const override;
  DDSTopic* get_topic() const;
  DDSPublisher* get_publisher() const;
  DDS_ReturnCode_t get_qos(DDS_DataWriterQos& qos) const;
  DDS_ReturnCode_t set_listener(DDSDataWriterListener* listener, DDS_StatusMask mask);
  DDSDataWriterListener* get_listener() const;
  DDS_ReturnCode_t get_publication_matched_status(DDS_PublicationMatchedStatus& status);
  DDS_ReturnCode_t get_liveliness_lost_status(DDS_LivelinessLostStatus& status);
  DDS_ReturnCode_t get_offered_deadline_missed_status(DDS_OfferedDeadlineMissedStatus& status);
  DDS_ReturnCode_t get_offered_incompatible_qos_status(DDS_OfferedIncompatibleQosStatus& status);
  DDS_ReturnCode_t get_matched_subscriptions(DDS_InstanceHandleSeq& handles);
  DDS_ReturnCode_t assert_liveliness();
  /// Waits until every matched reliable reader has acknowledged everything; TIMEOUT otherwise. Flushes first.
  DDS_ReturnCode_t wait_for_acknowledgments(const DDS_Duration_t& max_wait);
  /// Sends what is batched. OUT_OF_RESOURCES and TIMEOUT as the engine reports them; OK without batching.
  DDS_ReturnCode_t flush();
  /// The name under which the type that this writer was made for is registered.
  const char* get_type_name() const;
  /// What it has counted; may be kept for longer than the writer lives.
  std::shared_ptr<const tessivar::platform::EndpointCounters> counters() const;

  // Untyped forms of what the typed writers offer. `sample` points at a sample of the writer's type. A null sample is a
  // BAD_PARAMETER; a sample that cannot be encoded (a string over its bound, an unknown enumerator) too, with one log
  // line that names type, member and value; a valid handle that is not the sample's own is a BAD_PARAMETER, a source
  // timestamp that is no time as well. Disposing of an instance keeps it registered. Unregistering one that this writer
  // does not know is PRECONDITION_NOT_MET; one that was registered and never written is forgotten without a word on the
  // bus.
  DDS_ReturnCode_t write_untypedI(const void* sample, const DDS_InstanceHandle_t& handle, const DDS_Time_t& timestamp);
  DDS_ReturnCode_t dispose_untypedI(const void* sample, const DDS_InstanceHandle_t& handle,
                                    const DDS_Time_t& timestamp);
  DDS_ReturnCode_t unregister_untypedI(const void* sample, const DDS_InstanceHandle_t& handle,
                                       const DDS_Time_t& timestamp);
  /// The sample's handle; the writer knows the instance from now on. Nil when the key cannot be encoded or the type has
  /// no key.
  DDS_InstanceHandle_t register_untypedI(const void* sample);
  /// The handle of an instance this writer has registered or written and not unregistered; else nil.
  DDS_InstanceHandle_t lookup_instance_untypedI(const void* key_holder);
  /// BAD_PARAMETER for a handle this writer does not know.
  DDS_ReturnCode_t get_key_value_untypedI(void* key_holder, const DDS_InstanceHandle_t& handle);

  Impl& impl() const { return *impl_; }

 protected:
  explicit DDSDataWriter(ImplPtr impl);
  ~DDSDataWriter() override;

 private:
  friend class DDSDomainParticipant;
  ImplPtr impl_;
};
