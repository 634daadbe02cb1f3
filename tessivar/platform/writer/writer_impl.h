// SPDX-License-Identifier: Apache-2.0

// The implementation of the data writer.
//
// `enabling_` is taken before the lock of the statuses. Neither is held while the engine writes or a listener runs.
#pragma once

#include "tessivar/platform/detail/counters.h"
#include "tessivar/platform/detail/listener_slot.h"
#include "tessivar/platform/detail/mutex.h"
#include "tessivar/platform/engine/engine.h"
#include "tessivar/platform/topic.h"
#include "tessivar/platform/writer.h"
#include "tessivar/platform/writer/batch.h"
#include "tessivar/platform/writer/writer_instances.h"
#include "tessivar/platform/writer/writer_statuses.h"

#include <atomic>
#include <memory>
#include <optional>

struct DDSDataWriter::Impl final : tessivar::platform::EngineWriterEvents {
  Impl(DDSTopic& written, DDSPublisher* parent, const DDS_DataWriterQos& writer_qos);
  ~Impl();

  DDS_ReturnCode_t enable() TESSIVAR_EXCLUDES(enabling_);
  /// Leaves the bus. When it returns, no callback is running and none will follow. Must not be called from a callback.
  void close() TESSIVAR_EXCLUDES(enabling_);
  /// Writes `sample`, or disposes or unregisters its instance.
  DDS_ReturnCode_t publish(const void* sample, const DDS_InstanceHandle_t& handle, const DDS_Time_t& timestamp,
                           tessivar::platform::WriteKind kind);
  DDS_InstanceHandle_t add_instance(const void* sample);
  DDS_ReturnCode_t flush();

  // The events of the engine writer (writer_events.cpp).
  void publication_matched(const DDS_PublicationMatchedStatus&) override;
  void liveliness_lost(const DDS_LivelinessLostStatus&) override;
  void offered_deadline_missed(const DDS_OfferedDeadlineMissedStatus&) override;
  void offered_incompatible_qos(const DDS_OfferedIncompatibleQosStatus&) override;

  DDSDataWriter* self = nullptr;
  DDSTopic& topic;
  DDSPublisher* const publisher;
  const PRESTypePlugin& type;
  const bool keyed;
  const DDS_DataWriterQos qos;
  const std::shared_ptr<tessivar::platform::EndpointCounters> counters;
  tessivar::platform::ListenerSlot<DDSDataWriterListener> listener;
  tessivar::platform::WriterInstances instances;

  tessivar::platform::WriterStatuses statuses;

  // Set when the writer is enabled, and then unchanged until it is closed.
  std::unique_ptr<tessivar::platform::Batch> batch;                 // null without batching
  std::atomic<tessivar::platform::EngineWriter*> engine = nullptr;  // set last; null until the writer is enabled

 private:
  DDS_ReturnCode_t publish_unguarded(const void* sample, const DDS_InstanceHandle_t& handle,
                                     const DDS_Time_t& timestamp, tessivar::platform::WriteKind kind);
  /// For each of these statuses calls the writer's listener or, if the writer has none for the status, the
  /// participant's.
  void report(DDS_StatusMask changed) TESSIVAR_EXCLUDES(enabling_);
  template <class Status>
  void notify(DDS_StatusMask status, void (DDSDataWriterListener::*callback)(DDSDataWriter*, const Status&));
  DDS_ReturnCode_t write_sample(tessivar::platform::EngineWriter& writer, const void* sample,
                                const DDS_InstanceHandle_t& handle, std::int64_t timestamp);
  DDS_ReturnCode_t write_key(tessivar::platform::EngineWriter& writer, const void* sample,
                             const DDS_InstanceHandle_t& handle, std::int64_t timestamp,
                             tessivar::platform::WriteKind kind);
  DDS_ReturnCode_t identify(const tessivar::platform::EncodedKey& key, const void* sample,
                            const DDS_InstanceHandle_t& handle, tessivar::platform::WriteKind kind,
                            tessivar::platform::WriterInstances::Known& instance);
  DDS_ReturnCode_t send(tessivar::platform::EngineWriter& writer, tessivar::platform::SampleRef encoded,
                        const tessivar::platform::KeyHash& hash, tessivar::platform::WriteKind kind,
                        std::int64_t timestamp);
  DDS_ReturnCode_t refuse(const char* operation, const char* reason,
                          DDS_ReturnCode_t result = DDS_RETCODE_BAD_PARAMETER) const;
  /// Logs that the sample, or its key if `key_only`, cannot be encoded, and which member is wrong. Returns
  /// BAD_PARAMETER.
  DDS_ReturnCode_t refuse_sample(const char* operation, const void* sample, bool key_only) const;

  tessivar::platform::Mutex enabling_;
  std::unique_ptr<tessivar::platform::EngineWriter> owned_engine_ TESSIVAR_GUARDED_BY(enabling_);
};
