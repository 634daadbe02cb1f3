// SPDX-License-Identifier: Apache-2.0

#include "tessivar/platform/cyclone/reader.h"

#include "tessivar/platform/cyclone/engine_log.h"
#include "tessivar/platform/cyclone/listener.h"
#include "tessivar/platform/cyclone/qos.h"
#include "tessivar/platform/cyclone/sample.h"
#include "tessivar/platform/cyclone/translate.h"
#include "tessivar/platform/system/guarded.h"

#include <algorithm>
#include <chrono>
#include <thread>
#include <utility>

namespace tessivar::platform::cyclone {
namespace {

/// The arrays that one call of the engine fills. Each thread has its own arrays.
class Scratch {
 public:
  static Scratch& of_this_thread() {
    thread_local Scratch scratch;
    return scratch;
  }

  void make_room(std::size_t count) {
    if (pointers.size() >= count) return;
    pointers.clear();  // they must not point to earlier slots if a line below throws
    slots_.resize(count);
    infos.resize(count);
    pointers.reserve(count);
    for (SampleSlot& slot : slots_) pointers.push_back(&slot);
  }

  /// Empties the slot. A slot must be empty, because the engine releases its content before it stores a key in it.
  SampleRef take_sample(std::size_t i) { return SampleRef(std::exchange(slots_[i], nullptr)); }

  std::vector<void*> pointers;
  std::vector<dds_sample_info_t> infos;

