// SPDX-License-Identifier: Apache-2.0

#include "tessivar/platform/cyclone/writer.h"

#include "tessivar/platform/cyclone/engine_log.h"
#include "tessivar/platform/cyclone/listener.h"
#include "tessivar/platform/cyclone/qos.h"
#include "tessivar/platform/cyclone/sample.h"
#include "tessivar/platform/cyclone/translate.h"
#include "tessivar/platform/detail/log.h"

namespace tessivar::platform::cyclone {

DDS_ReturnCode_t Writer::create(Participant& participant, const EngineWriterConfig& config, EngineWriterEvents* events,
                                std::unique_ptr<EngineWriter>& result, std::string& error) {
  if (!config.type) {
    error = "writer of topic \"" + config.topic + "\": no type";
    return DDS_RETCODE_BAD_PARAMETER;
  }
  std::unique_ptr<Writer> writer(new Writer(config, events));
  const DDS_ReturnCode_t code = writer->start(participant, config, error);
  if (code == DDS_RETCODE_OK) result = std::move(writer);
  return code;
}

Writer::Writer(const EngineWriterConfig& config, EngineWriterEvents* events)
    : events_(events),
      plugin_(*config.type),
      matches_itself_(!config.ignore_own_participant),
      dispose_with_unregister_(config.qos.writer_data_lifecycle.autodispose_unregistered_instances != 0),
      reliable_(config.qos.reliability.kind == DDS_RELIABLE_RELIABILITY_QOS) {}

DDS_ReturnCode_t Writer::start(Participant& participant, const EngineWriterConfig& config, std::string& error) {
  mismatches_ = &participant.mismatches();
  if (!topic_.create(participant.entity(), config.topic, plugin_, error)) return DDS_RETCODE_ERROR;
  const EngineQos qos = to_engine_qos(config.qos, config.ignore_own_participant);
  const Listener listener(this);
  dds_lset_publication_matched(listener.get(), ListenerCall<on_publication_matched>::call);  // this class needs it, too
  if (events_) {
    dds_lset_liveliness_lost(listener.get(), ListenerCall<on_liveliness_lost>::call);
    dds_lset_offered_deadline_missed(listener.get(), ListenerCall<on_offered_deadline_missed>::call);
    dds_lset_offered_incompatible_qos(listener.get(), ListenerCall<on_offered_incompatible_qos>::call);
  }
  const bool batch = config.qos.batch.enable != 0;
  const EngineLogCapture log;
  const BatchingSetting::Creation creation(participant.batching(), batch);
  entity_ = dds_create_writer(participant.entity(), topic_.entity(), qos.get(), listener.get());
  if (entity_ < 0) {
    error = "writer of topic \"" + config.topic + "\": " + describe(entity_) + log.text();
    return to_return_code(entity_);
  }
  collects_ = creation.may_collect();
  flush_each_ = collects_ && !batch;
  return DDS_RETCODE_OK;
}

Writer::~Writer() {
  if (entity_ > 0) dds_delete(entity_);
}

EncodedSample* Writer::allocate(std::uint32_t size, bool key_only) {
  if (size < 4) return nullptr;  // too small for an encapsulation header
  SampleData* data = SampleData::create(topic_.type(), plugin_, key_only ? SDK_KEY : SDK_DATA, size);
  return data ? &data->sample : nullptr;
}

DDS_ReturnCode_t Writer::write(SampleRef sample, WriteKind kind, std::int64_t source_timestamp) {
  if (!sample || !sample->bytes || (kind == WriteKind::data) == sample->key_only) return DDS_RETCODE_BAD_PARAMETER;
  SampleData* data = SampleData::of(sample.get());
  if (data->engine.type != topic_.type()) return DDS_RETCODE_BAD_PARAMETER;
  if (matches_itself_ && ReaderCallback::concerns(topic_)) {
    log(LogLevel::error, "DDSDataWriter", "not possible within a callback of a reader that would get the sample");
    return DDS_RETCODE_ILLEGAL_OPERATION;
  }
  data->finish();
  data->engine.timestamp.v = source_timestamp;
  switch (kind) {
    case WriteKind::data:
      data->engine.statusinfo = 0;
      break;
    case WriteKind::dispose:
      data->engine.statusinfo = NN_STATUSINFO_DISPOSE;
      break;
    case WriteKind::unregister:
      data->engine.statusinfo = NN_STATUSINFO_UNREGISTER | (dispose_with_unregister_ ? NN_STATUSINFO_DISPOSE : 0);
      break;
  }
  sample.detach();
  const dds_return_t result = dds_forwardcdr(entity_, &data->engine);
  // With these three results the engine has taken the reference; otherwise it refused the call before that.
  if (result != api::ok && result != api::timeout && result != api::error) ddsi_serdata_unref(&data->engine);
  if (flush_each_) dds_write_flush(entity_);
  return to_return_code(result);
}

DDS_ReturnCode_t Writer::flush() {
  if (collects_) dds_write_flush(entity_);
  return DDS_RETCODE_OK;
}

DDS_ReturnCode_t Writer::wait_for_acknowledgments(std::int64_t timeout) {
  if (timeout < 0) return DDS_RETCODE_BAD_PARAMETER;
  if (!reliable_) return DDS_RETCODE_OK;
  flush();
  return to_return_code(dds_wait_for_acks(entity_, to_engine_duration(timeout)));
}

DDS_ReturnCode_t Writer::assert_liveliness() {
  return to_return_code(dds_assert_liveliness(entity_));
}

DDS_InstanceHandle_t Writer::guid() const {
  return guid_of(entity_);
}

std::vector<DDS_InstanceHandle_t> Writer::matched_subscriptions() {
  return matches_.all(entity_);
}

DDS_PublicationMatchedStatus Writer::to_platform(dds_entity_t writer, const dds_publication_matched_status_t& status) {
  DDS_PublicationMatchedStatus result = {};
  result.total_count = static_cast<DDS_Long>(status.total_count);
  result.total_count_change = status.total_count_change;
  result.current_count = static_cast<DDS_Long>(status.current_count);
  result.current_count_change = status.current_count_change;
  if (status.last_subscription_handle != 0)
    result.last_subscription_handle = matches_.find(writer, status.last_subscription_handle).guid;
  return result;
}

void Writer::on_publication_matched(dds_entity_t writer, dds_publication_matched_status_t status, void* self) {
  auto& me = *static_cast<Writer*>(self);
  const DDS_PublicationMatchedStatus translated = me.to_platform(writer, status);
  if (status.current_count_change < 0) me.matches_.forget(status.last_subscription_handle);
  if (me.events_) me.events_->publication_matched(translated);
}

void Writer::on_liveliness_lost(dds_entity_t, dds_liveliness_lost_status_t status, void* self) {
  static_cast<Writer*>(self)->events_->liveliness_lost(
      {static_cast<DDS_Long>(status.total_count), status.total_count_change});
}

void Writer::on_offered_deadline_missed(dds_entity_t, dds_offered_deadline_missed_status_t status, void* self) {
  // To get the instance's key from the engine, this thread would wait for a blocked write, which it may have to
  // unblock.
  static_cast<Writer*>(self)->events_->offered_deadline_missed(
      {static_cast<DDS_Long>(status.total_count), status.total_count_change, DDS_HANDLE_NIL});
}

void Writer::on_offered_incompatible_qos(dds_entity_t writer, dds_offered_incompatible_qos_status_t status,
                                         void* self) {
  auto& me = *static_cast<Writer*>(self);
  me.mismatches_->report(writer, false);
  me.events_->offered_incompatible_qos(to_status(status));
}

}  // namespace tessivar::platform::cyclone
