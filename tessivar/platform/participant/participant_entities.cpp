// SPDX-License-Identifier: Apache-2.0

// The operations of a participant on its types, topics, filters, writers, readers and peers.
#include "tessivar/platform/detail/callback.h"
#include "tessivar/platform/participant.h"
#include "tessivar/platform/participant/participant_config.h"
#include "tessivar/platform/participant/participant_impl.h"
#include "tessivar/platform/participant/topic_impl.h"
#include "tessivar/platform/reader/reader_impl.h"
#include "tessivar/platform/system/guarded.h"
#include "tessivar/platform/writer/writer_impl.h"

#include <algorithm>
#include <cstring>

using tessivar::platform::CompiledFilter;
using tessivar::platform::EngineParticipant;
using tessivar::platform::guarded;
using tessivar::platform::refuse;
using tessivar::platform::refused_in_callback;

namespace {

std::nullptr_t refuse_creation(const char* operation, const std::string& text) {
  refuse(operation, text);
  return nullptr;
}

std::string quoted(const char* text) {
  return text ? '"' + std::string(text) + '"' : "(null)";
}

template <class T>
bool remove(std::vector<T*>& entities, const T* entity) {
  return std::erase(entities, entity) > 0;
}

}  // namespace

// --- types -----------------------------------------------------------------------------------------------------------

DDS_ReturnCode_t DDSDomainParticipant::register_type(const char* type_name, const PRESTypePlugin& plugin) {
  return guarded("DDSDomainParticipant::register_type", DDS_RETCODE_OUT_OF_RESOURCES,
                 [&] { return impl_->register_type(type_name, plugin); });
}

DDS_ReturnCode_t DDSDomainParticipant::Impl::register_type(const char* type_name, const PRESTypePlugin& plugin) {
  if (!type_name || !*type_name) return refuse("register_type", "the type's name is missing");
  if (!plugin.type_support || !plugin.type_name) {
    return refuse("register_type", "type " + quoted(type_name) + " comes without type support or name");
  }
  const std::lock_guard lock(mutex);
  if (const auto known = types.find(type_name); known != types.end()) {
    const bool same = std::strcmp(known->second->plugin.type_name, plugin.type_name) == 0;
    return same ? DDS_RETCODE_OK
                : refuse("register_type", "type " + quoted(type_name) + " is registered as another type",
                         DDS_RETCODE_PRECONDITION_NOT_MET);
  }
  auto type = std::make_unique<Type>(Type{plugin, 0});
  type->plugin.malformed = std::make_shared<tessivar::platform::Count>();
  const auto added = types.emplace(type_name, std::move(type)).first;
  added->second->plugin.registered_name = added->first.c_str();
  return DDS_RETCODE_OK;
}

DDS_ReturnCode_t DDSDomainParticipant::unregister_type(const char* type_name) {
  if (!type_name) return DDS_RETCODE_BAD_PARAMETER;
  const std::lock_guard lock(impl_->mutex);
  const auto known = impl_->types.find(type_name);
  if (known == impl_->types.end()) return DDS_RETCODE_BAD_PARAMETER;
  if (known->second->users > 0) return DDS_RETCODE_PRECONDITION_NOT_MET;
  impl_->types.erase(known);
  return DDS_RETCODE_OK;
}

bool DDSDomainParticipant::is_type_registered(const char* type_name) const {
  const std::lock_guard lock(impl_->mutex);
  return type_name && impl_->types.contains(type_name);
}

// --- topics ----------------------------------------------------------------------------------------------------------

DDSTopic* DDSDomainParticipant::create_topic(const char* topic_name, const char* type_name, const DDS_TopicQos& qos,
                                             DDSTopicListener* listener, DDS_StatusMask mask) {
  constexpr const char* operation = "create_topic";
  if (!topic_name || !*topic_name) return refuse_creation(operation, "the topic's name is missing");
  if (!type_name) return refuse_creation(operation, "topic " + quoted(topic_name) + ": the type's name is missing");
  DDS_TopicQos own = qos;
  if (&qos == &DDS_TOPIC_QOS_DEFAULT) get_default_topic_qos_w_topic_name(own, topic_name);

  const std::lock_guard lock(impl_->mutex);
  if (impl_->find_topic(topic_name) || impl_->find_filtered_topic(topic_name)) {
    return refuse_creation(operation, "topic " + quoted(topic_name) + " exists already");
  }
  const auto type = impl_->types.find(type_name);
  if (type == impl_->types.end()) {
    return refuse_creation(operation,
                           "topic " + quoted(topic_name) + ": type " + quoted(type_name) + " is not registered");
  }
  auto* topic = new DDSTopic(std::unique_ptr<DDSTopic::Impl>(
      new DDSTopic::Impl{*this, topic_name, type_name, type->second->plugin, own, {}, 0}));
  topic->set_listener(listener, mask);
  ++type->second->users;
  impl_->topics.push_back(topic);
  return topic;
}

