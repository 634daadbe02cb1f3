// SPDX-License-Identifier: Apache-2.0

// Quality-of-service policies and the sets of them that entities take (OMG DDS 1.4, 2.2.3).
//
// Plain values: copy, compare and change them freely before an entity is made. A default-constructed set holds the
// platform's defaults, which are the standard's except where a comment says otherwise.
#pragma once

#include "tessivar/platform/base.h"
#include "tessivar/platform/sequence.h"

enum DDS_DurabilityQosPolicyKind { DDS_VOLATILE_DURABILITY_QOS = 0, DDS_TRANSIENT_LOCAL_DURABILITY_QOS = 1 };
enum DDS_ReliabilityQosPolicyKind { DDS_BEST_EFFORT_RELIABILITY_QOS = 0, DDS_RELIABLE_RELIABILITY_QOS = 1 };
enum DDS_HistoryQosPolicyKind { DDS_KEEP_LAST_HISTORY_QOS = 0, DDS_KEEP_ALL_HISTORY_QOS = 1 };
enum DDS_RefilterQosPolicyKind { DDS_NONE_REFILTER_QOS = 0, DDS_ALL_REFILTER_QOS = 1, DDS_ON_DEMAND_REFILTER_QOS = 2 };
enum DDS_LivelinessQosPolicyKind {
  DDS_AUTOMATIC_LIVELINESS_QOS = 0,
  DDS_MANUAL_BY_PARTICIPANT_LIVELINESS_QOS = 1,
  DDS_MANUAL_BY_TOPIC_LIVELINESS_QOS = 2
};
enum DDS_OwnershipQosPolicyKind { DDS_SHARED_OWNERSHIP_QOS = 0, DDS_EXCLUSIVE_OWNERSHIP_QOS = 1 };
enum DDS_DestinationOrderQosPolicyKind {
  DDS_BY_RECEPTION_TIMESTAMP_DESTINATIONORDER_QOS = 0,
  DDS_BY_SOURCE_TIMESTAMP_DESTINATIONORDER_QOS = 1
};

struct DDS_UserDataQosPolicy {
  DDS_OctetSeq value;
};

struct DDS_DurabilityQosPolicy {
  DDS_DurabilityQosPolicyKind kind = DDS_VOLATILE_DURABILITY_QOS;
};

/// What a transient-local writer keeps for readers that come later.
struct DDS_DurabilityServiceQosPolicy {
  /// Samples of each instance; 0: as its history policy says.
  DDS_Long history_depth = 0;
};

struct DDS_ReliabilityQosPolicy {
  DDS_ReliabilityQosPolicyKind kind = DDS_BEST_EFFORT_RELIABILITY_QOS;
  /// How long a write may wait for room before it reports a timeout.
  DDS_Duration_t max_blocking_time = {0, 100000000};
};

struct DDS_HistoryQosPolicy {
  DDS_HistoryQosPolicyKind kind = DDS_KEEP_LAST_HISTORY_QOS;
  /// Samples kept per instance with KEEP_LAST; 1 or more.
  DDS_Long depth = 1;
  /// Which history a late joiner's filter is applied to; carried, the engine filters at the reader.
  DDS_RefilterQosPolicyKind refilter = DDS_NONE_REFILTER_QOS;
};

struct DDS_LivelinessQosPolicy {
  DDS_LivelinessQosPolicyKind kind = DDS_AUTOMATIC_LIVELINESS_QOS;
  DDS_Duration_t lease_duration = DDS_DURATION_INFINITE;
};

struct DDS_DeadlineQosPolicy {
  DDS_Duration_t period = DDS_DURATION_INFINITE;
};

struct DDS_LatencyBudgetQosPolicy {
  DDS_Duration_t duration = DDS_DURATION_ZERO;
};

struct DDS_OwnershipQosPolicy {
  DDS_OwnershipQosPolicyKind kind = DDS_SHARED_OWNERSHIP_QOS;
};

struct DDS_DestinationOrderQosPolicy {
  DDS_DestinationOrderQosPolicyKind kind = DDS_BY_RECEPTION_TIMESTAMP_DESTINATIONORDER_QOS;
};

/// How long a sample is of use. A writer does not send an older sample, and a reader drops it from its cache when it
/// has lain there for so long.
struct DDS_LifespanQosPolicy {
  DDS_Duration_t duration = DDS_DURATION_INFINITE;
};

/// Limits on what a writer or reader keeps; DDS_LENGTH_UNLIMITED is none. A reader's limits are carried but not handed
/// to the engine: one reader that is not read must never stall its whole participant.
struct DDS_ResourceLimitsQosPolicy {
  DDS_Long max_samples = DDS_LENGTH_UNLIMITED;
  DDS_Long max_instances = DDS_LENGTH_UNLIMITED;
  DDS_Long max_samples_per_instance = DDS_LENGTH_UNLIMITED;
};

