// SPDX-License-Identifier: Apache-2.0

// The data writer: life cycle, writes and the public class.
#include "tessivar/platform/writer.h"

#include "tessivar/platform/detail/callback.h"
#include "tessivar/platform/detail/log.h"
#include "tessivar/platform/participant/participant_impl.h"
#include "tessivar/platform/participant/topic_impl.h"
#include "tessivar/platform/system/guarded.h"
#include "tessivar/platform/values/sequence_fill.h"
#include "tessivar/platform/writer/writer_impl.h"

#include <chrono>
#include <cstring>
#include <exception>
#include <string>

using tessivar::platform::EncodedKey;
using tessivar::platform::EngineWriter;
using tessivar::platform::guarded;
using tessivar::platform::handle_of;
using tessivar::platform::KeyHash;
using tessivar::platform::log;
using tessivar::platform::log_joined;
using tessivar::platform::LogLevel;
using tessivar::platform::MutexLock;
using tessivar::platform::refused_in_callback;
using tessivar::platform::refused_in_filter;
using tessivar::platform::SampleRef;
using tessivar::platform::to_nanoseconds;
using tessivar::platform::WriteKind;
using tessivar::platform::WriterInstances;

namespace {

const char* name_of(WriteKind kind) {
  switch (kind) {
    case WriteKind::data:
      return "DDSDataWriter::write";
    case WriteKind::dispose:
      return "DDSDataWriter::dispose";
    case WriteKind::unregister:
      return "DDSDataWriter::unregister_instance";
  }
  return "DDSDataWriter";
}

constexpr const char* no_memory = "no memory for the sample";

bool valid(const DDS_Time_t& time) {
  return (time.sec == DDS_TIME_INVALID.sec && time.nanosec == DDS_TIME_INVALID.nanosec) ||
         (time.sec >= 0 && time.nanosec < 1000000000u);
}

}  // namespace

DDSDataWriter::Impl::Impl(DDSTopic& written, DDSPublisher* parent, const DDS_DataWriterQos& writer_qos)
    : topic(written),
      publisher(parent),
      type(topic.impl().type),
      keyed(type.get_key_kind() != PRES_TYPEPLUGIN_NO_KEY),
      qos(writer_qos),
      counters(std::make_shared<tessivar::platform::EndpointCounters>(true, topic.impl().name, topic.impl().type_name,
                                                                      nullptr)),
      instances(type) {}

DDSDataWriter::Impl::~Impl() {
  close();
}

void DDSDataWriter::Impl::close() {
  batch.reset();
  engine = nullptr;
  statuses.end();
  std::unique_ptr<EngineWriter> closed;  // destroyed without the lock
  const MutexLock lock(enabling_);
  closed = std::move(owned_engine_);
}

DDS_ReturnCode_t DDSDataWriter::Impl::refuse(const char* operation, const char* reason, DDS_ReturnCode_t result) const {
  log_joined(LogLevel::error, operation, {"topic \"", topic.impl().name, "\": ", reason});
  return result;
}

DDS_ReturnCode_t DDSDataWriter::Impl::refuse_sample(const char* operation, const void* sample, bool key_only) const {
  counters->not_encoded();
  char fault[400];
  type.explain(sample, key_only, fault, sizeof fault);
  log_joined(LogLevel::error, operation,
             {"topic \"", topic.impl().name, "\": the ", key_only ? "key" : "sample", " cannot be encoded: ", fault});
  return DDS_RETCODE_BAD_PARAMETER;
}

DDS_ReturnCode_t DDSDataWriter::Impl::enable() {
  if (!engine && topic.get_participant()->impl().cannot_enable_entity("DDSDataWriter::enable")) {
    return DDS_RETCODE_ILLEGAL_OPERATION;
  }
  DDS_StatusMask changed = 0;
  std::unique_ptr<EngineWriter> opened;
  {
    const MutexLock lock(enabling_);
    if (engine) return DDS_RETCODE_OK;
    DDSDomainParticipant::Impl& participant = topic.get_participant()->impl();
    tessivar::platform::EngineParticipant* bus = participant.engine;
    if (!bus) return DDS_RETCODE_PRECONDITION_NOT_MET;

    tessivar::platform::EngineWriterConfig config;
    config.topic = topic.impl().name;
    config.type = &type;
    config.qos = qos;
    config.ignore_own_participant = participant.ignores_itself;
    std::string error;
    DDS_ReturnCode_t result = bus->create_writer(config, this, opened, error);
    if (result == DDS_RETCODE_OK && qos.batch.enable) {
      result = tessivar::platform::guarded(error, DDS_RETCODE_OUT_OF_RESOURCES, [&] {
        batch = std::make_unique<tessivar::platform::Batch>(qos.batch, *opened);
        return DDS_RETCODE_OK;
      });
    }
    if (result != DDS_RETCODE_OK) {
      log(LogLevel::error, "DDSDataWriter::enable", "topic \"" + topic.impl().name + "\": " + error);
      return result;
    }
    engine = opened.get();
    owned_engine_ = std::move(opened);
    changed = statuses.begin();
  }
  report(changed);
  return DDS_RETCODE_OK;
}

