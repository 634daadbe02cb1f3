// SPDX-License-Identifier: Apache-2.0

#include "tessivar/platform/participant.h"

#include "tessivar/platform/detail/callback.h"
#include "tessivar/platform/detail/log.h"
#include "tessivar/platform/participant/participant_config.h"
#include "tessivar/platform/participant/participant_impl.h"
#include "tessivar/platform/participant/topic_impl.h"
#include "tessivar/platform/reader/reader_impl.h"
#include "tessivar/platform/system/guarded.h"

#include <algorithm>
#include <chrono>
#include <cstring>

using tessivar::platform::BuiltinReader;
using tessivar::platform::CompiledFilter;
using tessivar::platform::EngineParticipant;
using tessivar::platform::guarded;
using tessivar::platform::in_callback;
using tessivar::platform::MutexLock;
using tessivar::platform::refuse;
using tessivar::platform::refused_in_callback;
using tessivar::platform::refused_in_filter;
using tessivar::platform::UniqueMutexLock;

DDSDomainParticipant::Impl::Impl(DDS_DomainId_t domain, const DDS_DomainParticipantQos& participant_qos)
    : domain_id(domain), qos(participant_qos) {}

DDSDomainParticipant::Impl::~Impl() {
  owned_engine.reset();
  delete publisher;
  delete subscriber;
  delete builtin_subscriber;
}

bool DDSDomainParticipant::Impl::empty() const {
  const MutexLock lock(mutex);
  return topics.empty() && filtered_topics.empty() && writers.empty() && readers.empty();
}

bool DDSDomainParticipant::Impl::autoenable() const {
  const MutexLock lock(mutex);
  return engine && qos.entity_factory.autoenable_created_entities;
}

bool DDSDomainParticipant::Impl::cannot_enable_entity(const char* operation) const {
  return ignores_itself ? refused_in_filter(operation) : refused_in_callback(operation);
}

DDSTopic* DDSDomainParticipant::Impl::find_topic(std::string_view name) const {
  const auto topic =
      std::find_if(topics.begin(), topics.end(), [&](const DDSTopic* one) { return one->impl().name == name; });
  return topic == topics.end() ? nullptr : *topic;
}

DDSContentFilteredTopic* DDSDomainParticipant::Impl::find_filtered_topic(std::string_view name) const {
  const auto topic = std::find_if(filtered_topics.begin(), filtered_topics.end(),
                                  [&](const DDSContentFilteredTopic* one) { return one->impl().name == name; });
  return topic == filtered_topics.end() ? nullptr : *topic;
}

// --- pins ------------------------------------------------------------------------------------------------------------

void DDSDomainParticipant::Impl::pin(const void* entity) {
  pins.push_back({entity, std::this_thread::get_id()});
}

void DDSDomainParticipant::Impl::unpin(const void* entity) {
  {
    const MutexLock lock(mutex);
    pins.erase(std::find_if(pins.begin(), pins.end(), [&](const Pin& pin) {
      return pin.entity == entity && pin.by == std::this_thread::get_id();
    }));
  }
  changed.notify_all();
}

void DDSDomainParticipant::Impl::await_unpinned(UniqueMutexLock& lock, const void* entity) {
  changed.wait(lock, [&]() TESSIVAR_REQUIRES(mutex) {
    return std::none_of(pins.begin(), pins.end(),
                        [&](const Pin& pin) { return pin.entity == entity && pin.by != std::this_thread::get_id(); });
  });
}

// --- enabling --------------------------------------------------------------------------------------------------------

DDS_ReturnCode_t DDSDomainParticipant::Impl::enable() {
  if (engine && in_callback()) return DDS_RETCODE_OK;  // the thread may hold `enabling` already
  if (refused_in_callback("DDSDomainParticipant::enable")) return DDS_RETCODE_ILLEGAL_OPERATION;
  const MutexLock enabling_lock(enabling);
  if (!engine) {
    const DDS_ReturnCode_t result = start();
    if (result != DDS_RETCODE_OK) return result;
  }
  if (!enables_contained) return DDS_RETCODE_OK;
  const DDS_ReturnCode_t result = enable_contained();
  enables_contained = false;
  return result;
}