DDS_ReturnCode_t DDSDomainParticipant::delete_topic(DDSTopic* topic) {
  if (!topic) return DDS_RETCODE_BAD_PARAMETER;
  if (impl_->made_here.inherited()) return DDS_RETCODE_OK;
  const std::lock_guard lock(impl_->mutex);
  const auto own = std::find(impl_->topics.begin(), impl_->topics.end(), topic);
  if (own == impl_->topics.end() || topic->impl().users > 0) return DDS_RETCODE_PRECONDITION_NOT_MET;
  --impl_->types.find(topic->impl().type_name)->second->users;
  impl_->topics.erase(own);
  delete topic;
  return DDS_RETCODE_OK;
}

DDSContentFilteredTopic* DDSDomainParticipant::create_contentfilteredtopic_with_filter(
    const char* name, DDSTopic* related_topic, const char* filter_expression,
    const DDS_StringSeq& expression_parameters, const char* filter_name) {
  constexpr const char* operation = "create_contentfilteredtopic_with_filter";
  if (!name || !*name) return refuse_creation(operation, "the filtered topic's name is missing");
  const std::string title = "filtered topic " + quoted(name);
  if (!related_topic) return refuse_creation(operation, title + ": the related topic is missing");
  if (!filter_expression) return refuse_creation(operation, title + ": the filter expression is missing");
  if (!filter_name) return refuse_creation(operation, title + ": the filter's name is missing");

  // The topic and the filter count as used from here on, so they are not removed while the filter is compiled without
  // the lock.
  DDSContentFilter* filter = nullptr;
  const auto release = [&] {
    --related_topic->impl().users;
    --impl_->filters.find(filter_name)->second.users;
  };
  {
    const std::lock_guard lock(impl_->mutex);
    if (std::find(impl_->topics.begin(), impl_->topics.end(), related_topic) == impl_->topics.end()) {
      return refuse_creation(operation, title + ": the related topic is not this participant's");
    }
    if (impl_->find_topic(name) || impl_->find_filtered_topic(name)) {
      return refuse_creation(operation, title + " exists already");
    }
    const auto registered = impl_->filters.find(filter_name);
    if (registered == impl_->filters.end()) {
      return refuse_creation(operation, title + ": no content filter " + quoted(filter_name) + " is registered");
    }
    filter = registered->second.filter;
    ++registered->second.users;
    ++related_topic->impl().users;
  }
  DDS_ReturnCode_t result = DDS_RETCODE_OK;
  auto compiled =
      CompiledFilter::compile(*filter, filter_expression, expression_parameters, related_topic->impl().type, result);
  const std::lock_guard lock(impl_->mutex);
  if (!compiled) {
    release();
    return refuse_creation(operation, title + ": filter " + quoted(filter_name) + " refused expression " +
                                          quoted(filter_expression) + ", return code " + std::to_string(result));
  }
  if (impl_->find_topic(name) || impl_->find_filtered_topic(name)) {
    release();
    return refuse_creation(operation, title + " exists already");
  }
  auto impl = std::unique_ptr<DDSContentFilteredTopic::Impl>(
      new DDSContentFilteredTopic::Impl{*related_topic, name, filter_expression, filter_name, *filter});
  impl->parameters = expression_parameters;
  impl->compiled = std::move(compiled);
  return impl_->filtered_topics.emplace_back(new DDSContentFilteredTopic(std::move(impl)));
}

DDS_ReturnCode_t DDSDomainParticipant::delete_contentfilteredtopic(DDSContentFilteredTopic* topic) {
  if (!topic) return DDS_RETCODE_BAD_PARAMETER;
  if (impl_->made_here.inherited()) return DDS_RETCODE_OK;
  {
    const std::lock_guard lock(impl_->mutex);
    const auto own = std::find(impl_->filtered_topics.begin(), impl_->filtered_topics.end(), topic);
    if (own == impl_->filtered_topics.end() || topic->impl().users > 0) return DDS_RETCODE_PRECONDITION_NOT_MET;
    impl_->filtered_topics.erase(own);
    --topic->impl().topic.impl().users;
  }
  const std::string filter = topic->impl().filter_name;
  delete topic;  // finalises the filter's data without the lock, before the filter can be unregistered
  const std::lock_guard lock(impl_->mutex);
  --impl_->filters.find(filter)->second.users;
  return DDS_RETCODE_OK;
}

