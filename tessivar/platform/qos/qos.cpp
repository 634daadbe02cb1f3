// SPDX-License-Identifier: Apache-2.0

#include "tessivar/platform/qos.h"

#include <cstring>
#include <utility>

namespace {

void append(DDS_StringSeq& sequence, const char* text) {
  const DDS_Long index = sequence.length();
  if (sequence.ensure_length(index + 1, index + 1)) DDS_String_replace(&sequence[index], text);
}

template <class Qos>
void copy_from_topic(Qos& qos, const DDS_TopicQos& topic) {
  qos.durability = topic.durability;
  qos.deadline = topic.deadline;
  qos.latency_budget = topic.latency_budget;
  qos.liveliness = topic.liveliness;
  qos.reliability = topic.reliability;
  qos.destination_order = topic.destination_order;
  qos.history = topic.history;
  qos.resource_limits = topic.resource_limits;
  qos.ownership = topic.ownership;
}

DDS_Long index_of(const DDS_PropertyQosPolicy& policy, const char* name) {
  for (DDS_Long i = 0; name && i < policy.value.length(); ++i) {
    const char* candidate = policy.value[i].name;
    if (candidate && std::strcmp(candidate, name) == 0) return i;
  }
  return -1;
}

}  // namespace

DDS_EntityNameQosPolicy::DDS_EntityNameQosPolicy(const DDS_EntityNameQosPolicy& other)
    : name(DDS_String_dup(other.name)), role_name(DDS_String_dup(other.role_name)) {}

DDS_EntityNameQosPolicy& DDS_EntityNameQosPolicy::operator=(const DDS_EntityNameQosPolicy& other) {
  if (this == &other) return *this;
  DDS_String_replace(&name, other.name);
  DDS_String_replace(&role_name, other.role_name);
  return *this;
}

DDS_EntityNameQosPolicy::~DDS_EntityNameQosPolicy() {
  DDS_String_free(name);
  DDS_String_free(role_name);
}

DDS_Property_t::DDS_Property_t(const DDS_Property_t& other)
    : name(DDS_String_dup(other.name)), value(DDS_String_dup(other.value)), propagate(other.propagate) {}

DDS_Property_t& DDS_Property_t::operator=(const DDS_Property_t& other) {
  if (this == &other) return *this;
  DDS_String_replace(&name, other.name);
  DDS_String_replace(&value, other.value);
  propagate = other.propagate;
  return *this;
}

DDS_Property_t::~DDS_Property_t() {
  DDS_String_free(name);
  DDS_String_free(value);
}

DDS_Property_t* DDSPropertyQosPolicyHelper::lookup_property(DDS_PropertyQosPolicy& policy, const char* name) {
  const DDS_Long index = index_of(policy, name);
  return index < 0 ? nullptr : &policy.value[index];
}

const DDS_Property_t* DDSPropertyQosPolicyHelper::lookup_property(const DDS_PropertyQosPolicy& policy,
                                                                  const char* name) {
  const DDS_Long index = index_of(policy, name);
  return index < 0 ? nullptr : &policy.value[index];
}

DDS_ReturnCode_t DDSPropertyQosPolicyHelper::add_property(DDS_PropertyQosPolicy& policy, const char* name,
                                                          const char* value, DDS_Boolean propagate) {
  if (!name || !value) return DDS_RETCODE_BAD_PARAMETER;
  if (index_of(policy, name) >= 0) return DDS_RETCODE_PRECONDITION_NOT_MET;
  const DDS_Long index = policy.value.length();
  if (!policy.value.ensure_length(index + 1, 2 * index + 4)) return DDS_RETCODE_OUT_OF_RESOURCES;
  DDS_Property_t& property = policy.value[index];
  if (!DDS_String_replace(&property.name, name) || !DDS_String_replace(&property.value, value)) {
    policy.value.length(index);
    return DDS_RETCODE_OUT_OF_RESOURCES;
  }
  property.propagate = propagate;
  return DDS_RETCODE_OK;
}

DDS_ReturnCode_t DDSPropertyQosPolicyHelper::assert_property(DDS_PropertyQosPolicy& policy, const char* name,
                                                             const char* value, DDS_Boolean propagate) {
  DDS_Property_t* property = lookup_property(policy, name);
  if (!property) return add_property(policy, name, value, propagate);
  if (!value) return DDS_RETCODE_BAD_PARAMETER;
  if (!DDS_String_replace(&property->value, value)) return DDS_RETCODE_OUT_OF_RESOURCES;
  property->propagate = propagate;
  return DDS_RETCODE_OK;
}

DDS_ReturnCode_t DDSPropertyQosPolicyHelper::remove_property(DDS_PropertyQosPolicy& policy, const char* name) {
  if (!name) return DDS_RETCODE_BAD_PARAMETER;
  const DDS_Long index = index_of(policy, name);
  if (index < 0) return DDS_RETCODE_PRECONDITION_NOT_MET;
  const DDS_Long last = policy.value.length() - 1;
  for (DDS_Long i = index; i < last; ++i) {
    DDS_Property_t& property = policy.value[i];
    DDS_Property_t& next = policy.value[i + 1];
    std::swap(property.name, next.name);
    std::swap(property.value, next.value);
    property.propagate = next.propagate;
  }
  policy.value.length(last);
  return DDS_RETCODE_OK;
}

DDS_DiscoveryQosPolicy::DDS_DiscoveryQosPolicy() {
  append(multicast_receive_addresses, "239.255.0.1");
  append(initial_peers, "builtin.udpv4://127.0.0.1");
  append(initial_peers, "builtin.shmem://");
}

void DDS_DataWriterQos_copy_from_topic_qos(DDS_DataWriterQos& writer, const DDS_TopicQos& topic) {
  copy_from_topic(writer, topic);
  writer.lifespan = topic.lifespan;
}

void DDS_DataReaderQos_copy_from_topic_qos(DDS_DataReaderQos& reader, const DDS_TopicQos& topic) {
  copy_from_topic(reader, topic);
}

const DDS_DomainParticipantQos DDS_PARTICIPANT_QOS_DEFAULT;
const DDS_TopicQos DDS_TOPIC_QOS_DEFAULT;
const DDS_DataWriterQos DDS_DATAWRITER_QOS_DEFAULT;
const DDS_DataReaderQos DDS_DATAREADER_QOS_DEFAULT;
const DDS_DataWriterQos DDS_DATAWRITER_QOS_USE_TOPIC_QOS;
const DDS_DataReaderQos DDS_DATAREADER_QOS_USE_TOPIC_QOS;