struct DDS_WriterDataLifecycleQosPolicy {
  DDS_Boolean autodispose_unregistered_instances = DDS_BOOLEAN_TRUE;
};

struct DDS_EntityFactoryQosPolicy {
  /// True: entities are enabled as they are made; false: by enable().
  DDS_Boolean autoenable_created_entities = DDS_BOOLEAN_TRUE;
};

struct DDS_EntityNameQosPolicy {
  /// Owned, may be null.
  char* name = nullptr;
  char* role_name = nullptr;

  DDS_EntityNameQosPolicy() = default;
  TESSIVAR_API DDS_EntityNameQosPolicy(const DDS_EntityNameQosPolicy&);
  TESSIVAR_API DDS_EntityNameQosPolicy& operator=(const DDS_EntityNameQosPolicy&);
  TESSIVAR_API ~DDS_EntityNameQosPolicy();
};

/// A writer's samples are collected and sent together until one of the limits is reached.
struct DDS_BatchQosPolicy {
  DDS_Boolean enable = DDS_BOOLEAN_FALSE;
  /// Encoded octets of one batch; DDS_LENGTH_UNLIMITED is no limit.
  DDS_Long max_data_bytes = 1024;
  DDS_Long max_samples = DDS_LENGTH_UNLIMITED;
  /// How long a sample may wait to be sent; infinite: until flush() or another limit.
  DDS_Duration_t max_flush_delay = DDS_DURATION_INFINITE;
  /// Smallest difference of two source timestamps within a batch; carried, timestamps here are always exact.
  DDS_Duration_t source_timestamp_resolution = DDS_DURATION_INFINITE;
};

struct DDS_Property_t {
  /// Owned.
  char* name = nullptr;
  char* value = nullptr;
  /// True: remote participants see it in discovery.
  DDS_Boolean propagate = DDS_BOOLEAN_FALSE;

  DDS_Property_t() = default;
  TESSIVAR_API DDS_Property_t(const DDS_Property_t&);
  TESSIVAR_API DDS_Property_t& operator=(const DDS_Property_t&);
  TESSIVAR_API ~DDS_Property_t();
};

struct DDS_PropertySeq : DDSPlainSequence<DDS_Property_t> {
  using DDSPlainSequence<DDS_Property_t>::DDSPlainSequence;
};

struct DDS_PropertyQosPolicy {
  DDS_PropertySeq value;
};

/// Operations on the properties of a QoS set. Not thread-safe for one and the same policy.
class TESSIVAR_API DDSPropertyQosPolicyHelper {
 public:
  /// The property of that name; null when there is none. Owned by the policy.
  static DDS_Property_t* lookup_property(DDS_PropertyQosPolicy& policy, const char* name);
  static const DDS_Property_t* lookup_property(const DDS_PropertyQosPolicy& policy, const char* name);
  /// Adds a property; PRECONDITION_NOT_MET when the name exists, BAD_PARAMETER for a null argument.
  static DDS_ReturnCode_t add_property(DDS_PropertyQosPolicy& policy, const char* name, const char* value,
                                       DDS_Boolean propagate);
  /// Adds a property or replaces its value.
  static DDS_ReturnCode_t assert_property(DDS_PropertyQosPolicy& policy, const char* name, const char* value,
                                          DDS_Boolean propagate);
  /// PRECONDITION_NOT_MET when there is none.
  static DDS_ReturnCode_t remove_property(DDS_PropertyQosPolicy& policy, const char* name);
};

/// How participants find each other. Peers are "[N@]builtin.udpv4://ADDRESS", "builtin.shmem://" (accepted; local
/// processes are always reached through 127.0.0.1) or a bare host name or address.
struct DDS_DiscoveryQosPolicy {
  DDS_StringSeq initial_peers;
  /// Empty: no multicast discovery.
  DDS_StringSeq multicast_receive_addresses;

  TESSIVAR_API DDS_DiscoveryQosPolicy();  // 239.255.0.1 and the two local peers
};

/// Figures of discovery. The lease is the time after which a silent participant is gone; it is kept below the shortest
/// liveliness lease that the library uses (3 s), so that a paused peer is found again as a whole.
struct DDS_DiscoveryConfigQosPolicy {
  DDS_Duration_t participant_liveliness_lease_duration = {2, 800000000};
  DDS_Duration_t participant_liveliness_assert_period = {0, 700000000};
  /// Highest participant index looked for on every peer address: participants of one domain and host, less one.
  DDS_Long max_participant_index = 31;
};

struct DDS_DomainParticipantResourceLimitsQosPolicy {
  /// Octets; a longer user data makes creation fail.
  DDS_Long participant_user_data_max_length = 256;
};

/// Which participant of this host and process; read back from a participant that is enabled. 0: chosen by the engine.
struct DDS_WireProtocolQosPolicy {
  DDS_Long participant_id = -1;
  DDS_UnsignedLong rtps_host_id = 0;
  DDS_UnsignedLong rtps_app_id = 0;
  DDS_UnsignedLong rtps_instance_id = 0;
};

