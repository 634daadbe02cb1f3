// SPDX-License-Identifier: Apache-2.0

// The writers and readers of a participant.
#include "tessivar/platform/detail/callback.h"
#include "tessivar/platform/detail/log.h"
#include "tessivar/platform/detail/mutex.h"
#include "tessivar/platform/participant.h"
#include "tessivar/platform/participant/participant_impl.h"
#include "tessivar/platform/participant/quoted.h"
#include "tessivar/platform/participant/topic_impl.h"
#include "tessivar/platform/reader/reader_impl.h"
#include "tessivar/platform/system/guarded.h"
#include "tessivar/platform/writer/writer_impl.h"

#include <algorithm>

using tessivar::platform::guarded;
using tessivar::platform::MutexLock;
using tessivar::platform::quoted;
using tessivar::platform::refuse;
using tessivar::platform::refused_in_callback;
using tessivar::platform::UniqueMutexLock;

namespace {

template <class T>
bool remove(std::vector<T*>& entities, const T* entity) {
  return std::erase(entities, entity) > 0;
}

}  // namespace

DDSDataWriter* DDSDomainParticipant::create_datawriter(DDSTopic* topic, const DDS_DataWriterQos& qos,
                                                       DDSDataWriterListener* listener, DDS_StatusMask mask) {
  constexpr const char* operation = "DDSDomainParticipant::create_datawriter";
  return guarded(operation, static_cast<DDSDataWriter*>(nullptr), [&]() -> DDSDataWriter* {
    if (!topic) return refuse(operation, "null topic", nullptr);
    if (impl_->autoenable() && impl_->cannot_enable_entity(operation)) return nullptr;
    DDS_DataWriterQos own;
    if (&qos == &DDS_DATAWRITER_QOS_DEFAULT || &qos == &DDS_DATAWRITER_QOS_USE_TOPIC_QOS) {
      get_default_datawriter_qos_w_topic_name(own, topic->get_name());
      if (&qos == &DDS_DATAWRITER_QOS_USE_TOPIC_QOS) DDS_DataWriterQos_copy_from_topic_qos(own, topic->impl().qos);
    } else {
      own = qos;
    }
    DDSDataWriter* writer = nullptr;
    {
      const MutexLock lock(impl_->mutex);
      if (std::find(impl_->topics.begin(), impl_->topics.end(), topic) == impl_->topics.end()) {
        return refuse(operation, "the topic is not this participant's", nullptr);
      }
      DDSDataWriter::ImplPtr made(new DDSDataWriter::Impl(*topic, impl_->publisher, own));
      impl_->writers.reserve(impl_->writers.size() + 1);
      impl_->endpoints->add(made->counters);  // the last step that throws
      writer = topic->impl().type.type_support->create_datawriterI(std::move(made));
      if (!writer) {
        return refuse(operation, "topic " + quoted(topic->get_name()) + ": the type makes no writer", nullptr);
      }
      writer->impl().listener.set(listener, mask);
      ++topic->impl().users;
      impl_->writers.push_back(writer);
    }
    if (impl_->autoenable() && writer->enable() != DDS_RETCODE_OK) {
      delete_datawriter(writer);
      return nullptr;
    }
    return writer;
  });
}

DDS_ReturnCode_t DDSDomainParticipant::delete_datawriter(DDSDataWriter* writer) {
  if (!writer) return DDS_RETCODE_BAD_PARAMETER;
  if (impl_->made_here.inherited()) return DDS_RETCODE_OK;
  if (refused_in_callback("DDSDomainParticipant::delete_datawriter")) return DDS_RETCODE_ILLEGAL_OPERATION;
  {
    UniqueMutexLock lock(impl_->mutex);
    if (!remove(impl_->writers, writer)) return DDS_RETCODE_PRECONDITION_NOT_MET;
    impl_->await_unpinned(lock, writer);
  }
  DDSTopic& topic = writer->impl().topic;
  writer->impl().close();
  topic.impl().type.type_support->destroy_datawriterI(writer);
  const MutexLock lock(impl_->mutex);
  --topic.impl().users;
  return DDS_RETCODE_OK;
}