DDS_ReturnCode_t DDSDataWriter::Impl::publish(const void* sample, const DDS_InstanceHandle_t& handle,
                                              const DDS_Time_t& timestamp, WriteKind kind) {
  return guarded(name_of(kind), DDS_RETCODE_OUT_OF_RESOURCES,
                 [&] { return publish_unguarded(sample, handle, timestamp, kind); });
}

DDS_ReturnCode_t DDSDataWriter::Impl::publish_unguarded(const void* sample, const DDS_InstanceHandle_t& handle,
                                                        const DDS_Time_t& timestamp, WriteKind kind) {
  if (!sample) return refuse(name_of(kind), "null sample");
  if (!valid(timestamp)) return refuse(name_of(kind), "the source timestamp is not a valid time");
  if (!keyed && handle.isValid) return refuse(name_of(kind), "a handle for a type without key");
  if (refused_in_filter(name_of(kind))) return DDS_RETCODE_ILLEGAL_OPERATION;
  EngineWriter* writer = engine;
  if (!writer) return DDS_RETCODE_NOT_ENABLED;
  const std::int64_t time = to_nanoseconds(timestamp);
  return kind == WriteKind::data ? write_sample(*writer, sample, handle, time)
                                 : write_key(*writer, sample, handle, time, kind);
}

DDS_ReturnCode_t DDSDataWriter::Impl::write_sample(EngineWriter& writer, const void* sample,
                                                   const DDS_InstanceHandle_t& handle, std::int64_t timestamp) {
  const std::size_t size = type.encoded_size(sample);
  if (size == 0 || size > UINT32_MAX) return refuse_sample(name_of(WriteKind::data), sample, false);
  SampleRef encoded(writer.allocate(static_cast<std::uint32_t>(size), false));
  if (!encoded) return refuse(name_of(WriteKind::data), no_memory, DDS_RETCODE_OUT_OF_RESOURCES);
  if (!type.encode(sample, encoded->bytes, size)) return refuse_sample(name_of(WriteKind::data), sample, false);
  // This is the last step, so that a write that fails because memory is short adds no instance.
  WriterInstances::Known instance = {{}, true};
  if (keyed) {
    const EncodedKey key(type, sample);
    const DDS_ReturnCode_t identified = identify(key, sample, handle, WriteKind::data, instance);
    if (identified != DDS_RETCODE_OK) return identified;
  }
  return send(writer, std::move(encoded), instance.hash, WriteKind::data, timestamp);
}

DDS_ReturnCode_t DDSDataWriter::Impl::write_key(EngineWriter& writer, const void* sample,
                                                const DDS_InstanceHandle_t& handle, std::int64_t timestamp,
                                                WriteKind kind) {
  const EncodedKey key(type, sample);
  if (!key) return refuse_sample(name_of(kind), sample, true);
  SampleRef encoded(writer.allocate(static_cast<std::uint32_t>(key.size()), true));
  if (!encoded) return refuse(name_of(kind), no_memory, DDS_RETCODE_OUT_OF_RESOURCES);
  std::memcpy(encoded->bytes, key.data(), key.size());
  WriterInstances::Known instance = {{}, true};
  const DDS_ReturnCode_t identified = identify(key, sample, handle, kind, instance);
  if (identified != DDS_RETCODE_OK) return identified;
  if (!instance.written) {
    // The instance was registered but never written, so there is nothing to unregister or dispose on the bus. An
    // automatic dispose would also dispose the instance for other writers.
    instances.remove(key);
    return DDS_RETCODE_OK;
  }
  const DDS_ReturnCode_t result = send(writer, std::move(encoded), instance.hash, kind, timestamp);
  if (result == DDS_RETCODE_OK && keyed && kind == WriteKind::unregister) instances.remove(key);
  return result;
}

/// Finds the instance of the sample. To unregister, the instance must be known; otherwise an unknown instance is added.
DDS_ReturnCode_t DDSDataWriter::Impl::identify(const EncodedKey& key, const void* sample,
                                               const DDS_InstanceHandle_t& handle, WriteKind kind,
                                               WriterInstances::Known& instance) {
  if (!keyed) return DDS_RETCODE_OK;
  if (kind == WriteKind::unregister) {
    const auto known = instances.find(key);
    if (!known) return DDS_RETCODE_PRECONDITION_NOT_MET;
    instance = *known;
  } else {
    const auto added = instances.add(key, sample, true, handle);
    if (!added) return refuse(name_of(kind), no_memory, DDS_RETCODE_OUT_OF_RESOURCES);
    instance = {*added, true};
  }
  if (!tessivar::platform::is_nil_or_handle_of(handle, instance.hash))
    return refuse(name_of(kind), "the handle is another instance's");
  return DDS_RETCODE_OK;
}