 private:
  std::vector<SampleSlot> slots_;
};

DDS_InstanceStateKind to_platform(dds_instance_state_t state) {
  switch (state) {
    case DDS_IST_NOT_ALIVE_DISPOSED:
      return DDS_NOT_ALIVE_DISPOSED_INSTANCE_STATE;
    case DDS_IST_NOT_ALIVE_NO_WRITERS:
      return DDS_NOT_ALIVE_NO_WRITERS_INSTANCE_STATE;
    case DDS_IST_ALIVE:
      break;
  }
  return DDS_ALIVE_INSTANCE_STATE;
}

// Fills all members except the writer's GUID.
void fill(DDS_SampleInfo& to, const dds_sample_info_t& from, const EncodedSample& sample) {
  to.sample_state = from.sample_state == DDS_SST_READ ? DDS_READ_SAMPLE_STATE : DDS_NOT_READ_SAMPLE_STATE;
  to.view_state = from.view_state == DDS_VST_NEW ? DDS_NEW_VIEW_STATE : DDS_NOT_NEW_VIEW_STATE;
  to.instance_state = to_platform(from.instance_state);
  to.source_timestamp = to_time(from.source_timestamp);
  // A sample of the same participant has no reception time. It is in the cache from the moment it was written.
  to.reception_timestamp =
      to_time(sample.reception_time != 0 ? sample.reception_time : static_cast<std::int64_t>(from.source_timestamp));
  to.instance_handle = to_handle(sample.key_hash);
  to.disposed_generation_count = static_cast<DDS_Long>(from.disposed_generation_count);
  to.no_writers_generation_count = static_cast<DDS_Long>(from.no_writers_generation_count);
  to.sample_rank = static_cast<DDS_Long>(from.sample_rank);
  to.generation_rank = static_cast<DDS_Long>(from.generation_rank);
  to.absolute_generation_rank = static_cast<DDS_Long>(from.absolute_generation_rank);
  to.valid_data = from.valid_data ? DDS_BOOLEAN_TRUE : DDS_BOOLEAN_FALSE;
}

}  // namespace

DDS_ReturnCode_t Reader::create(Participant& participant, const EngineReaderConfig& config, EngineReaderEvents* events,
                                std::unique_ptr<EngineReader>& result, std::string& error) {
  if (!config.type) {
    error = "reader of topic \"" + config.topic + "\": no type";
    return DDS_RETCODE_BAD_PARAMETER;
  }
  std::unique_ptr<Reader> reader(new Reader(participant, events));
  const DDS_ReturnCode_t code = reader->start(config, error);
  if (code == DDS_RETCODE_OK) result = std::move(reader);
  return code;
}

DDS_ReturnCode_t Reader::start(const EngineReaderConfig& config, std::string& error) {
  if (!topic_.create(participant_.entity(), config.topic, *config.type, error)) return DDS_RETCODE_ERROR;
  if (config.filter && !topic_.set_filter(*config.filter, error)) return DDS_RETCODE_ERROR;
  const EngineQos qos = to_engine_qos(config.qos, config.ignore_own_participant);
  const Listener listener(this);
  // This class needs liveliness and matches also without `events_`: see their callbacks.
  dds_lset_liveliness_changed(listener.get(), ListenerCall<on_liveliness_changed>::call);
  dds_lset_subscription_matched(listener.get(), ListenerCall<on_subscription_matched>::call);
  if (events_) {
    dds_lset_data_available(listener.get(), ListenerCall<on_data_available>::call);
    dds_lset_requested_deadline_missed(listener.get(), ListenerCall<on_requested_deadline_missed>::call);
    dds_lset_requested_incompatible_qos(listener.get(), ListenerCall<on_requested_incompatible_qos>::call);
    dds_lset_sample_lost(listener.get(), ListenerCall<on_sample_lost>::call);
    dds_lset_sample_rejected(listener.get(), ListenerCall<on_sample_rejected>::call);
  }
  const EngineLogCapture log;
  entity_ = dds_create_reader(participant_.entity(), topic_.entity(), qos.get(), listener.get());
  if (entity_ < 0) {
    error = "reader of topic \"" + config.topic + "\": " + describe(entity_) + log.text();
    return to_return_code(entity_);
  }
  return DDS_RETCODE_OK;
}

Reader::~Reader() {
  if (entity_ > 0) dds_delete(entity_);
}

DDS_ReturnCode_t Reader::take(std::vector<EngineSlot>& slots) {
  slots.clear();
  const std::size_t room = slots.capacity();
  Scratch& scratch = Scratch::of_this_thread();
  std::string error;
  const DDS_ReturnCode_t prepared = guarded(error, DDS_RETCODE_OUT_OF_RESOURCES, [&] {
    scratch.make_room(room);
    return room > 0 ? DDS_RETCODE_OK : DDS_RETCODE_OUT_OF_RESOURCES;
  });
  if (prepared != DDS_RETCODE_OK) return prepared;
  const dds_return_t count =
      dds_take(entity_, scratch.pointers.data(), scratch.infos.data(), room, static_cast<std::uint32_t>(room));
  if (count <= 0) return count == 0 ? DDS_RETCODE_NO_DATA : to_return_code(count);
  slots.resize(static_cast<std::size_t>(count));
  EngineHandle handle = 0;  // of the writer that was looked up last: consecutive samples often have the same writer
  Match writer = {};
  for (std::size_t i = 0; i < slots.size(); ++i) {
    const dds_sample_info_t& info = scratch.infos[i];
    EngineSlot& slot = slots[i];
    slot.sample = scratch.take_sample(i);
    fill(slot.info, info, *slot.sample.get());
    if (info.publication_handle != handle) {
      handle = info.publication_handle;
      writer = matches_.find(entity_, handle);
    }
    slot.info.publication_handle = writer.guid;
    slot.lifespan = writer.lifespan;
  }
  return DDS_RETCODE_OK;
}

DDS_ReturnCode_t Reader::wait_for_historical_data(std::int64_t timeout) {
  using std::chrono::steady_clock;
  if (timeout < 0) return DDS_RETCODE_BAD_PARAMETER;
  ddsi_domaingv* const internals = participant_.internals();
  if (!internals) return DDS_RETCODE_UNSUPPORTED;
  const DDS_InstanceHandle_t me = guid();
  const steady_clock::time_point begin = steady_clock::now();
  std::chrono::microseconds pause(200);
  for (;;) {
    switch (cyclone_history_state(internals, me.keyHash.value)) {
      case CYCLONE_HISTORY_COMPLETE:
        return DDS_RETCODE_OK;
      case CYCLONE_HISTORY_NO_READER:
        return DDS_RETCODE_ALREADY_DELETED;
      case CYCLONE_HISTORY_PENDING:
        break;
    }
    // The engine gives no notification when a reader has the history, so this loop polls.
    if (timeout != never) {
      const std::chrono::nanoseconds left = std::chrono::nanoseconds(timeout) - (steady_clock::now() - begin);
      if (left.count() <= 0) return DDS_RETCODE_TIMEOUT;
      pause = std::min(pause, std::chrono::ceil<std::chrono::microseconds>(left));
    }
    std::this_thread::sleep_for(pause);
    pause = std::min<std::chrono::microseconds>(2 * pause, std::chrono::milliseconds(5));
  }
}

DDS_InstanceHandle_t Reader::guid() const {
  return guid_of(entity_);
}

std::vector<DDS_InstanceHandle_t> Reader::matched_publications() {
  return matches_.all(entity_);
}

DDS_SubscriptionMatchedStatus Reader::to_platform(dds_entity_t reader,
                                                  const dds_subscription_matched_status_t& status) {
  DDS_SubscriptionMatchedStatus result = {};
  result.total_count = static_cast<DDS_Long>(status.total_count);
  result.total_count_change = status.total_count_change;
  result.current_count = static_cast<DDS_Long>(status.current_count);
  result.current_count_change = status.current_count_change;
  if (status.last_publication_handle != 0)
    result.last_publication_handle = matches_.find(reader, status.last_publication_handle).guid;
  return result;
}

DDS_LivelinessChangedStatus Reader::to_platform(dds_entity_t reader, const dds_liveliness_changed_status_t& status) {
  DDS_LivelinessChangedStatus result = {};
  result.alive_count = static_cast<DDS_Long>(status.alive_count);
  result.not_alive_count = static_cast<DDS_Long>(status.not_alive_count);
  result.alive_count_change = status.alive_count_change;
  result.not_alive_count_change = status.not_alive_count_change;
  if (status.last_publication_handle != 0)
    result.last_publication_handle = matches_.find(reader, status.last_publication_handle).guid;
  return result;
}

void Reader::on_data_available(dds_entity_t, void* self) {
  const ReaderCallback scope(static_cast<Reader*>(self)->topic_);
  static_cast<Reader*>(self)->events_->data_available();
}

void Reader::on_subscription_matched(dds_entity_t reader, dds_subscription_matched_status_t status, void* self) {
  auto& me = *static_cast<Reader*>(self);
  const ReaderCallback scope(me.topic_);
  const DDS_SubscriptionMatchedStatus translated = me.to_platform(reader, status);
  if (status.current_count_change < 0) me.matches_.forget(status.last_publication_handle);
  if (me.events_) me.events_->subscription_matched(translated);
}

void Reader::on_liveliness_changed(dds_entity_t reader, dds_liveliness_changed_status_t status, void* self) {
  auto& me = *static_cast<Reader*>(self);
  const ReaderCallback scope(me.topic_);
  if (status.not_alive_count_change > 0) {
    // After a silent writer has lost its liveliness, the engine reports it as alive only when a sample of it arrives. A
    // writer that does not write would never be alive again. So the engine forgets the participant here and discovers
    // it again at its next announcement.
    const Match writer = me.matches_.find(reader, status.last_publication_handle);
    if (writer.guid.isValid && writer.automatic_liveliness && me.participant_.internals())
      me.participant_.discovery().rediscover(writer.participant);
  }
  if (me.events_) me.events_->liveliness_changed(me.to_platform(reader, status));
}

void Reader::on_requested_deadline_missed(dds_entity_t reader, dds_requested_deadline_missed_status_t status,
                                          void* self) {
  const ReaderCallback scope(static_cast<Reader*>(self)->topic_);
  SampleSlot slot = nullptr;
  dds_instance_get_key(reader, status.last_instance_handle, &slot);
  const SampleRef key(slot);
  static_cast<Reader*>(self)->events_->requested_deadline_missed({static_cast<DDS_Long>(status.total_count),
                                                                  status.total_count_change,
                                                                  key ? to_handle(key->key_hash) : DDS_HANDLE_NIL});
}

void Reader::on_requested_incompatible_qos(dds_entity_t reader, dds_requested_incompatible_qos_status_t status,
                                           void* self) {
  auto& me = *static_cast<Reader*>(self);
  const ReaderCallback scope(me.topic_);
  me.participant_.mismatches().report(reader, true);
  me.events_->requested_incompatible_qos(to_status(status));
}

void Reader::on_sample_lost(dds_entity_t, dds_sample_lost_status_t status, void* self) {
  const ReaderCallback scope(static_cast<Reader*>(self)->topic_);
  static_cast<Reader*>(self)->events_->sample_lost(
      {static_cast<DDS_Long>(status.total_count), status.total_count_change});
}

void Reader::on_sample_rejected(dds_entity_t, dds_sample_rejected_status_t status, void* self) {
  const ReaderCallback scope(static_cast<Reader*>(self)->topic_);
  static_cast<Reader*>(self)->events_->sample_rejected(
      {static_cast<DDS_Long>(status.total_count), status.total_count_change, DDS_HANDLE_NIL});
}

}  // namespace tessivar::platform::cyclone