DDS_ReturnCode_t DDSDomainParticipant::Impl::start() {
  tessivar::platform::EngineParticipantConfig config;
  std::string error;
  DDS_ReturnCode_t result = DDS_RETCODE_OK;
  {
    const MutexLock lock(mutex);
    result = tessivar::platform::make_config(domain_id, qos, config, error);
    if (result != DDS_RETCODE_OK) return refuse("DDSDomainParticipant::enable", error, result);
    starting = true;
    enables_contained = qos.entity_factory.autoenable_created_entities;
  }
  result = tessivar::platform::engine().create_participant(config, this, owned_engine, error);
  {
    const MutexLock lock(mutex);
    starting = false;
    if (result == DDS_RETCODE_OK) {
      engine = owned_engine.get();
      const DDS_InstanceHandle_t guid = owned_engine->guid();
      const auto word = [&](int at) {
        const DDS_Octet* octets = guid.keyHash.value + at;
        return static_cast<DDS_UnsignedLong>(octets[0]) << 24 | static_cast<DDS_UnsignedLong>(octets[1]) << 16 |
               static_cast<DDS_UnsignedLong>(octets[2]) << 8 | octets[3];
      };
      qos.wire_protocol = {owned_engine->participant_index(), word(0), word(4), word(8)};
    }
  }
  changed.notify_all();
  if (result != DDS_RETCODE_OK) {
    return refuse("DDSDomainParticipant::enable", "domain " + std::to_string(domain_id) + ": " + error, result);
  }
  return DDS_RETCODE_OK;
}

DDS_ReturnCode_t DDSDomainParticipant::Impl::enable_contained() {
  DDS_ReturnCode_t result = DDS_RETCODE_OK;
  // Enable one entity at a time, because the application may create and delete others meanwhile.
  std::vector<const void*> tried;
  const auto enable_all = [&](auto Impl::*list) {
    for (;;) {
      UniqueMutexLock lock(mutex);
      const auto& entities = this->*list;
      const auto next = std::find_if(entities.begin(), entities.end(), [&](const auto* entity) {
        return std::find(tried.begin(), tried.end(), entity) == tried.end();
      });
      if (next == entities.end()) return;
      auto* const entity = *next;
      tried.push_back(entity);
      pin(entity);
      lock.unlock();
      const DDS_ReturnCode_t enabled = entity->enable();
      if (result == DDS_RETCODE_OK) result = enabled;
      unpin(entity);
    }
  };
  enable_all(&Impl::writers);
  enable_all(&Impl::readers);
  return result;
}

// --- discovery -------------------------------------------------------------------------------------------------------

void DDSDomainParticipant::Impl::participant_seen(const DDS_ParticipantBuiltinTopicData& data,
                                                  const DDS_InstanceHandle_t& handle, bool alive) {
  {
    // If a participant is discovered while the engine starts, wait until `engine` is set, because the listener may call
    // ignore_participant(). The time limit is for an engine that fails to start and waits for this call.
    UniqueMutexLock lock(mutex);
    changed.wait_for(lock, std::chrono::seconds(1), [this]() TESSIVAR_REQUIRES(mutex) { return !starting; });
  }
  DDSDataReader::Impl& reader = builtin_reader->impl();
  static_cast<BuiltinReader&>(reader).participants.update(data, handle, alive);
  reader.report(DDS_DATA_AVAILABLE_STATUS);
}

// --- filters' parameters ---------------------------------------------------------------------------------------------