DDSDataReader* DDSDomainParticipant::create_datareader(DDSTopicDescription* description, const DDS_DataReaderQos& qos,
                                                       DDSDataReaderListener* listener, DDS_StatusMask mask) {
  constexpr const char* operation = "DDSDomainParticipant::create_datareader";
  return guarded(operation, static_cast<DDSDataReader*>(nullptr), [&]() -> DDSDataReader* {
    if (!description) return refuse(operation, "null topic", nullptr);
    auto* filtered = DDSContentFilteredTopic::narrow(description);
    DDSTopic* topic = filtered ? filtered->get_related_topic() : DDSTopic::narrow(description);
    if (!topic) return refuse(operation, "neither a topic nor a filtered topic", nullptr);
    if (impl_->autoenable() && impl_->cannot_enable_entity(operation)) return nullptr;
    DDS_DataReaderQos own;
    if (&qos == &DDS_DATAREADER_QOS_DEFAULT || &qos == &DDS_DATAREADER_QOS_USE_TOPIC_QOS) {
      get_default_datareader_qos_w_topic_name(own, topic->get_name());
      if (&qos == &DDS_DATAREADER_QOS_USE_TOPIC_QOS) DDS_DataReaderQos_copy_from_topic_qos(own, topic->impl().qos);
    } else {
      own = qos;
    }
    DDSDataReader* reader = nullptr;
    {
      const MutexLock lock(impl_->mutex);
      const bool ours = filtered ? std::find(impl_->filtered_topics.begin(), impl_->filtered_topics.end(), filtered) !=
                                       impl_->filtered_topics.end()
                                 : std::find(impl_->topics.begin(), impl_->topics.end(), topic) != impl_->topics.end();
      if (!ours) return refuse(operation, "the topic is not this participant's", nullptr);
      DDSDataReader::ImplPtr made(new DDSDataReader::Impl({*this, topic, filtered, impl_->subscriber, own}));
      impl_->readers.reserve(impl_->readers.size() + 1);
      impl_->endpoints->add(made->description.counters);  // the last step that throws
      reader = topic->impl().type.type_support->create_datareaderI(std::move(made));
      if (!reader) {
        return refuse(operation, "topic " + quoted(topic->get_name()) + ": the type makes no reader", nullptr);
      }
      reader->impl().listener.set(listener, mask);
      ++(filtered ? filtered->impl().users : topic->impl().users);
      impl_->readers.push_back(reader);
    }
    if (impl_->autoenable() && reader->enable() != DDS_RETCODE_OK) {
      delete_datareader(reader);
      return nullptr;
    }
    return reader;
  });
}

DDS_ReturnCode_t DDSDomainParticipant::delete_datareader(DDSDataReader* reader) {
  if (!reader) return DDS_RETCODE_BAD_PARAMETER;
  if (impl_->made_here.inherited()) return DDS_RETCODE_OK;
  if (refused_in_callback("DDSDomainParticipant::delete_datareader")) return DDS_RETCODE_ILLEGAL_OPERATION;
  {
    const MutexLock lock(impl_->mutex);
    if (std::find(impl_->readers.begin(), impl_->readers.end(), reader) == impl_->readers.end()) {
      return DDS_RETCODE_PRECONDITION_NOT_MET;
    }
  }
  if (reader->impl().in_use()) return DDS_RETCODE_PRECONDITION_NOT_MET;
  return impl_->destroy(reader);
}

DDS_ReturnCode_t DDSDomainParticipant::Impl::destroy(DDSDataReader* reader) {
  {
    UniqueMutexLock lock(mutex);
    if (!remove(readers, reader)) return DDS_RETCODE_PRECONDITION_NOT_MET;
    await_unpinned(lock, reader);
  }
  DDSTopic& topic = *reader->impl().description.topic;
  DDSContentFilteredTopic* filtered = reader->impl().description.filtered_topic;
  reader->impl().close();
  topic.impl().type.type_support->destroy_datareaderI(reader);
  const MutexLock lock(mutex);
  --(filtered ? filtered->impl().users : topic.impl().users);
  return DDS_RETCODE_OK;
}

DDS_ReturnCode_t DDSDomainParticipant::delete_contained_entities() {
  if (impl_->made_here.inherited()) return DDS_RETCODE_OK;
  if (refused_in_callback("DDSDomainParticipant::delete_contained_entities")) return DDS_RETCODE_ILLEGAL_OPERATION;
  const auto delete_all = [this](auto Impl::*list, const auto& destroy) {
    for (;;) {
      UniqueMutexLock lock(impl_->mutex);
      const auto& entities = (*impl_).*list;
      if (entities.empty()) return DDS_RETCODE_OK;
      auto* const entity = entities.back();
      lock.unlock();
      const DDS_ReturnCode_t result = destroy(entity);
      if (result != DDS_RETCODE_OK) return result;
    }
  };
  DDS_ReturnCode_t result = delete_all(&Impl::readers, [&](DDSDataReader* reader) { return impl_->destroy(reader); });
  if (result != DDS_RETCODE_OK) return result;
  result = delete_all(&Impl::writers, [&](DDSDataWriter* writer) { return delete_datawriter(writer); });
  if (result != DDS_RETCODE_OK) return result;
  result = delete_all(&Impl::filtered_topics,
                      [&](DDSContentFilteredTopic* topic) { return delete_contentfilteredtopic(topic); });
  if (result != DDS_RETCODE_OK) return result;
  return delete_all(&Impl::topics, [&](DDSTopic* topic) { return delete_topic(topic); });
}