DDSTopicDescription* DDSDomainParticipant::lookup_topicdescription(const char* name) {
  if (!name) return nullptr;
  const std::lock_guard lock(impl_->mutex);
  if (DDSTopic* topic = impl_->find_topic(name)) return topic;
  return impl_->find_filtered_topic(name);
}

// --- content filters -------------------------------------------------------------------------------------------------

DDS_ReturnCode_t DDSDomainParticipant::register_contentfilter(const char* filter_name, const DDSContentFilter* filter) {
  if (!filter_name || !*filter_name || !filter) {
    return refuse("register_contentfilter", "filter " + quoted(filter_name) + ": name or filter is missing");
  }
  const std::lock_guard lock(impl_->mutex);
  const bool added =
      impl_->filters.try_emplace(filter_name, Impl::Filter{const_cast<DDSContentFilter*>(filter), 0}).second;
  return added ? DDS_RETCODE_OK : DDS_RETCODE_PRECONDITION_NOT_MET;
}

DDSContentFilter* DDSDomainParticipant::lookup_contentfilter(const char* filter_name) {
  if (!filter_name) return nullptr;
  const std::lock_guard lock(impl_->mutex);
  const auto known = impl_->filters.find(filter_name);
  return known == impl_->filters.end() ? nullptr : known->second.filter;
}

DDS_ReturnCode_t DDSDomainParticipant::unregister_contentfilter(const char* filter_name) {
  if (!filter_name) return DDS_RETCODE_BAD_PARAMETER;
  const std::lock_guard lock(impl_->mutex);
  const auto known = impl_->filters.find(filter_name);
  if (known == impl_->filters.end()) return DDS_RETCODE_BAD_PARAMETER;
  if (known->second.users > 0) return DDS_RETCODE_PRECONDITION_NOT_MET;
  impl_->filters.erase(known);
  return DDS_RETCODE_OK;
}

// --- writers and readers ---------------------------------------------------------------------------------------------

DDSDataWriter* DDSDomainParticipant::create_datawriter(DDSTopic* topic, const DDS_DataWriterQos& qos,
                                                       DDSDataWriterListener* listener, DDS_StatusMask mask) {
  constexpr const char* operation = "create_datawriter";
  if (!topic) return refuse_creation(operation, "null topic");
  DDS_DataWriterQos own;
  if (&qos == &DDS_DATAWRITER_QOS_DEFAULT || &qos == &DDS_DATAWRITER_QOS_USE_TOPIC_QOS) {
    get_default_datawriter_qos_w_topic_name(own, topic->get_name());
    if (&qos == &DDS_DATAWRITER_QOS_USE_TOPIC_QOS) DDS_DataWriterQos_copy_from_topic_qos(own, topic->impl().qos);
  } else {
    own = qos;
  }
  DDSDataWriter* writer = nullptr;
  {
    const std::lock_guard lock(impl_->mutex);
    if (std::find(impl_->topics.begin(), impl_->topics.end(), topic) == impl_->topics.end()) {
      return refuse_creation(operation, "the topic is not this participant's");
    }
    writer = topic->impl().type.type_support->create_datawriterI(
        DDSDataWriter::ImplPtr(new DDSDataWriter::Impl(*topic, impl_->publisher, own)));
    if (!writer) {
      return refuse_creation(operation, "topic " + quoted(topic->get_name()) + ": the type makes no writer");
    }
    writer->set_listener(listener, mask);
    ++topic->impl().users;
    impl_->writers.push_back(writer);
    impl_->endpoints->add(writer->counters());
  }
  if (impl_->autoenable() && writer->enable() != DDS_RETCODE_OK) {
    delete_datawriter(writer);
    return nullptr;
  }
  return writer;
}

DDS_ReturnCode_t DDSDomainParticipant::delete_datawriter(DDSDataWriter* writer) {
  if (!writer) return DDS_RETCODE_BAD_PARAMETER;
  if (impl_->made_here.inherited()) return DDS_RETCODE_OK;
  if (refused_in_callback("DDSDomainParticipant::delete_datawriter")) return DDS_RETCODE_ILLEGAL_OPERATION;
  {
    std::unique_lock lock(impl_->mutex);
    if (!remove(impl_->writers, writer)) return DDS_RETCODE_PRECONDITION_NOT_MET;
    impl_->await_unpinned(lock, writer);
  }
  DDSTopic& topic = writer->impl().topic;
  writer->impl().close();
  topic.impl().type.type_support->destroy_datawriterI(writer);
  const std::lock_guard lock(impl_->mutex);
  --topic.impl().users;
  return DDS_RETCODE_OK;
}