DDS_ReturnCode_t DDSDomainParticipant::Impl::set_parameters(DDSContentFilteredTopic& topic,
                                                            const DDS_StringSeq& parameters) {
  if (refused_in_filter("DDSContentFilteredTopic::set_expression_parameters")) return DDS_RETCODE_ILLEGAL_OPERATION;
  DDSContentFilteredTopic::Impl& impl = topic.impl();
  // Destroyed after the lock is released, because the destructor may call the application's finalize().
  std::shared_ptr<CompiledFilter> compiled;
  std::shared_ptr<CompiledFilter> before;
  const MutexLock changing(impl.changing);
  DDS_ReturnCode_t result = DDS_RETCODE_OK;
  compiled = CompiledFilter::compile(impl.filter, impl.expression, parameters, impl.topic.impl().type, result);
  if (!compiled) {
    return refuse("DDSContentFilteredTopic::set_expression_parameters",
                  "topic \"" + impl.name + "\": filter \"" + impl.filter_name + "\" refused its parameters", result);
  }

  // A reader that is created from now on starts with the new filter.
  std::vector<DDSDataReader*> concerned;
  {
    const MutexLock lock(mutex);
    const MutexLock topic_lock(impl.mutex);
    concerned.reserve(readers.size());
    pins.reserve(pins.size() + readers.size());
    DDS_StringSeq own;
    if (!own.copy(parameters)) return DDS_RETCODE_OUT_OF_RESOURCES;
    impl.parameters = std::move(own);  // nothing throws from here on
    before = std::exchange(impl.compiled, compiled);
    for (DDSDataReader* reader : readers) {
      if (reader->impl().description.filtered_topic != &topic) continue;
      concerned.push_back(reader);
      pin(reader);
    }
  }
  for (DDSDataReader* reader : concerned) {
    const DDS_ReturnCode_t set = reader->impl().samples->subscriptions.set_filter(compiled);
    if (result == DDS_RETCODE_OK) result = set;
    unpin(reader);
  }
  return result;
}

// --- the public class ------------------------------------------------------------------------------------------------

DDSDomainParticipant::DDSDomainParticipant(std::unique_ptr<Impl> impl) : impl_(std::move(impl)) {
  impl_->self = this;
  impl_->publisher = new DDSPublisher(this);
  impl_->subscriber = new DDSSubscriber(this);
  impl_->builtin_subscriber = new DDSSubscriber(this);
  impl_->builtin_reader = new DDSParticipantBuiltinTopicDataDataReader(
      DDSDataReader::ImplPtr(new BuiltinReader(*this, impl_->builtin_subscriber)));
}

DDSDomainParticipant::~DDSDomainParticipant() {
  impl_->engine = nullptr;
  impl_->owned_engine.reset();
  delete impl_->builtin_reader;
}

DDS_ReturnCode_t DDSDomainParticipant::enable() {
  return guarded("DDSDomainParticipant::enable", DDS_RETCODE_OUT_OF_RESOURCES, [&] { return impl_->enable(); });
}

DDS_InstanceHandle_t DDSDomainParticipant::get_instance_handle() const {
  const EngineParticipant* engine = impl_->engine;
  return engine ? engine->guid() : DDS_HANDLE_NIL;
}

std::shared_ptr<tessivar::platform::EndpointList> DDSDomainParticipant::endpoints() const {
  return impl_->endpoints;
}

DDS_DomainId_t DDSDomainParticipant::get_domain_id() const {
  return impl_->domain_id;
}

DDS_ReturnCode_t DDSDomainParticipant::get_qos(DDS_DomainParticipantQos& qos) const {
  return guarded("DDSDomainParticipant::get_qos", DDS_RETCODE_OUT_OF_RESOURCES, [&]() -> DDS_ReturnCode_t {
    const MutexLock lock(impl_->mutex);
    qos = impl_->qos;
    return DDS_RETCODE_OK;
  });
}

DDS_ReturnCode_t DDSDomainParticipant::set_listener(DDSDomainParticipantListener* listener, DDS_StatusMask mask) {
  if (refused_in_filter("DDSDomainParticipant::set_listener")) return DDS_RETCODE_ILLEGAL_OPERATION;
  impl_->listener.set(listener, mask);
  return DDS_RETCODE_OK;
}

DDSDomainParticipantListener* DDSDomainParticipant::get_listener() const {
  return impl_->listener.get();
}

DDSPublisher* DDSDomainParticipant::get_implicit_publisher() {
  return impl_->publisher;
}

DDSSubscriber* DDSDomainParticipant::get_implicit_subscriber() {
  return impl_->subscriber;
}

DDSSubscriber* DDSDomainParticipant::get_builtin_subscriber() {
  return impl_->builtin_subscriber;
}

DDSDataReader* DDSSubscriber::lookup_datareader(const char* topic_name) {
  const DDSDomainParticipant::Impl& participant = participant_->impl();
  if (this != participant.builtin_subscriber || !topic_name) return nullptr;
  return std::strcmp(topic_name, DDS_PARTICIPANT_TOPIC_NAME) == 0 ? participant.builtin_reader : nullptr;
}