DDS_ReturnCode_t DDSDataWriter::Impl::send(EngineWriter& writer, SampleRef encoded, const KeyHash& hash, WriteKind kind,
                                           std::int64_t timestamp) {
  std::memcpy(encoded->key_hash, hash.data(), hash.size());
  const std::uint32_t octets = encoded->size;
  DDS_ReturnCode_t result = batch ? batch->make_room(octets) : DDS_RETCODE_OK;
  // The clock is read once for the sample and the counters.
  const bool now = timestamp < 0;
  if (now) timestamp = std::chrono::system_clock::now().time_since_epoch() / std::chrono::nanoseconds(1);
  if (result == DDS_RETCODE_OK) result = writer.write(std::move(encoded), kind, timestamp);
  if (result == DDS_RETCODE_TIMEOUT) {
    const std::int64_t waited = to_nanoseconds(qos.reliability.max_blocking_time) / 1000000;
    log_joined(LogLevel::error, name_of(kind),
               {"topic \"", topic.impl().name, "\": the readers did not acknowledge earlier samples within ",
                std::to_string(waited), " ms (max_blocking_time), so that there is no room for another one"});
  }
  if (result != DDS_RETCODE_OK) {
    counters->rejected();
  } else if (now) {
    counters->sent(timestamp);
  } else {
    counters->sent();
  }
  return batch && result == DDS_RETCODE_OK ? batch->added(octets) : result;
}

DDS_InstanceHandle_t DDSDataWriter::Impl::add_instance(const void* sample) {
  if (!sample) {
    refuse("DDSDataWriter::register_instance", "null sample");
    return DDS_HANDLE_NIL;
  }
  if (!keyed) return DDS_HANDLE_NIL;
  const EncodedKey key(type, sample);
  if (!key) {
    refuse_sample("DDSDataWriter::register_instance", sample, true);
    return DDS_HANDLE_NIL;
  }
  const auto hash = instances.add(key, sample, false);
  if (hash) return handle_of(*hash);
  refuse("DDSDataWriter::register_instance", "no memory for the instance");
  return DDS_HANDLE_NIL;
}

DDS_ReturnCode_t DDSDataWriter::Impl::flush() {
  EngineWriter* writer = engine;
  if (!writer) return DDS_RETCODE_NOT_ENABLED;
  return batch ? batch->flush() : DDS_RETCODE_OK;
}

// --- the public class ------------------------------------------------------------------------------------------------

void DDSDataWriter::ImplDelete::operator()(Impl* impl) const {
  delete impl;
}

DDSDataWriter::DDSDataWriter(ImplPtr impl) : impl_(std::move(impl)) {
  impl_->self = this;
}

DDSDataWriter::~DDSDataWriter() = default;

DDS_ReturnCode_t DDSDataWriter::enable() {
  return guarded("DDSDataWriter::enable", DDS_RETCODE_OUT_OF_RESOURCES, [&] { return impl_->enable(); });
}

DDS_InstanceHandle_t DDSDataWriter::get_instance_handle() const {
  const EngineWriter* writer = impl_->engine;
  return writer ? writer->guid() : DDS_HANDLE_NIL;
}

DDSTopic* DDSDataWriter::get_topic() const {
  return &impl_->topic;
}

DDSPublisher* DDSDataWriter::get_publisher() const {
  return impl_->publisher;
}

DDS_ReturnCode_t DDSDataWriter::get_qos(DDS_DataWriterQos& qos) const {
  qos = impl_->qos;
  return DDS_RETCODE_OK;
}

DDS_ReturnCode_t DDSDataWriter::set_listener(DDSDataWriterListener* listener, DDS_StatusMask mask) {
  if (refused_in_filter("DDSDataWriter::set_listener")) return DDS_RETCODE_ILLEGAL_OPERATION;
  impl_->listener.set(listener, mask);
  return DDS_RETCODE_OK;
}

DDSDataWriterListener* DDSDataWriter::get_listener() const {
  return impl_->listener.get();
}

DDS_ReturnCode_t DDSDataWriter::get_publication_matched_status(DDS_PublicationMatchedStatus& status) {
  status = impl_->statuses.read<DDS_PublicationMatchedStatus>();
  return DDS_RETCODE_OK;
}

