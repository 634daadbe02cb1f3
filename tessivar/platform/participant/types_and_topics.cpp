// SPDX-License-Identifier: Apache-2.0

// The types, topics and content filters of a participant.
#include "tessivar/platform/detail/log.h"
#include "tessivar/platform/detail/mutex.h"
#include "tessivar/platform/participant.h"
#include "tessivar/platform/participant/participant_impl.h"
#include "tessivar/platform/participant/quoted.h"
#include "tessivar/platform/participant/topic_impl.h"
#include "tessivar/platform/system/guarded.h"

#include <algorithm>
#include <cstring>

using tessivar::platform::CompiledFilter;
using tessivar::platform::guarded;
using tessivar::platform::MutexLock;
using tessivar::platform::quoted;
using tessivar::platform::refuse;

// --- types -----------------------------------------------------------------------------------------------------------

DDS_ReturnCode_t DDSDomainParticipant::register_type(const char* type_name, const PRESTypePlugin& plugin) {
  return guarded("DDSDomainParticipant::register_type", DDS_RETCODE_OUT_OF_RESOURCES,
                 [&] { return impl_->register_type(type_name, plugin); });
}

DDS_ReturnCode_t DDSDomainParticipant::Impl::register_type(const char* type_name, const PRESTypePlugin& plugin) {
  if (!type_name || !*type_name)
    return refuse("DDSDomainParticipant::register_type", "the type's name is missing", DDS_RETCODE_BAD_PARAMETER);
  if (!plugin.type_support || !plugin.type_name) {
    return refuse("DDSDomainParticipant::register_type",
                  "type " + quoted(type_name) + " comes without type support or name", DDS_RETCODE_BAD_PARAMETER);
  }
  const MutexLock lock(mutex);
  if (const auto known = types.find(type_name); known != types.end()) {
    const bool same = std::strcmp(known->second->plugin.type_name, plugin.type_name) == 0;
    return same ? DDS_RETCODE_OK
                : refuse("DDSDomainParticipant::register_type",
                         "type " + quoted(type_name) + " is registered as another type",
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
  const MutexLock lock(impl_->mutex);
  const auto known = impl_->types.find(type_name);
  if (known == impl_->types.end()) return DDS_RETCODE_BAD_PARAMETER;
  if (known->second->users > 0) return DDS_RETCODE_PRECONDITION_NOT_MET;
  impl_->types.erase(known);
  return DDS_RETCODE_OK;
}

bool DDSDomainParticipant::is_type_registered(const char* type_name) const {
  const MutexLock lock(impl_->mutex);
  return type_name && impl_->types.contains(type_name);
}

// --- topics ----------------------------------------------------------------------------------------------------------

DDSTopic* DDSDomainParticipant::create_topic(const char* topic_name, const char* type_name, const DDS_TopicQos& qos,
                                             DDSTopicListener* listener, DDS_StatusMask mask) {
  constexpr const char* operation = "DDSDomainParticipant::create_topic";
  return guarded(operation, static_cast<DDSTopic*>(nullptr), [&]() -> DDSTopic* {
    if (!topic_name || !*topic_name) return refuse(operation, "the topic's name is missing", nullptr);
    if (!type_name) return refuse(operation, "topic " + quoted(topic_name) + ": the type's name is missing", nullptr);
    DDS_TopicQos own = qos;
    if (&qos == &DDS_TOPIC_QOS_DEFAULT) get_default_topic_qos_w_topic_name(own, topic_name);

    const MutexLock lock(impl_->mutex);
    if (impl_->find_topic(topic_name) || impl_->find_filtered_topic(topic_name)) {
      return refuse(operation, "topic " + quoted(topic_name) + " exists already", nullptr);
    }
    const auto type = impl_->types.find(type_name);
    if (type == impl_->types.end()) {
      return refuse(operation, "topic " + quoted(topic_name) + ": type " + quoted(type_name) + " is not registered",
                    nullptr);
    }
    impl_->topics.reserve(impl_->topics.size() + 1);
    auto* topic = new DDSTopic(std::unique_ptr<DDSTopic::Impl>(
        new DDSTopic::Impl{*this, topic_name, type_name, type->second->plugin, own, {}, 0}));
    topic->set_listener(listener, mask);  // nothing throws from here on
    ++type->second->users;
    return impl_->topics.emplace_back(topic);
  });
}

DDS_ReturnCode_t DDSDomainParticipant::delete_topic(DDSTopic* topic) {
  if (!topic) return DDS_RETCODE_BAD_PARAMETER;
  if (impl_->made_here.inherited()) return DDS_RETCODE_OK;
  const MutexLock lock(impl_->mutex);
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
  constexpr const char* operation = "DDSDomainParticipant::create_contentfilteredtopic_with_filter";
  return guarded(operation, static_cast<DDSContentFilteredTopic*>(nullptr), [&]() -> DDSContentFilteredTopic* {
    if (!name || !*name) return refuse(operation, "the filtered topic's name is missing", nullptr);
    const std::string title = "filtered topic " + quoted(name);
    if (!related_topic) return refuse(operation, title + ": the related topic is missing", nullptr);
    if (!filter_expression) return refuse(operation, title + ": the filter expression is missing", nullptr);
    if (!filter_name) return refuse(operation, title + ": the filter's name is missing", nullptr);

    // The topic and the filter count as used from here on, so they are not removed while the filter is compiled without
    // the lock.
    struct Use {
      ~Use() {
        if (!filter) return;
        const MutexLock lock(participant.mutex);
        --topic->users;
        --filter->users;
      }
      Impl& participant;
      DDSTopic::Impl* topic = nullptr;
      Impl::Filter* filter = nullptr;
    } use{*impl_};
    {
      const MutexLock lock(impl_->mutex);
      if (std::find(impl_->topics.begin(), impl_->topics.end(), related_topic) == impl_->topics.end()) {
        return refuse(operation, title + ": the related topic is not this participant's", nullptr);
      }
      if (impl_->find_topic(name) || impl_->find_filtered_topic(name)) {
        return refuse(operation, title + " exists already", nullptr);
      }
      const auto registered = impl_->filters.find(filter_name);
      if (registered == impl_->filters.end()) {
        return refuse(operation, title + ": no content filter " + quoted(filter_name) + " is registered", nullptr);
      }
      use.filter = &registered->second;
      use.topic = &related_topic->impl();
      ++use.filter->users;
      ++use.topic->users;
    }
    DDSContentFilter& filter = *use.filter->filter;
    DDS_ReturnCode_t result = DDS_RETCODE_OK;
    auto compiled = CompiledFilter::compile(filter, filter_expression, expression_parameters, use.topic->type, result);
    if (!compiled) {
      return refuse(operation,
                    title + ": filter " + quoted(filter_name) + " refused expression " + quoted(filter_expression) +
                        ", return code " + std::to_string(result),
                    nullptr);
    }
    // Declared before the lock: if a step below fails, the filter is finalised without the lock.
    std::unique_ptr<DDSContentFilteredTopic::Impl> impl(new DDSContentFilteredTopic::Impl{*related_topic,
                                                                                          name,
                                                                                          filter_expression,
                                                                                          filter_name,
                                                                                          filter,
                                                                                          0,
                                                                                          {},
                                                                                          {},
                                                                                          expression_parameters,
                                                                                          std::move(compiled)});
    const MutexLock lock(impl_->mutex);
    if (impl_->find_topic(name) || impl_->find_filtered_topic(name)) {
      return refuse(operation, title + " exists already", nullptr);
    }
    impl_->filtered_topics.reserve(impl_->filtered_topics.size() + 1);
    auto* const topic = new DDSContentFilteredTopic(std::move(impl));
    use.filter = nullptr;  // the topic and the filter remain used
    return impl_->filtered_topics.emplace_back(topic);
  });
}

DDS_ReturnCode_t DDSDomainParticipant::delete_contentfilteredtopic(DDSContentFilteredTopic* topic) {
  if (!topic) return DDS_RETCODE_BAD_PARAMETER;
  if (impl_->made_here.inherited()) return DDS_RETCODE_OK;
  Impl::Filter* filter = nullptr;
  {
    const MutexLock lock(impl_->mutex);
    const auto own = std::find(impl_->filtered_topics.begin(), impl_->filtered_topics.end(), topic);
    if (own == impl_->filtered_topics.end() || topic->impl().users > 0) return DDS_RETCODE_PRECONDITION_NOT_MET;
    impl_->filtered_topics.erase(own);
    --topic->impl().topic.impl().users;
    filter = &impl_->filters.find(topic->impl().filter_name)->second;
  }
  delete topic;  // finalises the filter's data without the lock, before the filter can be unregistered
  const MutexLock lock(impl_->mutex);
  --filter->users;
  return DDS_RETCODE_OK;
}

DDSTopicDescription* DDSDomainParticipant::lookup_topicdescription(const char* name) {
  if (!name) return nullptr;
  const MutexLock lock(impl_->mutex);
  if (DDSTopic* topic = impl_->find_topic(name)) return topic;
  return impl_->find_filtered_topic(name);
}

// --- content filters -------------------------------------------------------------------------------------------------

DDS_ReturnCode_t DDSDomainParticipant::register_contentfilter(const char* filter_name, const DDSContentFilter* filter) {
  return guarded(
      "DDSDomainParticipant::register_contentfilter", DDS_RETCODE_OUT_OF_RESOURCES, [&]() -> DDS_ReturnCode_t {
        if (!filter_name || !*filter_name || !filter) {
          return refuse("DDSDomainParticipant::register_contentfilter",
                        "filter " + quoted(filter_name) + ": name or filter is missing", DDS_RETCODE_BAD_PARAMETER);
        }
        const MutexLock lock(impl_->mutex);
        const bool added =
            impl_->filters.try_emplace(filter_name, Impl::Filter{const_cast<DDSContentFilter*>(filter), 0}).second;
        return added ? DDS_RETCODE_OK : DDS_RETCODE_PRECONDITION_NOT_MET;
      });
}

DDSContentFilter* DDSDomainParticipant::lookup_contentfilter(const char* filter_name) {
  if (!filter_name) return nullptr;
  const MutexLock lock(impl_->mutex);
  const auto known = impl_->filters.find(filter_name);
  return known == impl_->filters.end() ? nullptr : known->second.filter;
}

DDS_ReturnCode_t DDSDomainParticipant::unregister_contentfilter(const char* filter_name) {
  if (!filter_name) return DDS_RETCODE_BAD_PARAMETER;
  const MutexLock lock(impl_->mutex);
  const auto known = impl_->filters.find(filter_name);
  if (known == impl_->filters.end()) return DDS_RETCODE_BAD_PARAMETER;
  if (known->second.users > 0) return DDS_RETCODE_PRECONDITION_NOT_MET;
  impl_->filters.erase(known);
  return DDS_RETCODE_OK;
}
