// SPDX-License-Identifier: Apache-2.0

// The XML elements of each QoS set and policy, and the names that stand for values. Each policy has one table.
//
// A new member of a policy needs a row here; without it this file does not compile.
#pragma once

#include "tessivar/platform/detail/member_count.h"
#include "tessivar/platform/qos/profiles_xml.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <span>
#include <type_traits>

namespace tessivar::platform {

template <>
inline constexpr std::size_t member_count<DDS_EntityNameQosPolicy> = 2;
template <>
inline constexpr std::size_t member_count<DDS_Property_t> = 3;
template <>
inline constexpr std::size_t member_count<DDS_DiscoveryQosPolicy> = 2;

}  // namespace tessivar::platform

namespace tessivar::platform::profiles {

/// The text that is being read, and the destination of an error message.
struct Walk {
  const QosProfilesXml& xml;
  std::string& error;

  bool fail(pugi::xml_node node, const std::string& what) const { return xml.fail(node, what, error); }
};

/// An element of a structure. `read` sets the member of `owner` that belongs to the element.
struct Element {
  std::string_view name;
  bool (*read)(const Walk& walk, pugi::xml_node node, void* owner);
};

/// A name that stands for a value; it may be written with "DDS_" before it.
struct Name {
  std::string_view text;
  std::int64_t value;
};

// These functions read the types of the members. They return false, with a message in the error of `walk`, if the text
// is wrong.
bool read_number(const Walk& walk, pugi::xml_node node, DDS_Long& value, std::int64_t least);
bool read_value(const Walk& walk, pugi::xml_node node, DDS_UnsignedLong& value);
bool read_value(const Walk& walk, pugi::xml_node node, DDS_Boolean& value);
bool read_value(const Walk& walk, pugi::xml_node node, char*& value);
bool read_value(const Walk& walk, pugi::xml_node node, DDS_Duration_t& value);
bool read_value(const Walk& walk, pugi::xml_node node, DDS_OctetSeq& value);
bool read_value(const Walk& walk, pugi::xml_node node, DDS_StringSeq& value);
bool read_value(const Walk& walk, pugi::xml_node node, DDS_PropertySeq& value);
bool read_name(const Walk& walk, pugi::xml_node node, std::span<const Name> names, std::int64_t& value);
bool read_elements(const Walk& walk, pugi::xml_node node, std::span<const Element> table, void* owner);

/// The enumerators of a kind, in `table`.
template <class>
struct Enumerators;

/// The elements of a structure, in `table`.
template <class>
struct Elements;

template <class Value>
bool read_value(const Walk& walk, pugi::xml_node node, Value& value) {
  if constexpr (std::is_enum_v<Value>) {
    std::int64_t number = 0;
    if (!read_name(walk, node, Enumerators<Value>::table, number)) return false;
    value = static_cast<Value>(number);
    return true;
  } else {
    return read_elements(walk, node, Elements<Value>::table, &value);
  }
}

// --- completeness ----------------------------------------------------------------------------------------------------

// The members of structures with constructors cannot be counted by count_members(). These bindings do not compile if
// the number of members changes.
inline void bind_members(DDS_EntityNameQosPolicy& policy) {
  [[maybe_unused]] auto& [name, role_name] = policy;
}
inline void bind_members(DDS_Property_t& property) {
  [[maybe_unused]] auto& [name, value, propagate] = property;
}
inline void bind_members(DDS_DiscoveryQosPolicy& policy) {
  [[maybe_unused]] auto& [initial_peers, multicast_receive_addresses] = policy;
}

/// Returns true if every member has a row and no two rows have the same name.
template <class T>
constexpr bool is_complete() {
  const std::span<const Element> table = Elements<T>::table;
  for (std::size_t i = 0; i < table.size(); ++i)
    for (std::size_t j = 0; j < i; ++j)
      if (table[i].name == table[j].name) return false;
  return table.size() == member_count<T>;
}

// --- rows ------------------------------------------------------------------------------------------------------------

template <class Owner, class Value>
Owner owner_of(Value Owner::*);
template <class Owner, class Value>
Value value_of(Value Owner::*);

/// Returns the row of a member. `least` is the smallest valid value of a number.
template <auto member, std::int64_t least = 0>
constexpr Element element(std::string_view name) {
  using Member = decltype(value_of(member));
  if constexpr (requires { Elements<Member>::table; }) static_assert(is_complete<Member>());
  return {name, [](const Walk& walk, pugi::xml_node node, void* owner) {
            auto& value = static_cast<decltype(owner_of(member))*>(owner)->*member;
            if constexpr (std::is_same_v<decltype(value), DDS_Long&>) {
              return read_number(walk, node, value, least);
            } else {
              return read_value(walk, node, value);
            }
          }};
}

constexpr std::int64_t unlimited = DDS_LENGTH_UNLIMITED;

// --- names -----------------------------------------------------------------------------------------------------------

constexpr Name booleans[] = {{"true", 1}, {"false", 0}, {"1", 1}, {"0", 0}, {"BOOLEAN_TRUE", 1}, {"BOOLEAN_FALSE", 0}};

constexpr Name numbers[] = {{"LENGTH_UNLIMITED", DDS_LENGTH_UNLIMITED},
                            {"DURATION_ZERO_SEC", DDS_DURATION_ZERO.sec},
                            {"DURATION_ZERO_NSEC", DDS_DURATION_ZERO.nanosec},
                            {"DURATION_INFINITE_SEC", DDS_DURATION_INFINITE.sec},
                            {"DURATION_INFINITE_NSEC", DDS_DURATION_INFINITE.nanosec}};

constexpr Name durations[] = {{"DURATION_ZERO", 0}, {"DURATION_INFINITE", 1}, {"DURATION_INFINITY", 1}};

template <>
struct Enumerators<DDS_DurabilityQosPolicyKind> {
  static constexpr Name table[] = {{"VOLATILE_DURABILITY_QOS", DDS_VOLATILE_DURABILITY_QOS},
                                   {"TRANSIENT_LOCAL_DURABILITY_QOS", DDS_TRANSIENT_LOCAL_DURABILITY_QOS}};
};
template <>
struct Enumerators<DDS_ReliabilityQosPolicyKind> {
  static constexpr Name table[] = {{"BEST_EFFORT_RELIABILITY_QOS", DDS_BEST_EFFORT_RELIABILITY_QOS},
                                   {"RELIABLE_RELIABILITY_QOS", DDS_RELIABLE_RELIABILITY_QOS}};
};
template <>
struct Enumerators<DDS_HistoryQosPolicyKind> {
  static constexpr Name table[] = {{"KEEP_LAST_HISTORY_QOS", DDS_KEEP_LAST_HISTORY_QOS},
                                   {"KEEP_ALL_HISTORY_QOS", DDS_KEEP_ALL_HISTORY_QOS}};
};
template <>
struct Enumerators<DDS_RefilterQosPolicyKind> {
  static constexpr Name table[] = {{"NONE_REFILTER_QOS", DDS_NONE_REFILTER_QOS},
                                   {"ALL_REFILTER_QOS", DDS_ALL_REFILTER_QOS},
                                   {"ON_DEMAND_REFILTER_QOS", DDS_ON_DEMAND_REFILTER_QOS}};
};
template <>
struct Enumerators<DDS_LivelinessQosPolicyKind> {
  static constexpr Name table[] = {{"AUTOMATIC_LIVELINESS_QOS", DDS_AUTOMATIC_LIVELINESS_QOS},
                                   {"MANUAL_BY_PARTICIPANT_LIVELINESS_QOS", DDS_MANUAL_BY_PARTICIPANT_LIVELINESS_QOS},
                                   {"MANUAL_BY_TOPIC_LIVELINESS_QOS", DDS_MANUAL_BY_TOPIC_LIVELINESS_QOS}};
};
template <>
struct Enumerators<DDS_OwnershipQosPolicyKind> {
  static constexpr Name table[] = {{"SHARED_OWNERSHIP_QOS", DDS_SHARED_OWNERSHIP_QOS},
                                   {"EXCLUSIVE_OWNERSHIP_QOS", DDS_EXCLUSIVE_OWNERSHIP_QOS}};
};
template <>
struct Enumerators<DDS_DestinationOrderQosPolicyKind> {
  static constexpr Name table[] = {
      {"BY_RECEPTION_TIMESTAMP_DESTINATIONORDER_QOS", DDS_BY_RECEPTION_TIMESTAMP_DESTINATIONORDER_QOS},
      {"BY_SOURCE_TIMESTAMP_DESTINATIONORDER_QOS", DDS_BY_SOURCE_TIMESTAMP_DESTINATIONORDER_QOS}};
};

// --- policies --------------------------------------------------------------------------------------------------------

template <>
struct Elements<DDS_Duration_t> {
  using P = DDS_Duration_t;
  static constexpr Element table[] = {element<&P::sec>("sec"), element<&P::nanosec>("nanosec")};
};

template <>
struct Elements<DDS_UserDataQosPolicy> {
  static constexpr Element table[] = {element<&DDS_UserDataQosPolicy::value>("value")};
};

template <>
struct Elements<DDS_DurabilityQosPolicy> {
  static constexpr Element table[] = {element<&DDS_DurabilityQosPolicy::kind>("kind")};
};

template <>
struct Elements<DDS_DurabilityServiceQosPolicy> {
  static constexpr Element table[] = {element<&DDS_DurabilityServiceQosPolicy::history_depth>("history_depth")};
};

template <>
struct Elements<DDS_ReliabilityQosPolicy> {
  using P = DDS_ReliabilityQosPolicy;
  static constexpr Element table[] = {element<&P::kind>("kind"), element<&P::max_blocking_time>("max_blocking_time")};
};

template <>
struct Elements<DDS_HistoryQosPolicy> {
  using P = DDS_HistoryQosPolicy;
  static constexpr Element table[] = {element<&P::kind>("kind"), element<&P::depth, 1>("depth"),
                                      element<&P::refilter>("refilter")};
};

template <>
struct Elements<DDS_LivelinessQosPolicy> {
  using P = DDS_LivelinessQosPolicy;
  static constexpr Element table[] = {element<&P::kind>("kind"), element<&P::lease_duration>("lease_duration")};
};

template <>
struct Elements<DDS_DeadlineQosPolicy> {
  static constexpr Element table[] = {element<&DDS_DeadlineQosPolicy::period>("period")};
};

template <>
struct Elements<DDS_LatencyBudgetQosPolicy> {
  static constexpr Element table[] = {element<&DDS_LatencyBudgetQosPolicy::duration>("duration")};
};

template <>
struct Elements<DDS_OwnershipQosPolicy> {
  static constexpr Element table[] = {element<&DDS_OwnershipQosPolicy::kind>("kind")};
};

template <>
struct Elements<DDS_DestinationOrderQosPolicy> {
  static constexpr Element table[] = {element<&DDS_DestinationOrderQosPolicy::kind>("kind")};
};

template <>
struct Elements<DDS_LifespanQosPolicy> {
  static constexpr Element table[] = {element<&DDS_LifespanQosPolicy::duration>("duration")};
};

template <>
struct Elements<DDS_ResourceLimitsQosPolicy> {
  using P = DDS_ResourceLimitsQosPolicy;
  static constexpr Element table[] = {element<&P::max_samples, unlimited>("max_samples"),
                                      element<&P::max_instances, unlimited>("max_instances"),
                                      element<&P::max_samples_per_instance, unlimited>("max_samples_per_instance")};
};

template <>
struct Elements<DDS_WriterDataLifecycleQosPolicy> {
  using P = DDS_WriterDataLifecycleQosPolicy;
  static constexpr Element table[] = {
      element<&P::autodispose_unregistered_instances>("autodispose_unregistered_instances")};
};

template <>
struct Elements<DDS_EntityFactoryQosPolicy> {
  using P = DDS_EntityFactoryQosPolicy;
  static constexpr Element table[] = {element<&P::autoenable_created_entities>("autoenable_created_entities")};
};

template <>
struct Elements<DDS_EntityNameQosPolicy> {
  using P = DDS_EntityNameQosPolicy;
  static constexpr Element table[] = {element<&P::name>("name"), element<&P::role_name>("role_name")};
};

template <>
struct Elements<DDS_BatchQosPolicy> {
  using P = DDS_BatchQosPolicy;
  static constexpr Element table[] = {
      element<&P::enable>("enable"), element<&P::max_data_bytes, unlimited>("max_data_bytes"),
      element<&P::max_samples, unlimited>("max_samples"), element<&P::max_flush_delay>("max_flush_delay"),
      element<&P::source_timestamp_resolution>("source_timestamp_resolution")};
};

template <>
struct Elements<DDS_Property_t> {
  using P = DDS_Property_t;
  static constexpr Element table[] = {element<&P::name>("name"), element<&P::value>("value"),
                                      element<&P::propagate>("propagate")};
};

template <>
struct Elements<DDS_PropertyQosPolicy> {
  static constexpr Element table[] = {element<&DDS_PropertyQosPolicy::value>("value")};
};

template <>
struct Elements<DDS_DiscoveryQosPolicy> {
  using P = DDS_DiscoveryQosPolicy;
  static constexpr Element table[] = {element<&P::initial_peers>("initial_peers"),
                                      element<&P::multicast_receive_addresses>("multicast_receive_addresses")};
};

template <>
struct Elements<DDS_DiscoveryConfigQosPolicy> {
  using P = DDS_DiscoveryConfigQosPolicy;
  static constexpr Element table[] = {
      element<&P::participant_liveliness_lease_duration>("participant_liveliness_lease_duration"),
      element<&P::participant_liveliness_assert_period>("participant_liveliness_assert_period"),
      element<&P::max_participant_index>("max_participant_index")};
};

template <>
struct Elements<DDS_DomainParticipantResourceLimitsQosPolicy> {
  using P = DDS_DomainParticipantResourceLimitsQosPolicy;
  static constexpr Element table[] = {
      element<&P::participant_user_data_max_length, unlimited>("participant_user_data_max_length")};
};

template <>
struct Elements<DDS_WireProtocolQosPolicy> {
  using P = DDS_WireProtocolQosPolicy;
  static constexpr Element table[] = {
      element<&P::participant_id, -1>("participant_id"), element<&P::rtps_host_id>("rtps_host_id"),
      element<&P::rtps_app_id>("rtps_app_id"), element<&P::rtps_instance_id>("rtps_instance_id")};
};

// --- sets ------------------------------------------------------------------------------------------------------------

template <>
struct Elements<DDS_DomainParticipantQos> {
  using Q = DDS_DomainParticipantQos;
  static constexpr Element table[] = {
      element<&Q::user_data>("user_data"),         element<&Q::entity_factory>("entity_factory"),
      element<&Q::wire_protocol>("wire_protocol"), element<&Q::resource_limits>("resource_limits"),
      element<&Q::discovery>("discovery"),         element<&Q::discovery_config>("discovery_config"),
      element<&Q::property>("property"),           element<&Q::participant_name>("participant_name"),
  };
};

/// The elements that topics, writers and readers have in common.
template <class Q>
constexpr std::array common_elements = {
    element<&Q::durability>("durability"),
    element<&Q::deadline>("deadline"),
    element<&Q::latency_budget>("latency_budget"),
    element<&Q::liveliness>("liveliness"),
    element<&Q::reliability>("reliability"),
    element<&Q::destination_order>("destination_order"),
    element<&Q::history>("history"),
    element<&Q::resource_limits>("resource_limits"),
    element<&Q::ownership>("ownership"),
};

template <std::size_t A, std::size_t B>
constexpr std::array<Element, A + B> join(const std::array<Element, A>& a, const std::array<Element, B>& b) {
  std::array<Element, A + B> all = {};
  std::copy(b.begin(), b.end(), std::copy(a.begin(), a.end(), all.begin()));
  return all;
}

template <>
struct Elements<DDS_TopicQos> {
  using Q = DDS_TopicQos;
  static constexpr std::array table = join(common_elements<Q>, std::array{element<&Q::lifespan>("lifespan")});
};

template <>
struct Elements<DDS_DataWriterQos> {
  using Q = DDS_DataWriterQos;
  static constexpr std::array table =
      join(common_elements<Q>,
           std::array{element<&Q::durability_service>("durability_service"), element<&Q::lifespan>("lifespan"),
                      element<&Q::user_data>("user_data"), element<&Q::writer_data_lifecycle>("writer_data_lifecycle"),
                      element<&Q::property>("property"), element<&Q::batch>("batch")});
};

template <>
struct Elements<DDS_DataReaderQos> {
  using Q = DDS_DataReaderQos;
  static constexpr std::array table =
      join(common_elements<Q>, std::array{element<&Q::user_data>("user_data"), element<&Q::property>("property")});
};

// A property is an element of a sequence, so no row checks its table.
static_assert(is_complete<DDS_Property_t>());
static_assert(is_complete<DDS_DomainParticipantQos>() && is_complete<DDS_TopicQos>());
static_assert(is_complete<DDS_DataWriterQos>() && is_complete<DDS_DataReaderQos>());

}  // namespace tessivar::platform::profiles