DDSDataReader* DDSDomainParticipant::create_datareader(DDSTopicDescription* description, const DDS_DataReaderQos& qos,
                                                       DDSDataReaderListener* listener, DDS_StatusMask mask) {
  constexpr const char* operation = "create_datareader";
  if (!description) return refuse_creation(operation, "null topic");
  auto* filtered = DDSContentFilteredTopic::narrow(description);
  DDSTopic* topic = filtered ? filtered->get_related_topic() : DDSTopic::narrow(description);
  if (!topic) return refuse_creation(operation, "neither a topic nor a filtered topic");
  DDS_DataReaderQos own;
  if (&qos == &DDS_DATAREADER_QOS_DEFAULT || &qos == &DDS_DATAREADER_QOS_USE_TOPIC_QOS) {
    get_default_datareader_qos_w_topic_name(own, topic->get_name());
    if (&qos == &DDS_DATAREADER_QOS_USE_TOPIC_QOS) DDS_DataReaderQos_copy_from_topic_qos(own, topic->impl().qos);
  } else {
    own = qos;
  }
  DDSDataReader* reader = nullptr;
  {
    const std::lock_guard lock(impl_->mutex);
    const bool ours = filtered ? std::find(impl_->filtered_topics.begin(), impl_->filtered_topics.end(), filtered) !=
                                     impl_->filtered_topics.end()
                               : std::find(impl_->topics.begin(), impl_->topics.end(), topic) != impl_->topics.end();
    if (!ours) return refuse_creation(operation, "the topic is not this participant's");
    reader = topic->impl().type.type_support->create_datareaderI(
        DDSDataReader::ImplPtr(new DDSDataReader::Impl(*this, topic, filtered, impl_->subscriber, own)));
    if (!reader) {
      return refuse_creation(operation, "topic " + quoted(topic->get_name()) + ": the type makes no reader");
    }
    reader->set_listener(listener, mask);
    ++(filtered ? filtered->impl().users : topic->impl().users);
    impl_->readers.push_back(reader);
    impl_->endpoints->add(reader->counters());
  }
  if (impl_->autoenable() && reader->enable() != DDS_RETCODE_OK) {
    delete_datareader(reader);
    return nullptr;
  }
  return reader;
}

DDS_ReturnCode_t DDSDomainParticipant::delete_datareader(DDSDataReader* reader) {
  if (!reader) return DDS_RETCODE_BAD_PARAMETER;
  if (impl_->made_here.inherited()) return DDS_RETCODE_OK;
  if (refused_in_callback("DDSDomainParticipant::delete_datareader")) return DDS_RETCODE_ILLEGAL_OPERATION;
  {
    const std::lock_guard lock(impl_->mutex);
    if (std::find(impl_->readers.begin(), impl_->readers.end(), reader) == impl_->readers.end()) {
      return DDS_RETCODE_PRECONDITION_NOT_MET;
    }
  }
  {
    const std::lock_guard conditions(reader->impl().conditions_mutex);
    if (!reader->impl().conditions.empty() || reader->impl().loans->any_out()) return DDS_RETCODE_PRECONDITION_NOT_MET;
  }
  return impl_->destroy(reader);
}

DDS_ReturnCode_t DDSDomainParticipant::Impl::destroy(DDSDataReader* reader) {
  {
    std::unique_lock lock(mutex);
    if (!remove(readers, reader)) return DDS_RETCODE_PRECONDITION_NOT_MET;
    await_unpinned(lock, reader);
  }
  DDSTopic& topic = *reader->impl().topic;
  DDSContentFilteredTopic* filtered = reader->impl().filtered_topic;
  reader->impl().close();
  topic.impl().type.type_support->destroy_datareaderI(reader);
  const std::lock_guard lock(mutex);
  --(filtered ? filtered->impl().users : topic.impl().users);
  return DDS_RETCODE_OK;
}