/// Where the factory reads QoS profiles from, beside the embedded ones; later ones override.
struct DDS_ProfileQosPolicy {
  /// File names, with or without "file://".
  DDS_StringSeq url_profile;
  /// XML texts beginning with "<dds>".
  DDS_StringSeq string_profile;
  DDS_Boolean ignore_user_profile = DDS_BOOLEAN_FALSE;
  DDS_Boolean ignore_environment_profile = DDS_BOOLEAN_FALSE;
};

struct DDS_DomainParticipantFactoryQos {
  DDS_EntityFactoryQosPolicy entity_factory;
  DDS_ProfileQosPolicy profile;
};

struct DDS_DomainParticipantQos {
  DDS_UserDataQosPolicy user_data;
  DDS_EntityFactoryQosPolicy entity_factory;
  DDS_WireProtocolQosPolicy wire_protocol;
  DDS_DomainParticipantResourceLimitsQosPolicy resource_limits;
  DDS_DiscoveryQosPolicy discovery;
  DDS_DiscoveryConfigQosPolicy discovery_config;
  DDS_PropertyQosPolicy property;
  DDS_EntityNameQosPolicy participant_name;
};

struct DDS_TopicQos {
  DDS_DurabilityQosPolicy durability;
  DDS_DeadlineQosPolicy deadline;
  DDS_LatencyBudgetQosPolicy latency_budget;
  DDS_LivelinessQosPolicy liveliness;
  DDS_ReliabilityQosPolicy reliability;
  DDS_DestinationOrderQosPolicy destination_order;
  DDS_HistoryQosPolicy history;
  DDS_ResourceLimitsQosPolicy resource_limits;
  DDS_OwnershipQosPolicy ownership;
  DDS_LifespanQosPolicy lifespan;
};

/// A writer is reliable by default (OMG DDS 1.4, 2.2.3.14).
struct DDS_DataWriterQos {
  DDS_DurabilityQosPolicy durability;
  DDS_DurabilityServiceQosPolicy durability_service;
  DDS_DeadlineQosPolicy deadline;
  DDS_LatencyBudgetQosPolicy latency_budget;
  DDS_LivelinessQosPolicy liveliness;
  DDS_ReliabilityQosPolicy reliability = {DDS_RELIABLE_RELIABILITY_QOS, {0, 100000000}};
  DDS_DestinationOrderQosPolicy destination_order;
  DDS_HistoryQosPolicy history;
  DDS_ResourceLimitsQosPolicy resource_limits;
  DDS_OwnershipQosPolicy ownership;
  DDS_LifespanQosPolicy lifespan;
  DDS_UserDataQosPolicy user_data;
  DDS_WriterDataLifecycleQosPolicy writer_data_lifecycle;
  DDS_PropertyQosPolicy property;
  DDS_BatchQosPolicy batch;
};

struct DDS_DataReaderQos {
  DDS_DurabilityQosPolicy durability;
  DDS_DeadlineQosPolicy deadline;
  DDS_LatencyBudgetQosPolicy latency_budget;
  DDS_LivelinessQosPolicy liveliness;
  DDS_ReliabilityQosPolicy reliability;
  DDS_DestinationOrderQosPolicy destination_order;
  DDS_HistoryQosPolicy history;
  DDS_ResourceLimitsQosPolicy resource_limits;
  DDS_OwnershipQosPolicy ownership;
  DDS_UserDataQosPolicy user_data;
  /// "dds.data_reader.state.filter_redundant_samples" = "0": history is delivered again when a filter's parameters
  /// change (see DDSContentFilteredTopic::set_expression_parameters).
  DDS_PropertyQosPolicy property;
};

/// Lays the policies that a topic states over a writer's or reader's ("use topic QoS").
TESSIVAR_API void DDS_DataWriterQos_copy_from_topic_qos(DDS_DataWriterQos& writer, const DDS_TopicQos& topic);
TESSIVAR_API void DDS_DataReaderQos_copy_from_topic_qos(DDS_DataReaderQos& reader, const DDS_TopicQos& topic);

/// Arguments that stand for "the default of the entity that makes it".
extern TESSIVAR_API const DDS_DomainParticipantQos DDS_PARTICIPANT_QOS_DEFAULT;
extern TESSIVAR_API const DDS_TopicQos DDS_TOPIC_QOS_DEFAULT;
extern TESSIVAR_API const DDS_DataWriterQos DDS_DATAWRITER_QOS_DEFAULT;
extern TESSIVAR_API const DDS_DataReaderQos DDS_DATAREADER_QOS_DEFAULT;
/// The default with the topic's policies laid over it.
extern TESSIVAR_API const DDS_DataWriterQos DDS_DATAWRITER_QOS_USE_TOPIC_QOS;
extern TESSIVAR_API const DDS_DataReaderQos DDS_DATAREADER_QOS_USE_TOPIC_QOS;