DDS_ReturnCode_t DDSDataWriter::get_liveliness_lost_status(DDS_LivelinessLostStatus& status) {
  status = impl_->statuses.read<DDS_LivelinessLostStatus>();
  return DDS_RETCODE_OK;
}

DDS_ReturnCode_t DDSDataWriter::get_offered_deadline_missed_status(DDS_OfferedDeadlineMissedStatus& status) {
  status = impl_->statuses.read<DDS_OfferedDeadlineMissedStatus>();
  return DDS_RETCODE_OK;
}

DDS_ReturnCode_t DDSDataWriter::get_offered_incompatible_qos_status(DDS_OfferedIncompatibleQosStatus& status) {
  status = impl_->statuses.read<DDS_OfferedIncompatibleQosStatus>();
  return DDS_RETCODE_OK;
}

DDS_ReturnCode_t DDSDataWriter::get_matched_subscriptions(DDS_InstanceHandleSeq& handles) {
  EngineWriter* writer = impl_->engine;
  if (!writer) return DDS_RETCODE_NOT_ENABLED;
  return tessivar::platform::fill(handles, writer->matched_subscriptions());
}

DDS_ReturnCode_t DDSDataWriter::assert_liveliness() {
  EngineWriter* writer = impl_->engine;
  return writer ? writer->assert_liveliness() : DDS_RETCODE_NOT_ENABLED;
}

DDS_ReturnCode_t DDSDataWriter::wait_for_acknowledgments(const DDS_Duration_t& max_wait) {
  if (refused_in_callback("DDSDataWriter::wait_for_acknowledgments")) return DDS_RETCODE_ILLEGAL_OPERATION;
  const DDS_ReturnCode_t flushed = impl_->flush();
  if (flushed != DDS_RETCODE_OK) return flushed;
  EngineWriter* writer = impl_->engine;
  return writer->wait_for_acknowledgments(tessivar::platform::to_nanoseconds(max_wait));
}

DDS_ReturnCode_t DDSDataWriter::flush() {
  if (refused_in_filter("DDSDataWriter::flush")) return DDS_RETCODE_ILLEGAL_OPERATION;
  return impl_->flush();
}

const char* DDSDataWriter::get_type_name() const {
  return impl_->topic.get_type_name();
}

std::shared_ptr<const tessivar::platform::EndpointCounters> DDSDataWriter::counters() const {
  return impl_->counters;
}

DDS_ReturnCode_t DDSDataWriter::write_untypedI(const void* sample, const DDS_InstanceHandle_t& handle,
                                               const DDS_Time_t& timestamp) {
  return impl_->publish(sample, handle, timestamp, WriteKind::data);
}

DDS_ReturnCode_t DDSDataWriter::dispose_untypedI(const void* sample, const DDS_InstanceHandle_t& handle,
                                                 const DDS_Time_t& timestamp) {
  return impl_->publish(sample, handle, timestamp, WriteKind::dispose);
}

DDS_ReturnCode_t DDSDataWriter::unregister_untypedI(const void* sample, const DDS_InstanceHandle_t& handle,
                                                    const DDS_Time_t& timestamp) {
  return impl_->publish(sample, handle, timestamp, WriteKind::unregister);
}

DDS_InstanceHandle_t DDSDataWriter::register_untypedI(const void* sample) {
  return guarded("DDSDataWriter::register_instance", DDS_HANDLE_NIL, [&] { return impl_->add_instance(sample); });
}

DDS_InstanceHandle_t DDSDataWriter::lookup_instance_untypedI(const void* key_holder) {
  if (!key_holder || !impl_->keyed) return DDS_HANDLE_NIL;
  return guarded("DDSDataWriter::lookup_instance", DDS_HANDLE_NIL, [&] {
    const auto known = impl_->instances.find(EncodedKey(impl_->type, key_holder));
    return known ? handle_of(known->hash) : DDS_HANDLE_NIL;
  });
}

DDS_ReturnCode_t DDSDataWriter::get_key_value_untypedI(void* key_holder, const DDS_InstanceHandle_t& handle) {
  if (!key_holder) return DDS_RETCODE_BAD_PARAMETER;
  return guarded("DDSDataWriter::get_key_value", DDS_RETCODE_OUT_OF_RESOURCES, [&] {
    const auto key = impl_->instances.key_of(handle);
    if (!key) return DDS_RETCODE_BAD_PARAMETER;
    const auto* bytes = reinterpret_cast<const std::uint8_t*>(key->data());
    // This writer encoded the key, so decoding can fail only if memory is short.
    const bool decoded = impl_->type.decode_key(key_holder, bytes, key->size());
    return decoded ? DDS_RETCODE_OK : DDS_RETCODE_OUT_OF_RESOURCES;
  });
}