DDS_ReturnCode_t DDSDomainParticipant::delete_contained_entities() {
  if (impl_->made_here.inherited()) return DDS_RETCODE_OK;
  if (refused_in_callback("DDSDomainParticipant::delete_contained_entities")) return DDS_RETCODE_ILLEGAL_OPERATION;
  const auto delete_all = [this](auto& entities, const auto& destroy) {
    for (;;) {
      std::unique_lock lock(impl_->mutex);
      if (entities.empty()) return DDS_RETCODE_OK;
      auto* const entity = entities.back();
      lock.unlock();
      const DDS_ReturnCode_t result = destroy(entity);
      if (result != DDS_RETCODE_OK) return result;
    }
  };
  DDS_ReturnCode_t result = delete_all(impl_->readers, [&](DDSDataReader* reader) { return impl_->destroy(reader); });
  if (result != DDS_RETCODE_OK) return result;
  result = delete_all(impl_->writers, [&](DDSDataWriter* writer) { return delete_datawriter(writer); });
  if (result != DDS_RETCODE_OK) return result;
  result = delete_all(impl_->filtered_topics,
                      [&](DDSContentFilteredTopic* topic) { return delete_contentfilteredtopic(topic); });
  if (result != DDS_RETCODE_OK) return result;
  return delete_all(impl_->topics, [&](DDSTopic* topic) { return delete_topic(topic); });
}

// --- peers and ignoring ----------------------------------------------------------------------------------------------

namespace {

/// Before the participant is enabled, `change_initial` changes its initial peers. After that, `change` changes the
/// peers of the engine.
template <class ChangeInitial>
DDS_ReturnCode_t change_peer(DDSDomainParticipant::Impl& participant, const char* operation, const char* peer,
                             const ChangeInitial& change_initial,
                             DDS_ReturnCode_t (EngineParticipant::*change)(const std::string&)) {
  if (!peer) return refuse(operation, "null peer");
  std::string error;
  const auto parsed = tessivar::platform::parse_peer(peer, error);
  if (!parsed) return refuse(operation, error);
  {
    std::unique_lock lock(participant.mutex);
    participant.changed.wait(lock, [&] { return !participant.starting; });
    if (!participant.engine) return change_initial(participant.qos.discovery.initial_peers);
  }
  if (parsed->address.empty()) return DDS_RETCODE_OK;
  const DDS_ReturnCode_t result = (participant.engine.load()->*change)(parsed->address);
  if (result == DDS_RETCODE_OK) return result;
  return refuse(operation, "peer " + quoted(peer) + " cannot be used, return code " + std::to_string(result), result);
}

}  // namespace

DDS_ReturnCode_t DDSDomainParticipant::add_peer(const char* peer) {
  const auto append = [&](DDS_StringSeq& peers) {
    const DDS_Long count = peers.length();
    return peers.ensure_length(count + 1, count + 1) && DDS_String_replace(&peers[count], peer)
               ? DDS_RETCODE_OK
               : DDS_RETCODE_OUT_OF_RESOURCES;
  };
  return change_peer(*impl_, "add_peer", peer, append, &EngineParticipant::add_peer);
}

DDS_ReturnCode_t DDSDomainParticipant::remove_peer(const char* peer) {
  const auto erase = [&](DDS_StringSeq& peers) {
    DDS_Long kept = 0;
    for (DDS_Long i = 0; i < peers.length(); ++i) {
      if (peers[i] && std::strcmp(peers[i], peer) == 0) continue;
      std::swap(peers[kept++], peers[i]);
    }
    if (kept == peers.length()) {
      return refuse("remove_peer", "peer " + quoted(peer) + " is not among the initial peers");
    }
    return peers.length(kept) ? DDS_RETCODE_OK : DDS_RETCODE_ERROR;
  };
  return change_peer(*impl_, "remove_peer", peer, erase, &EngineParticipant::remove_peer);
}

DDS_ReturnCode_t DDSDomainParticipant::get_network_interfaces(DDS_StringSeq& interfaces) const {
  const EngineParticipant* engine = impl_->engine;
  if (!engine) return DDS_RETCODE_NOT_ENABLED;
  const std::vector<std::string> names = engine->interfaces();
  const auto count = static_cast<DDS_Long>(names.size());
  if (!interfaces.ensure_length(count, count)) return DDS_RETCODE_OUT_OF_RESOURCES;
  for (DDS_Long i = 0; i < count; ++i) {
    if (!DDS_String_replace(&interfaces[i], names[static_cast<std::size_t>(i)].c_str()))
      return DDS_RETCODE_OUT_OF_RESOURCES;
  }
  return DDS_RETCODE_OK;
}

DDS_ReturnCode_t DDSDomainParticipant::ignore_participant(const DDS_InstanceHandle_t& handle) {
  if (!handle.isValid) return refuse("ignore_participant", "nil handle");
  EngineParticipant* engine = impl_->engine;
  if (!engine) return DDS_RETCODE_NOT_ENABLED;
  const DDS_InstanceHandle_t own = engine->guid();
  if (DDS_InstanceHandle_equals(&own, &handle)) {
    impl_->ignores_itself = true;
    return DDS_RETCODE_OK;
  }
  return engine->ignore(handle);
}
