// SPDX-License-Identifier: Apache-2.0

// The implementation of the data writer.
#pragma once

#include "tessivar/platform/detail/counters.h"
#include "tessivar/platform/detail/listener_slot.h"
#include "tessivar/platform/detail/mutex.h"
#include "tessivar/platform/engine/engine.h"
#include "tessivar/platform/topic.h"
#include "tessivar/platform/writer.h"
#include "tessivar/platform/writer/batch.h"
#include "tessivar/platform/writer/writer_instances.h"

#include <atomic>
#include <memory>
#include <mutex>
#include <optional>

struct DDSDataWriter::Impl final : tessivar::platform::EngineWriterEvents {
  Impl(DDSTopic& its_topic, DDSPublisher* its_publisher, const DDS_DataWriterQos& its_qos);
  ~Impl();

  DDS_ReturnCode_t enable();
  /// Leaves the bus. When it returns, no callback is running and none will follow. Must not be called from a callback.
  void close();
  /// Writes `sample`, or disposes or unregisters its instance.
  DDS_ReturnCode_t publish(const void* sample, const DDS_InstanceHandle_t& handle, const DDS_Time_t& timestamp,
                           tessivar::platform::WriteKind kind);
  DDS_InstanceHandle_t add_instance(const void* sample);
  DDS_ReturnCode_t flush();

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

  tessivar::platform::Mutex enabling;
  std::unique_ptr<tessivar::platform::EngineWriter> owned_engine;
  std::atomic<tessivar::platform::EngineWriter*> engine = nullptr;  // null until the writer is enabled
  std::unique_ptr<tessivar::platform::Batch> batch;                 // null without batching

  /// `status_mutex` guards the statuses. Each status has the changes since the application read it last.
  tessivar::platform::Mutex status_mutex;
  DDS_PublicationMatchedStatus matched = {};
  DDS_LivelinessLostStatus lost = {};
  DDS_OfferedDeadlineMissedStatus deadline = {};
  DDS_OfferedIncompatibleQosStatus incompatible = {};
  /// Statuses that changed before the writer was enabled and must still be reported.
  DDS_StatusMask deferred = 0;

 private:
  DDS_ReturnCode_t publish_unguarded(const void* sample, const DDS_InstanceHandle_t& handle,
                                     const DDS_Time_t& timestamp, tessivar::platform::WriteKind kind);
  void report(DDS_StatusMask status);
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
};
